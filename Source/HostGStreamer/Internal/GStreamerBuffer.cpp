#include "HostGStreamer/Internal/GStreamerBuffer.h"

#include <algorithm>

namespace tarn {
namespace {

/// Long enough to survive a short network outage.
constexpr gint64 kTime = 30 * GST_SECOND;
/// More than any television stream needs for that time.
constexpr int kBytes = 256 << 20;
/// Shares of that time: the level that starts playback, and the level below which playback waits.
constexpr int kEnoughPercent = 10;
constexpr int kDryPercent = 1;

/// The level of the longest stream. The audio queue under-reports its level: about one second of decoded
/// audio is downstream of it.
gint64 levelOf(GstElement* queue) {
  gint64 level = 0;
  const auto lengthen = [](GstElement*, GstPad* pad, gpointer longest) -> gboolean {
    guint64 time = 0;
    g_object_get(pad, "current-level-time", &time, nullptr);
    auto& known = *static_cast<gint64*>(longest);
    known = std::max(known, static_cast<gint64>(std::min<guint64>(time, G_MAXINT64)));
    return TRUE;
  };
  gst_element_foreach_sink_pad(queue, lengthen, &level);
  return level;
}

}  // namespace

GStreamerBuffer::GStreamerBuffer(GstElement* playbin) : playbin_(playbin) {
  g_object_set(playbin, "buffer-duration", kTime, "buffer-size", kBytes, nullptr);
  g_signal_connect(playbin, "deep-element-added", G_CALLBACK(onElementAdded), this);
}

GStreamerBuffer::~GStreamerBuffer() {
  g_signal_handlers_disconnect_by_data(playbin_, this);
}

void GStreamerBuffer::onElementAdded(GstBin* /*playbin*/, GstBin* /*parent*/, GstElement* element,
                                     gpointer self) {
  static_cast<GStreamerBuffer*>(self)->add(element);
}

void GStreamerBuffer::add(GstElement* element) {
  const auto factory = factoryName(element);
  if (factory == "decodebin")
    g_object_set(element, "low-percent", kDryPercent, "high-percent", kEnoughPercent, nullptr);
  if (factory != "multiqueue") return;
  const std::lock_guard lock(mutex_);
  std::erase_if(queues_, [](const auto& queue) { return !queue.lock(); });
  queues_.emplace_back(element);
}

std::optional<gint64> GStreamerBuffer::level() {
  const std::lock_guard lock(mutex_);
  std::optional<gint64> level;
  for (const auto& weak : queues_) {
    if (const auto queue = weak.lock()) level = level.value_or(0) + levelOf(queue.get());
  }
  return level;
}

}  // namespace tarn
