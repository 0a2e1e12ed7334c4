#include "Commands/Inspect.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "Document/InspectText.h"
#include "Document/TimelineJson.h"
#include "Picture/TimelinePicture.h"
#include "Terminal/Report.h"
#include "Terminal/Text.h"

namespace tarn::cli {
namespace {

Result<void> writeFile(const std::string& path, const std::string& bytes) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) return callError(fmt::format("{}: {}", path, std::strerror(errno)));
  const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  const int failure = errno;
  if (std::fclose(file) != 0 || !written) {
    return callError(fmt::format("{}: {}", path, std::strerror(written ? errno : failure)));
  }
  return {};
}

}  // namespace

int runInspect(const InspectOptions& options) {
  const auto loaded = loadTimeline(options.source);
  if (!loaded) return reportFailure(loaded.error(), options.json);
  if (options.svg) {
    const auto written = writeFile(*options.svg, timelinePicture(*loaded, options.source.source));
    if (!written) return reportFailure(written.error(), options.json);
  }
  if (options.json) {
    writeRecord(timelineJson(*loaded));
  } else {
    print(inspectText(*loaded, options.source.source, Terminal::ofStandardOutput()));
  }
  return kDone;
}

}  // namespace tarn::cli
