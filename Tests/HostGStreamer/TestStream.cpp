#include "TestStream.h"

#include <gst/gst.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

namespace tarn::test {
namespace {

// The sound ends a little before the picture, which the muxer's last segment needs.
constexpr const char* kPipeline =
    "splitmuxsink name=mux muxer-factory=mpegtsmux reset-muxer=false max-size-time=1000000000 "
    "send-keyframe-requests=true location={}/segment%d.ts "
    "videotestsrc num-buffers=100 pattern=ball ! video/x-raw,width=160,height=90,framerate=25/1 "
    "! x264enc speed-preset=ultrafast tune=zerolatency key-int-max=12 ! h264parse ! mux.video "
    "audiotestsrc num-buffers=197 samplesperbuffer=960 volume=0.01 ! audio/x-raw,rate=48000,channels=1 "
    "! avenc_aac ! aacparse ! mux.audio_0";

constexpr const char* kPlaylist = R"(#EXTM3U
#EXT-X-VERSION:3
#EXT-X-TARGETDURATION:1
#EXT-X-MEDIA-SEQUENCE:0
#EXT-X-PLAYLIST-TYPE:VOD
#EXTINF:1.000,
segment0.ts
#EXTINF:1.000,
segment1.ts
#EXTINF:1.000,
segment2.ts
#EXTINF:1.000,
segment3.ts
#EXT-X-ENDLIST
)";

void runPipeline(std::string text, const std::filesystem::path& folder) {
  text.replace(text.find("{}"), 2, folder.string());
  GError* error = nullptr;
  GstElement* pipeline = gst_parse_launch(text.c_str(), &error);
  if (error) throw std::runtime_error(error->message);
  gst_element_set_state(pipeline, GST_STATE_PLAYING);
  GstBus* bus = gst_element_get_bus(pipeline);
  GstMessage* end = gst_bus_timed_pop_filtered(
      bus, 60 * GST_SECOND, static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
  const bool done = end && GST_MESSAGE_TYPE(end) == GST_MESSAGE_EOS;
  if (end) gst_message_unref(end);
  gst_object_unref(bus);
  gst_element_set_state(pipeline, GST_STATE_NULL);
  gst_object_unref(pipeline);
  if (!done) throw std::runtime_error("the test stream could not be made");
}

struct Folder {
  std::filesystem::path path;

  Folder() {
    std::string name = (std::filesystem::temp_directory_path() / "kyr-test-stream-XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
    path = name;
    gst_init(nullptr, nullptr);
    runPipeline(kPipeline, path);
    std::ofstream(path / "index.m3u8") << kPlaylist;
  }
  ~Folder() {
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
