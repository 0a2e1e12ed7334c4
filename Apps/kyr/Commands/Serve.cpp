#include "Commands/Serve.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>

#include "Demo/DemoServer.h"
#include "Demo/DemoStream.h"
#include "Terminal/Interruption.h"
#include "Terminal/Report.h"
#include "Terminal/Terminal.h"
#include "Terminal/Text.h"

namespace tarn::cli {
namespace {

void say(const std::string& text) {
  print(text);
  std::fflush(stdout);  // scripts read the addresses from a pipe
}

/// On a terminal a line that is updated in place, elsewhere only its beginning.
class ProgressLine {
 public:
  explicit ProgressLine(bool moves) : moves_(moves) {}

  void show(double fraction) {
    const int percent = static_cast<int>(std::clamp(fraction, 0.0, 1.0) * 100);
    if (!begun_ || moves_)
      say(fmt::format("{}Making the demo stream, once{}", moves_ ? "\r" : "",
                      moves_ ? fmt::format(" … {} %", percent) : " …\n"));
    begun_ = true;
  }
  ~ProgressLine() {
    if (begun_ && moves_) say("\n");
  }

 private:
  const bool moves_;
  bool begun_ = false;
};

Result<std::filesystem::path> makeStream(const ServeOptions& options, const Interruption& interruption) {
  const auto media = options.media ? std::filesystem::path(*options.media) : defaultDemoMediaFolder();
  ProgressLine line(Terminal::ofStandardOutput().colours);
  return provideDemoStream(media, [&](double fraction) {
    line.show(fraction);
    return !interruption.requested();
  });
}

void introduce(const std::string& base, const std::filesystem::path& stream) {
  const Terminal terminal = Terminal::ofStandardOutput();
  std::string text = fmt::format("The demo ad-insertion service listens on {} until Ctrl-C.\n", base);
  text += fmt::format("Its stream stands in {}\n\n", stream.string());
  for (const auto& cut : demoCuts()) {
    text += fmt::format(
        "  {}  {}\n",
        terminal.styled(fmt::format("kyr play {}/vmap/{:<13}", base, fmt::format("{}.xml", cut.name)),
                        Style::strong),
        cut.description);
  }
  text += fmt::format(
      "\nWith a fault: {0}/vmap/bad-offset.xml, missing-stream.xml and not-a-stream.xml beside it\n"
      "Beacons so far, as JSON: {0}/beacons (DELETE forgets them)\n\n",
      base);
  say(text);
}

}  // namespace

int runServe(const ServeOptions& options) {
  const Interruption interruption;
  const auto stream = makeStream(options, interruption);
  if (interruption.requested()) return kDone;
  if (!stream) return reportFailure(stream.error(), false);
  const auto server = DemoServer::listen(options.port, *stream);
  if (!server) return reportFailure(server.error(), false);
  introduce((*server)->baseURL(), *stream);
  interruption.wait();
  return kDone;
}

}  // namespace tarn::cli
