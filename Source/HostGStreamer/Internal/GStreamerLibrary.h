#pragma once

#include <gst/gst.h>

#include <memory>
#include <string>
#include <string_view>

#include "Platform/Result.h"

/// GStreamer's objects and errors, as the sources of this layer use them.
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
  /// Absent when the element was destroyed.
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

/// The name of the factory that made the element; empty for a bin without a factory.
[[nodiscard]] std::string_view factoryName(GstElement* element);

struct GstQueryUnref {
  void operator()(GstQuery* query) const { gst_query_unref(query); }
};
using GstQueryPtr = std::unique_ptr<GstQuery, GstQueryUnref>;

/// A new element, owned by the caller (not floating). Errors: those of
/// `requireGStreamerElement`.
[[nodiscard]] Result<GstObjectPtr<GstElement>> makeGStreamerElement(const std::string& factory);

/// Converts GStreamer's error; frees both arguments.
[[nodiscard]] Error takeGStreamerError(GError* error, gchar* debug);

}  // namespace tarn
