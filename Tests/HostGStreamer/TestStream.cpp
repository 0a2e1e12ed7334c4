#include "TestStream.h"

#include <stdlib.h>
#include <unistd.h>

#include <fstream>
#include <stdexcept>
#include <string>

#include "HostGStreamer/TestPictureStream.h"

namespace tarn::test {
namespace {

constexpr const char* kPlaylist = R"(#EXTM3U
#EXT-X-VERSION:3
#EXT-X-TARGETDURATION:1
#EXT-X-MEDIA-SEQUENCE:0
#EXT-X-PLAYLIST-TYPE:VOD
#EXTINF:1.000,
segment000.ts
#EXTINF:1.000,
segment001.ts
#EXTINF:1.000,
segment002.ts
#EXTINF:1.000,
segment003.ts
#EXT-X-ENDLIST
)";

struct Folder {
  std::filesystem::path path;
  const pid_t owner = getpid();

  Folder() {
    // A percent sign, because the maker of the files takes their names for a format.
    std::string name = (std::filesystem::temp_directory_path() / "kyr 100%d test-XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
    path = name;
    const TestPictureFormat format{160, 90, 25, 1};
    const auto made = makeTestPictureStream(
        {{"a \"test\"", 1, "ball", 0x3498db, 440}, {"b", 3, "solid-color", 0x1e8449, 660}}, format, path,
        [](double) { return true; });
    if (!made) throw std::runtime_error(chainDescription(made.error()));
    std::ofstream(path / "index.m3u8") << kPlaylist;
  }
  ~Folder() {
    if (getpid() != owner) return;  // a test's forked child
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
};

}  // namespace

const std::filesystem::path& testStreamFolder() {
  static const Folder folder;
  return folder.path;
}

}  // namespace tarn::test
