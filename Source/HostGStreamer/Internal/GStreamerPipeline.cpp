#include "HostGStreamer/Internal/GStreamerPipeline.h"

#include <gst/gst.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <string_view>
#include <utility>

#include "Host/TarnPlayer.h"
#include "HostGStreamer/GStreamerInstallation.h"
#include "HostGStreamer/GStreamerPlayer.h"
#include "HostGStreamer/Internal/GStreamerBuffer.h"
#include "HostGStreamer/Internal/GStreamerLibrary.h"
#include "HostGStreamer/Internal/GStreamerRequests.h"
#include "HostGStreamer/Internal/GStreamerSourceFilter.h"
#include "Platform/PerProcess.h"

namespace tarn {
namespace {

/// The pipeline does not name them, but no HLS stream plays without them.
constexpr const char* kDemuxer = "hlsdemux";
constexpr std::array kHiddenElements{kDemuxer, "souphttpsrc", "tsdemux"};
/// Longer than the response time of a near server, too short to be noticed.
constexpr std::chrono::milliseconds kAnswerLimit{100};

CMTime fromNanoseconds(gint64 nanoseconds) {
  const auto ticks = gst_util_uint64_scale_round(static_cast<guint64>(nanoseconds),
                                                 static_cast<guint64>(kGStreamerTimescale), GST_SECOND);
  return CMTimeMake(static_cast<CMTimeValue>(ticks), kGStreamerTimescale);
}

/// `time` is numeric and not negative.
gint64 toNanoseconds(CMTime time) {
  const auto nanoseconds = gst_util_uint64_scale_round(static_cast<guint64>(time.value), GST_SECOND,
                                                       static_cast<guint64>(time.timescale));
  return static_cast<gint64>(std::min<guint64>(nanoseconds, G_MAXINT64));
}

/// The GST_SEEK_FLAG_SNAP_… of a mode.
int snapFlags(GStreamerSeekMode mode) {
  switch (mode) {
    case GStreamerSeekMode::accurate:
      return GST_SEEK_FLAG_ACCURATE;
    case GStreamerSeekMode::keyUnitBefore:
      return GST_SEEK_FLAG_KEY_UNIT | GST_SEEK_FLAG_SNAP_BEFORE;
    case GStreamerSeekMode::keyUnitAfter:
      return GST_SEEK_FLAG_KEY_UNIT | GST_SEEK_FLAG_SNAP_AFTER;
    case GStreamerSeekMode::keyUnitNearest:
      break;
  }
  return GST_SEEK_FLAG_KEY_UNIT | GST_SEEK_FLAG_SNAP_NEAREST;
}

/// Ends the streams of a demuxer that has failed. The demuxer does not end them itself, and then the media
/// downstream of it would not be played to its end.
void endStreams(GstElement* demuxer, gpointer /*unused*/) {
  const auto end = [](GstElement*, GstPad* pad, gpointer) -> gboolean {
    gst_pad_push_event(pad, gst_event_new_eos());
    return TRUE;
  };
  gst_element_foreach_src_pad(demuxer, end, nullptr);
}

bool isDemuxer(GstObject* source) {
  return GST_IS_ELEMENT(source) && factoryName(GST_ELEMENT(source)) == kDemuxer;
}

/// Receives the messages of one pipeline, on GStreamer's threads. The pipeline is stopped before it is
/// destroyed.
class BusListener {
 public:
  BusListener(GstObject* pipeline, GStreamerPipeline::OnEvent onEvent)
      : pipeline_(pipeline), onEvent_(std::move(onEvent)) {}
  BusListener(const BusListener&) = delete;
  BusListener& operator=(const BusListener&) = delete;
  ~BusListener() { const std::lock_guard lock(mutex_); }

  void handle(GstMessage* message);
  void countJump();
  [[nodiscard]] unsigned jumps();

 private:
  void report(GStreamerEvent::Kind kind, std::optional<Error> error = {}) const {
    onEvent_({kind, jumps_, std::move(error)});
  }
  void handleState(GstMessage* message) const;
  void handleBuffering(GstMessage* message);
  void handleError(GstMessage* message) const;

