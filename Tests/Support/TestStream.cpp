#include "Support/TestStream.h"

#include <stdlib.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <stdexcept>

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

LoopbackServer::Response testStreamFile(const std::string& path, bool isCutOff) {
  std::ifstream file(testStreamFolder() / path.substr(1), std::ios::binary);
  const std::string type = path.ends_with(".m3u8") ? "application/vnd.apple.mpegurl" : "video/mp2t";
  return {.body = std::string(std::istreambuf_iterator<char>(file), {}),
          .headers = {{"Content-Type", type}},
          .isCutOff = isCutOff};
}

// The stream is made before any player loads: the encoder's FFmpeg plugin takes over FFmpeg's log, which mpv
// reads.
StreamServer::StreamServer() {
  for (const char* path :
       {"/index.m3u8", "/segment000.ts", "/segment001.ts", "/segment002.ts", "/segment003.ts"})
    setResponse(path, testStreamFile(path));
  setResponse("/nowhere.m3u8", {.status = 404});
}

}  // namespace tarn::test
