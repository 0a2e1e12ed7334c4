#include "Demo/DemoStream.h"

#include <fmt/format.h>
#include <stdlib.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <system_error>
#include <utility>

#include "Terminal/Report.h"

namespace tarn::cli {
namespace {

namespace fs = std::filesystem;

const TestPictureFormat kFormat;

/// The version of the cached stream. Increase it when the code that makes the stream changes its output.
constexpr int kRecipeVersion = 2;

const std::vector<DemoSection>& wholeStream() {
  constexpr const char* kContent = "ball animation-mode=frames";
  static const std::vector<DemoSection> sections{
      {"pre-roll-1", "pre-roll", "kyr-coffee", 0, {"AD 1 of 2 · pre-roll", 6, "solid-color", 0xb9770e, 523}},
      {"pre-roll-2", "pre-roll", "kyr-bicycle", 0, {"AD 2 of 2 · pre-roll", 6, "solid-color", 0x8e44ad, 587}},
      {"content-1", "", "", 0, {"CONTENT · part 1", 14, kContent, 0x3498db, 220}},
      {"mid-roll-1",
       "mid-roll-1",
       "kyr-travel",
       3,
       {"AD · mid-roll, skippable", 8, "solid-color", 0x1e8449, 659}},
      {"content-2", "", "", 0, {"CONTENT · part 2", 12, kContent, 0x48c9b0, 247}},
      {"mid-roll-2", "mid-roll-2", "kyr-coffee", 0, {"AD · mid-roll", 6, "solid-color", 0xb9770e, 523}},
      {"content-3", "", "", 0, {"CONTENT · part 3", 12, kContent, 0xaab7b8, 262}},
      {"post-roll", "post-roll", "kyr-music", 0, {"AD · post-roll", 6, "solid-color", 0xa93226, 784}},
  };
  return sections;
}

bool belongsTo(const DemoCut& cut, const DemoSection& section) {
  return !section.isAd() ||
         std::find(cut.breaks.begin(), cut.breaks.end(), section.breakName) != cut.breaks.end();
}

/// A name that depends on all inputs of the stream.
std::string folderName() {
  std::string recipe = fmt::format("{} {} {} {} {}", kRecipeVersion, kFormat.width, kFormat.height,
                                   kFormat.framesPerSecond, kFormat.segmentSeconds);
  for (const auto& [slug, breakName, adId, skipAfter, picture] : wholeStream()) {
    recipe += fmt::format("|{} {} {} {} {}", picture.title, picture.seconds, picture.pattern, picture.colour,
                          picture.frequency);
  }
  return fmt::format("demo-{:016x}", std::hash<std::string>{}(recipe));
}

Error fileError(const fs::path& path, const std::error_code& code) {
  return callError(fmt::format("{}: {}", path.string(), code.message()));
}

/// A temporary folder, removed unless it was moved to its destination.
class TemporaryFolder {
 public:
  static Result<std::unique_ptr<TemporaryFolder>> open(const fs::path& media) {
    std::string path = (media / ".making-XXXXXX").string();
    if (!mkdtemp(path.data())) return fileError(media, {errno, std::generic_category()});
    return std::unique_ptr<TemporaryFolder>(new TemporaryFolder(path));
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() {
    std::error_code ignored;
    if (!path_.empty()) fs::remove_all(path_, ignored);
  }

  [[nodiscard]] const fs::path& path() const { return path_; }

  /// If another process was faster its result is kept; it is the same.
  Result<void> moveTo(const fs::path& target) {
    std::error_code code;
    fs::rename(path_, target, code);
    if (!code) path_.clear();
    if (code && !fs::is_directory(target)) return fileError(target, code);
    return {};
  }

 private:
  explicit TemporaryFolder(fs::path path) : path_(std::move(path)) {}
  fs::path path_;
};

/// Removes the temporary folders of processes that were killed.
void removeOldTemporaryFolders(const fs::path& media) {
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator(media, ignored)) {
    const bool isTemporary = entry.path().filename().string().starts_with(".making-");
    const auto age = fs::file_time_type::clock::now() - entry.last_write_time(ignored);
    if (isTemporary && age > std::chrono::hours(1)) fs::remove_all(entry.path(), ignored);
  }
}

}  // namespace

const std::vector<DemoCut>& demoCuts() {
  static const std::vector<DemoCut> cuts{
      {"demo",
       "pre-roll of two ads, skippable mid-roll, mid-roll, post-roll",
       {"pre-roll", "mid-roll-1", "mid-roll-2", "post-roll"}},
      {"no-ads", "content alone", {}},
      {"pre-roll", "pre-roll of two ads", {"pre-roll"}},
      {"skippable", "one mid-roll that may be skipped after 3 s", {"mid-roll-1"}},
      {"post-roll", "post-roll", {"post-roll"}},
  };
  return cuts;
}

std::vector<DemoSection> demoSections(const DemoCut& cut) {
  std::vector<DemoSection> sections;
  std::copy_if(wholeStream().begin(), wholeStream().end(), std::back_inserter(sections),
               [&](const DemoSection& section) { return belongsTo(cut, section); });
  return sections;
}

std::string demoPlaylist(const DemoCut& cut) {
  std::string text = fmt::format(
      "#EXTM3U\n#EXT-X-VERSION:6\n#EXT-X-TARGETDURATION:{}\n#EXT-X-MEDIA-SEQUENCE:0\n"
      "#EXT-X-PLAYLIST-TYPE:VOD\n#EXT-X-INDEPENDENT-SEGMENTS\n",
      kFormat.segmentSeconds);
  int segment = 0;
  int next = 0;  // the segment that would follow the last one without a gap
  for (const auto& section : wholeStream()) {
    const int end = segment + section.picture.seconds / kFormat.segmentSeconds;
    if (belongsTo(cut, section)) {
      if (segment != next && next > 0) text += "#EXT-X-DISCONTINUITY\n";
      for (; segment < end; ++segment) {
        text += fmt::format("#EXTINF:{:.3f},\n{}\n", static_cast<double>(kFormat.segmentSeconds),
                            testPictureSegmentName(segment));
      }
      next = end;
    }
    segment = end;
  }
  return text + "#EXT-X-ENDLIST\n";
}

fs::path defaultDemoMediaFolder() {
  const char* cache = std::getenv("XDG_CACHE_HOME");
  if (cache && fs::path(cache).is_absolute()) return fs::path(cache) / "kyr";
  const char* home = std::getenv("HOME");
  return (home ? fs::path(home) / ".cache" : fs::temp_directory_path()) / "kyr";
}

Result<fs::path> provideDemoStream(const fs::path& media, const TestPictureProgress& progress) {
  const fs::path target = media / folderName();
  std::error_code code;
  if (fs::is_directory(target, code)) return target;
  fs::create_directories(media, code);
  if (code) return fileError(media, code);
  removeOldTemporaryFolders(media);

  auto folder = TemporaryFolder::open(media);
  if (!folder) return folder.error();
  std::vector<TestPicture> pictures;
  for (const auto& section : wholeStream()) pictures.push_back(section.picture);
  if (auto made = makeTestPictureStream(pictures, kFormat, (*folder)->path(), progress); !made)
    return made.error();
  if (auto moved = (*folder)->moveTo(target); !moved) return moved.error();
  return target;
}

}  // namespace tarn::cli
