#pragma once

#include <gst/gst.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <vector>

#include "HostGStreamer/Internal/GStreamerLibrary.h"

namespace tarn {

/// The HTTP requests of a playbin. Destroy it after stopping playbin.
///
/// libsoup 3.2 crashes when a request is cancelled between the arrival of its headers and their delivery. So
/// hold the requests before each operation that cancels them: a jump, or the end of the pipeline.
class GStreamerRequests {
 public:
  explicit GStreamerRequests(GstElement* playbin);
  GStreamerRequests(const GStreamerRequests&) = delete;
  GStreamerRequests& operator=(const GStreamerRequests&) = delete;
  ~GStreamerRequests();

  /// Starts no more requests, and returns when each request in progress has its headers, at the latest after
  /// `limit`: a slower server is unlikely to respond at exactly the wrong moment.
  void hold(std::chrono::milliseconds limit);
  void release();

 private:
  /// One element, which makes one request after another.
  struct Source {
    explicit Source(GstElement* source) : element(source) {}

    WeakGstElement element;
    gulong probe = 0;
    bool isHeld = false;  // its thread waits at the probe
  };

  static void onElementAdded(GstBin* playbin, GstBin* parent, GstElement* element, gpointer self);
  static GstPadProbeReturn onHeld(GstPad* pad, GstPadProbeInfo* info, gpointer self);
  void markHeld(GstPad* pad);
  [[nodiscard]] bool areAnswered() const;

  GstElement* const playbin_;
  std::mutex mutex_;  // guards the members below
  std::condition_variable changed_;
  std::vector<Source> sources_;
};

}  // namespace tarn
