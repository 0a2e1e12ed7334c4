#pragma once

#include <gst/gst.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <vector>

#include "HostGStreamer/Internal/GStreamerLibrary.h"

namespace tarn {

/// The HTTP requests of a playbin. Goes after the playbin has been stopped.
///
/// libsoup 3.2 brings the process down when a request is cancelled between the arrival of its headers and
/// their delivery. So whatever cancels requests, a jump or the end of the pipeline, first holds them.
class GStreamerRequests {
 public:
  explicit GStreamerRequests(GstElement* playbin);
  GStreamerRequests(const GStreamerRequests&) = delete;
  GStreamerRequests& operator=(const GStreamerRequests&) = delete;
  ~GStreamerRequests();

  /// Lets no request begin, and returns as soon as each one that is under way has its headers, at the latest
  /// after `limit`: that a server which takes longer answers in just the wrong moment is improbable.
  void hold(std::chrono::milliseconds limit);
  void release();

 private:
  /// One element, which makes one request after another.
  struct Source {
    explicit Source(GstElement* source) : element(source) {}

    WeakGstElement element;
    gulong probe = 0;
    bool isHeld = false;  // its thread stands at the probe
  };

  static void onElementAdded(GstBin* playbin, GstBin* parent, GstElement* element, gpointer self);
  static GstPadProbeReturn onHeld(GstPad* pad, GstPadProbeInfo* info, gpointer self);
  void markHeld(GstPad* pad);
  [[nodiscard]] bool areAnswered() const;

  GstElement* const playbin_;
  std::mutex mutex_;  // guards what follows
  std::condition_variable changed_;
  std::vector<Source> sources_;
};

}  // namespace tarn
