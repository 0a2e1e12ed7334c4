#pragma once

#include <gst/gst.h>

namespace tarn {

/// Fails the stream of a playbin that opens a source other than HTTP's: a playlist from the web must not make
/// the player read local files. Destroyed after playbin has been stopped.
class GStreamerSourceFilter {
 public:
  explicit GStreamerSourceFilter(GstElement* playbin);
  GStreamerSourceFilter(const GStreamerSourceFilter&) = delete;
  GStreamerSourceFilter& operator=(const GStreamerSourceFilter&) = delete;
  ~GStreamerSourceFilter();

 private:
  static void onElementAdded(GstBin* playbin, GstBin* parent, GstElement* element, gpointer self);

  GstElement* const playbin_;
};

}  // namespace tarn
