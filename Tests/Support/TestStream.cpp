#include "Support/TestStream.h"

#include <stdlib.h>
#include <unistd.h>

#include <fstream>
#include <stdexcept>
#include <string>

#include "Demo/TestPictureStream.h"

namespace tarn::test {
namespace {

struct Folder {
  std::filesystem::path path;
  const pid_t owner = getpid();

  Folder() {
    // A percent sign, because the file names are a format string for the element that writes them.
    std::string name = (std::filesystem::temp_directory_path() / "kyr 100%d test-XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
    path = name;
    const TestPictureFormat format{160, 90, 25, 1};
    const auto made = makeTestPictureStream(
        {{"a \"test\"", 1, "ball", 0x3498db, 440}, {"b", 3, "solid-color", 0x1e8449, 660}}, format, path,
        [](double) { return true; });
    if (!made) throw std::runtime_error(chainDescription(made.error()));
    std::ofstream playlist(path / "index.m3u8");
    playlist << "#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-TARGETDURATION:1\n#EXT-X-PLAYLIST-TYPE:VOD\n";
    for (int i = 0; i < 4; ++i) playlist << "#EXTINF:1.000,\nsegment00" << i << ".ts\n";
    playlist << "#EXT-X-ENDLIST\n";
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
