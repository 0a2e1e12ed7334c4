#pragma once

#include <gst/gst.h>

#include <mutex>
#include <optional>
#include <vector>

#include "HostGStreamer/Internal/GStreamerLibrary.h"

namespace tarn {

/// The media that a playbin has in hand: how much it takes, and how much there is. Goes after the playbin has
/// been stopped. Any thread.
class GStreamerBuffer {
 public:
  explicit GStreamerBuffer(GstElement* playbin);
  GStreamerBuffer(const GStreamerBuffer&) = delete;
  GStreamerBuffer& operator=(const GStreamerBuffer&) = delete;
  ~GStreamerBuffer();

  /// In nanoseconds; absent until something has come.
  [[nodiscard]] std::optional<gint64> level();

 private:
  static void onElementAdded(GstBin* playbin, GstBin* parent, GstElement* element, gpointer self);
  void add(GstElement* element);

  GstElement* const playbin_;
  std::mutex mutex_;  // guards what follows
  std::vector<WeakGstElement> queues_;
};

}  // namespace tarn