  std::mutex mutex_;  // guards the members below, and keeps the order of events of several threads
  GstObject* const pipeline_;
  const GStreamerPipeline::OnEvent onEvent_;
  unsigned jumps_ = 0;
  bool starved_ = false;
};

void BusListener::countJump() {
  const std::lock_guard lock(mutex_);
  ++jumps_;
}

unsigned BusListener::jumps() {
  const std::lock_guard lock(mutex_);
  return jumps_;
}

void BusListener::handle(GstMessage* message) {
  const std::lock_guard lock(mutex_);
  const bool ofPipeline = GST_MESSAGE_SRC(message) == pipeline_;
  switch (GST_MESSAGE_TYPE(message)) {
    case GST_MESSAGE_ASYNC_DONE:
      if (ofPipeline) report(GStreamerEvent::Kind::arrived);
      break;
    case GST_MESSAGE_STATE_CHANGED:
      if (ofPipeline) handleState(message);
      break;
    case GST_MESSAGE_EOS:
      if (ofPipeline) report(GStreamerEvent::Kind::endOfStream);
      break;
    case GST_MESSAGE_DURATION_CHANGED:
      report(GStreamerEvent::Kind::durationChanged);
      break;
    case GST_MESSAGE_BUFFERING:
      handleBuffering(message);
      break;
    case GST_MESSAGE_ERROR:
      handleError(message);
      break;
    default:
      break;
  }
}

void BusListener::handleState(GstMessage* message) const {
  GstState pending = GST_STATE_VOID_PENDING;
  gst_message_parse_state_changed(message, nullptr, nullptr, &pending);
  if (pending == GST_STATE_VOID_PENDING) report(GStreamerEvent::Kind::settled);
}

void BusListener::handleBuffering(GstMessage* message) {
  gint percent = 0;
  gst_message_parse_buffering(message, &percent);
  const bool starved = percent < 100;
  if (std::exchange(starved_, starved) != starved)
    report(starved ? GStreamerEvent::Kind::starved : GStreamerEvent::Kind::fed);
}

void BusListener::handleError(GstMessage* message) const {
  GError* details = nullptr;
  gchar* debug = nullptr;
  gst_message_parse_error(message, &details, &debug);
  const bool isVague = g_error_matches(details, GST_STREAM_ERROR, GST_STREAM_ERROR_FAILED);
  const bool ofSource = GST_OBJECT_FLAG_IS_SET(GST_MESSAGE_SRC(message), GST_ELEMENT_FLAG_SOURCE);
  Error cause = takeGStreamerError(details, debug);
  if (isDemuxer(GST_MESSAGE_SRC(message))) {
    gst_element_call_async(GST_ELEMENT(GST_MESSAGE_SRC(message)), endStreams, nullptr, nullptr);
    return report(GStreamerEvent::Kind::brokenOff, std::move(cause));
  }
  if (!isVague || !ofSource) return report(GStreamerEvent::Kind::failed, std::move(cause));
  auto error =
      Error::make(TarnPlayerErrorDomain, TarnPlayerErrorCode::cannotOpen, "Its server could not be reached");
  report(GStreamerEvent::Kind::failed, withUnderlying(std::move(error), std::move(cause)));
}

GstBusSyncReply onBusMessage(GstBus* /*bus*/, GstMessage* message, gpointer listener) {
  static_cast<BusListener*>(listener)->handle(message);
  gst_message_unref(message);
  return GST_BUS_DROP;
}

/// Draws into a texture that the item's window shows; uploads frames that a decoder leaves in memory.
Result<GstObjectPtr<GstElement>> makeQuickVideoSink(void* item) {
  auto bin = makeGStreamerElement("glsinkbin");
  if (!bin) return bin.error();
  auto sink = makeGStreamerElement("qml6glsink");
  if (!sink) return sink.error();
  g_object_set(sink->get(), "widget", item, nullptr);
  g_object_set(bin->get(), "sink", sink->get(), nullptr);
  return bin;
}

}  // namespace

Result<void> prepareQuickVideo() {
  const auto started = startGStreamer();
  if (!started) return started.error();
  // QML knows the item as soon as the first of its sinks was made.
  if (const auto sink = makeGStreamerElement("qml6glsink"); !sink) return sink.error();
  return requireGStreamerElement("glsinkbin");
}

struct GStreamerPipeline::Handles {
  Handles(GstObjectPtr<GstElement> element, OnEvent onEvent)
      : playbin(std::move(element)),
        buffer(playbin.get()),
        requests(playbin.get()),
        sourceFilter(playbin.get()),
        listener(GST_OBJECT(playbin.get()), std::move(onEvent)) {
    const GstObjectPtr<GstBus> bus(gst_element_get_bus(playbin.get()));
    gst_bus_set_sync_handler(bus.get(), onBusMessage, &listener, nullptr);
  }
  Handles(const Handles&) = delete;
  Handles& operator=(const Handles&) = delete;
  ~Handles() {
    requests.hold(kAnswerLimit);
    gst_element_set_state(playbin.get(), GST_STATE_NULL);
    const GstObjectPtr<GstBus> bus(gst_element_get_bus(playbin.get()));
    gst_bus_set_sync_handler(bus.get(), nullptr, nullptr, nullptr);
  }

