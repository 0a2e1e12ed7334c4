#pragma once

#include <gst/gst.h>

#include <mutex>
#include <optional>
#include <vector>

#include "HostGStreamer/Internal/GStreamerLibrary.h"

namespace tarn {

/// The media buffer of a playbin: its limits and its level. Destroy it after stopping playbin. Any thread.
class GStreamerBuffer {
 public:
  explicit GStreamerBuffer(GstElement* playbin);
  GStreamerBuffer(const GStreamerBuffer&) = delete;
  GStreamerBuffer& operator=(const GStreamerBuffer&) = delete;
  ~GStreamerBuffer();

  /// In nanoseconds; absent until data was received.
  [[nodiscard]] std::optional<gint64> level();

 private:
  static void onElementAdded(GstBin* playbin, GstBin* parent, GstElement* element, gpointer self);
  void add(GstElement* element);

  GstElement* const playbin_;
  std::mutex mutex_;  // guards the members below
  std::vector<WeakGstElement> queues_;
};

}  // namespace tarn
