#include "Demo/TestPictureStream.h"

#include <fmt/format.h>
#include <gst/gst.h>

#include <array>
#include <memory>
#include <numeric>
#include <string_view>
#include <utility>

#include "Host/TarnPlayer.h"
#include "HostGStreamer/GStreamerInstallation.h"

namespace tarn {
namespace {

constexpr int kSoundBuffersPerSecond = 50;

struct GstObjectUnref {
  void operator()(gpointer object) const { gst_object_unref(object); }
};
template <typename T>
using GstObjectPtr = std::unique_ptr<T, GstObjectUnref>;

struct Encoder {
  const char* factory;
  const char* description;  // {} is the number of pictures, or nothing, from key picture to key picture
};

/// In order of preference. Key pictures only at the regular interval, at the beginning of each segment.
constexpr std::array kVideoEncoders{
    Encoder{"x264enc", "x264enc speed-preset=ultrafast bitrate=800 key-int-max={} option-string=scenecut=0"},
    Encoder{"openh264enc",
            "openh264enc complexity=low bitrate=800000 gop-size={} scene-change-detection=false"}};
constexpr std::array kAudioEncoders{Encoder{"avenc_aac", "avenc_aac bitrate=64000"},
                                    Encoder{"voaacenc", "voaacenc bitrate=64000"}};
constexpr std::array kOtherElements{"videotestsrc", "audiotestsrc", "textoverlay", "timeoverlay",
                                    "videoconvert", "audioconvert", "concat",      "h264parse",
                                    "aacparse",     "mpegtsmux",    "splitmuxsink"};

Error failure(std::string description) {
  return Error::make(TarnPlayerErrorDomain, TarnPlayerErrorCode::other, std::move(description));
}

/// Converts GStreamer's error and frees it.
Error takeError(GError* error) {
  Error result = Error::make(g_quark_to_string(error->domain), error->code, error->message);
  g_error_free(error);
  return result;
}

/// The first encoder that is installed, else the error for the preferred one.
template <std::size_t size>
Result<const char*> findEncoder(const std::array<Encoder, size>& encoders) {
  for (const auto& encoder : encoders) {
    if (requireGStreamerElement(encoder.factory)) return encoder.description;
  }
  return requireGStreamerElement(encoders.front().factory).error();
}

/// One concat element joins the sections' pictures, another their sound; texts and file paths are set later,
/// because here they would have to be quoted.
Result<std::string> describe(const std::vector<TestPicture>& pictures, const TestPictureFormat& format) {
  for (const char* element : kOtherElements) {
    if (const auto found = requireGStreamerElement(element); !found) return found.error();
  }
  const auto video = findEncoder(kVideoEncoders);
  if (!video) return video.error();
  const auto audio = findEncoder(kAudioEncoders);
  if (!audio) return audio.error();

  const int keyDistance = format.framesPerSecond * format.segmentSeconds;
  std::string text = fmt::format(
      "splitmuxsink name=files muxer-factory=mpegtsmux reset-muxer=false send-keyframe-requests=true "
      "max-size-time={} "
      "concat name=picture ! timeoverlay time-mode=running-time halignment=center valignment=bottom "
      "ypad=45 font-desc=\"Sans 9\" "
      "text=\"stream\" shaded-background=true ! videoconvert ! {} ! h264parse config-interval=-1 ! "
      "files.video "
      "concat name=sound ! audioconvert ! {} ! aacparse ! files.audio_0 ",
      static_cast<std::int64_t>(format.segmentSeconds) * static_cast<std::int64_t>(GST_SECOND),
      fmt::format(fmt::runtime(*video), keyDistance), *audio);
  for (std::size_t i = 0; i < pictures.size(); ++i) {
    const auto& picture = pictures[i];
    // The muxer waits without end if the sound is longer than the picture.
    const int cut = i + 1 == pictures.size() ? 3 : 0;
    text += fmt::format(
        "videotestsrc pattern={} foreground-color={} background-color={} num-buffers={} "
        "! video/x-raw,format=I420,width={},height={},framerate={}/1 "
        "! textoverlay name=title{} valignment=center font-desc=\"Sans Bold 24\" "
        "! timeoverlay time-mode=buffer-time halignment=center valignment=center deltay=45 font-desc=\"Sans "
        "14\" "
        "! picture. "
        "audiotestsrc freq={} volume=0.05 samplesperbuffer={} num-buffers={} "
        "! audio/x-raw,rate=48000,channels=2 ! sound. ",
        picture.pattern, 0xff000000U | picture.colour, 0xff000000U | (picture.colour >> 2U & 0x3f3f3fU),
        picture.seconds * format.framesPerSecond, format.width, format.height, format.framesPerSecond, i,
        picture.frequency, 48000 / kSoundBuffersPerSecond, picture.seconds * kSoundBuffersPerSecond - cut);
  }
  return text;
}

/// Escapes text for a printf format.
std::string asFormat(std::string_view text) {
  std::string format;
  for (const char c : text) format.append(c == '%' ? 2 : 1, c);
  return format;
}

void setText(GstElement* pipeline, const std::string& element, const char* property,
             const std::string& text) {
  const GstObjectPtr<GstElement> found(gst_bin_get_by_name(GST_BIN(pipeline), element.c_str()));
  g_object_set(found.get(), property, text.c_str(), nullptr);
}

Result<GstObjectPtr<GstElement>> makePipeline(const std::vector<TestPicture>& pictures,
                                              const TestPictureFormat& format,
                                              const std::filesystem::path& folder) {
  const auto description = describe(pictures, format);
  if (!description) return description.error();
  GError* error = nullptr;
  GstElement* made = gst_parse_launch(description->c_str(), &error);
  if (error) {
    if (made) gst_object_unref(made);
    return withUnderlying(failure("The pipeline of test pictures could not be made"), takeError(error));
  }
  GstObjectPtr<GstElement> pipeline(GST_ELEMENT(gst_object_ref_sink(made)));
  for (std::size_t i = 0; i < pictures.size(); ++i) {
    setText(pipeline.get(), fmt::format("title{}", i), "text", pictures[i].title);
  }
  setText(pipeline.get(), "files", "location", asFormat(folder.string()) + "/segment%03d.ts");
  return pipeline;
}

struct MessageUnref {
  void operator()(GstMessage* message) const { gst_message_unref(message); }
};

Result<void> runToEnd(GstElement* pipeline, double seconds, const TestPictureProgress& progress) {
  const GstObjectPtr<GstBus> bus(gst_element_get_bus(pipeline));
  const auto awaited = static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR);
  gst_element_set_state(pipeline, GST_STATE_PLAYING);
  for (;;) {
    const std::unique_ptr<GstMessage, MessageUnref> message(
        gst_bus_timed_pop_filtered(bus.get(), GST_SECOND / 5, awaited));
    if (!message) {
      gint64 position = 0;
      gst_element_query_position(pipeline, GST_FORMAT_TIME, &position);
      if (!progress(static_cast<double>(position) / GST_SECOND / seconds)) return failure("cancelled");
      continue;
    }
    if (GST_MESSAGE_TYPE(message.get()) == GST_MESSAGE_EOS) return {};
    GError* error = nullptr;
    gst_message_parse_error(message.get(), &error, nullptr);
    return withUnderlying(failure("The test pictures could not be made"), takeError(error));
  }
}

}  // namespace

std::string testPictureSegmentName(int index) {
  return fmt::format("segment{:03}.ts", index);
}

Result<void> makeTestPictureStream(const std::vector<TestPicture>& pictures, const TestPictureFormat& format,
                                   const std::filesystem::path& folder, const TestPictureProgress& progress) {
  if (const auto started = startGStreamer(); !started) return started.error();
  const auto pipeline = makePipeline(pictures, format, folder);
  if (!pipeline) return pipeline.error();
  const int seconds =
      std::accumulate(pictures.begin(), pictures.end(), 0,
                      [](int sum, const TestPicture& picture) { return sum + picture.seconds; });
  auto done = runToEnd(pipeline->get(), seconds, progress);
  gst_element_set_state(pipeline->get(), GST_STATE_NULL);
  if (!done) return done;

  const int segments = seconds / format.segmentSeconds;
  const bool hasLast = std::filesystem::exists(folder / testPictureSegmentName(segments - 1));
  if (!hasLast || std::filesystem::exists(folder / testPictureSegmentName(segments)))
    return failure(fmt::format("The test pictures did not come out as {} segments", segments));
  return {};
}

}  // namespace tarn
