#include "HostGStreamer/Internal/GStreamerRequests.h"

#include <algorithm>
#include <utility>

namespace tarn {
namespace {

constexpr const char* kFactory = "souphttpsrc";

GstObjectPtr<GstPad> outputOf(GstElement* source) {
  return GstObjectPtr<GstPad>(gst_element_get_static_pad(source, "src"));
}

bool hasSent(GstPad* pad, GstEventType type) {
  GstEvent* event = gst_pad_get_sticky_event(pad, type, 0);
  if (event) gst_event_unref(event);
  return event != nullptr;
}

/// An active source sends a segment event when its headers were received, and end of stream when it has
/// failed.
bool isAnswered(GstPad* pad) {
  return !gst_pad_is_active(pad) || hasSent(pad, GST_EVENT_SEGMENT) || hasSent(pad, GST_EVENT_EOS);
}

}  // namespace

GStreamerRequests::GStreamerRequests(GstElement* playbin) : playbin_(playbin) {
  g_signal_connect(playbin, "deep-element-added", G_CALLBACK(onElementAdded), this);
}

GStreamerRequests::~GStreamerRequests() {
  g_signal_handlers_disconnect_by_data(playbin_, this);
}

void GStreamerRequests::onElementAdded(GstBin* /*playbin*/, GstBin* /*parent*/, GstElement* element,
                                       gpointer self) {
  if (factoryName(element) != kFactory) return;
  auto& requests = *static_cast<GStreamerRequests*>(self);
  const std::lock_guard lock(requests.mutex_);
  std::erase_if(requests.sources_, [](const auto& source) { return !source.element.lock(); });
  requests.sources_.emplace_back(element);
}

void GStreamerRequests::hold(std::chrono::milliseconds limit) {
  std::unique_lock lock(mutex_);
  for (auto& source : sources_) {
    const auto element = source.element.lock();
    if (!element || source.probe != 0) continue;
    constexpr auto kWhatComes = static_cast<GstPadProbeType>(
        GST_PAD_PROBE_TYPE_BLOCK | GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM);
    source.probe = gst_pad_add_probe(outputOf(element.get()).get(), kWhatComes, onHeld, this, nullptr);
  }
  changed_.wait_for(lock, limit, [this] { return areAnswered(); });
}

void GStreamerRequests::release() {
  const std::lock_guard lock(mutex_);
  for (auto& source : sources_) {
    const auto probe = std::exchange(source.probe, 0);
    const auto element = source.element.lock();
    if (element && probe != 0) gst_pad_remove_probe(outputOf(element.get()).get(), probe);
    source.isHeld = false;
  }
}

/// The source emits one event before it sends the request and one when the response headers arrive.
GstPadProbeReturn GStreamerRequests::onHeld(GstPad* pad, GstPadProbeInfo* /*info*/, gpointer self) {
  static_cast<GStreamerRequests*>(self)->markHeld(pad);
  return GST_PAD_PROBE_OK;
}

void GStreamerRequests::markHeld(GstPad* pad) {
  const GstObjectPtr<GstElement> parent(gst_pad_get_parent_element(pad));
  const std::lock_guard lock(mutex_);
  for (auto& source : sources_) source.isHeld = source.isHeld || source.element.lock() == parent;
  changed_.notify_all();
}

bool GStreamerRequests::areAnswered() const {
  return std::all_of(sources_.begin(), sources_.end(), [](const Source& source) {
    const auto element = source.element.lock();
    return !element || source.isHeld || isAnswered(outputOf(element.get()).get());
  });
}

}  // namespace tarn
