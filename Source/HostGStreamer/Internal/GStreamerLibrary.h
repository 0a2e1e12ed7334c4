#pragma once

#include <gst/gst.h>

#include <memory>
#include <string>
#include <string_view>

#include "Platform/Result.h"

/// What this folder's sources share of GStreamer itself: start, ownership, elements and errors. Private to
/// the folder; its public headers name no GStreamer type.
namespace tarn {

struct GstObjectUnref {
  void operator()(gpointer object) const { gst_object_unref(object); }
};
template <typename T>
using GstObjectPtr = std::unique_ptr<T, GstObjectUnref>;

/// An element that is not kept alive. Any thread.
class WeakGstElement {
 public:
  explicit WeakGstElement(GstElement* element) : reference_(new GWeakRef) {
    g_weak_ref_init(reference_.get(), element);
  }
  /// Absent when the element has gone.
  [[nodiscard]] GstObjectPtr<GstElement> lock() const {
    return GstObjectPtr<GstElement>(static_cast<GstElement*>(g_weak_ref_get(reference_.get())));
  }

 private:
  struct Clear {
    void operator()(GWeakRef* reference) const {
      g_weak_ref_clear(reference);
      delete reference;
    }
  };
  std::unique_ptr<GWeakRef, Clear> reference_;  // GLib knows its address
};

/// What the element was made by; empty for a bin without a factory.
[[nodiscard]] std::string_view factoryName(GstElement* element);

struct GstQueryUnref {
  void operator()(GstQuery* query) const { gst_query_unref(query); }
};
using GstQueryPtr = std::unique_ptr<GstQuery, GstQueryUnref>;

/// Starts the library once. Any thread. Fails in a child that was forked later, where it cannot work.
[[nodiscard]] Result<void> startGStreamer();

/// Why GStreamer does not work in such a child.
[[nodiscard]] Error forkedError();

/// Whether the factory exists; the error names the Debian package to install. The library has been started.
[[nodiscard]] Result<void> requireGStreamerElement(const std::string& factory);

/// A new element, owned by the caller (not floating). Errors as above.
[[nodiscard]] Result<GstObjectPtr<GstElement>> makeGStreamerElement(const std::string& factory);

/// GStreamer's error as ours; frees both arguments.
[[nodiscard]] Error takeGStreamerError(GError* error, gchar* debug);

}  // namespace tarn