  const unsigned generation = forkGeneration();
  const GstObjectPtr<GstElement> playbin;
  GStreamerBuffer buffer;
  GStreamerRequests requests;
  GStreamerSourceFilter sourceFilter;
  BusListener listener;
};

Result<std::unique_ptr<GStreamerPipeline>> GStreamerPipeline::make(const URL& url,
                                                                   const GStreamerSinks& sinks,
                                                                   OnEvent onEvent) {
  const auto started = startGStreamer();
  if (!started) return started.error();
  for (const char* element : kHiddenElements) {
    if (const auto found = requireGStreamerElement(element); !found) return found.error();
  }
  auto playbin = makeGStreamerElement("playbin");
  if (!playbin) return playbin.error();
  auto video =
      sinks.quickVideoItem ? makeQuickVideoSink(sinks.quickVideoItem) : makeGStreamerElement(sinks.video);
  if (!video) return video.error();
  auto audio = makeGStreamerElement(sinks.audio);
  if (!audio) return audio.error();
  for (const auto& sink : {video->get(), audio->get()}) {
    if (g_object_class_find_property(G_OBJECT_GET_CLASS(sink), "sync")) {
      g_object_set(sink, "sync", TRUE, nullptr);
    }
  }

  GstElement* element = playbin->get();
  g_object_set(element, "uri", url.absoluteString().c_str(), "video-sink", video->get(), "audio-sink",
               audio->get(), nullptr);
  auto handles = std::make_unique<Handles>(std::move(*playbin), std::move(onEvent));
  // A failure here is also reported on the bus, with its cause.
  gst_element_set_state(element, GST_STATE_PAUSED);
  return std::unique_ptr<GStreamerPipeline>(new GStreamerPipeline(std::move(handles)));
}

GStreamerPipeline::GStreamerPipeline(std::unique_ptr<Handles> handles) : handles_(std::move(handles)) {}

GStreamerPipeline::~GStreamerPipeline() {
  if (handles_->generation != forkGeneration()) (void)handles_.release();  // it would wait for its threads
}

void GStreamerPipeline::setPlaying(bool playing) {
  gst_element_set_state(handles_->playbin.get(), playing ? GST_STATE_PLAYING : GST_STATE_PAUSED);
}

bool GStreamerPipeline::seek(CMTime time, GStreamerSeekMode mode) {
  handles_->listener.countJump();
  handles_->requests.hold(kAnswerLimit);
  const auto flags = static_cast<GstSeekFlags>(GST_SEEK_FLAG_FLUSH | snapFlags(mode));
  const gboolean jumps =
      gst_element_seek_simple(handles_->playbin.get(), GST_FORMAT_TIME, flags, toNanoseconds(time));
  handles_->requests.release();
  return jumps == TRUE;
}

unsigned GStreamerPipeline::jumps() const {
  return handles_->listener.jumps();
}

bool GStreamerPipeline::isSettled() const {
  GstState state = GST_STATE_NULL;
  GstState pending = GST_STATE_VOID_PENDING;
  gst_element_get_state(handles_->playbin.get(), &state, &pending, 0);
  return pending == GST_STATE_VOID_PENDING && state >= GST_STATE_PAUSED;
}

std::optional<CMTime> GStreamerPipeline::position() const {
  gint64 nanoseconds = 0;
  if (!gst_element_query_position(handles_->playbin.get(), GST_FORMAT_TIME, &nanoseconds) || nanoseconds < 0)
    return std::nullopt;
  return fromNanoseconds(nanoseconds);
}

std::optional<CMTime> GStreamerPipeline::duration() const {
  gint64 nanoseconds = 0;
  if (!gst_element_query_duration(handles_->playbin.get(), GST_FORMAT_TIME, &nanoseconds) || nanoseconds <= 0)
    return std::nullopt;
  return fromNanoseconds(nanoseconds);
}

std::optional<std::vector<CMTimeRange>> GStreamerPipeline::seekableRanges() const {
  const GstQueryPtr query(gst_query_new_seeking(GST_FORMAT_TIME));
  if (!gst_element_query(handles_->playbin.get(), query.get())) return std::nullopt;
  gboolean seekable = FALSE;
  gint64 start = 0;
  gint64 end = 0;
  gst_query_parse_seeking(query.get(), nullptr, &seekable, &start, &end);
  std::vector<CMTimeRange> ranges;
  if (seekable && start >= 0 && end > start) {
    const CMTime from = fromNanoseconds(start);
    ranges.push_back(CMTimeRangeMake(from, CMTimeSubtract(fromNanoseconds(end), from)));
  }
  return ranges;
}

std::optional<std::vector<CMTimeRange>> GStreamerPipeline::loadedRanges() const {
  const auto start = position();
  const auto level = handles_->buffer.level();
  if (!start || !level) return std::nullopt;
  return std::vector{CMTimeRangeMake(*start, fromNanoseconds(*level))};
}

}  // namespace tarn
