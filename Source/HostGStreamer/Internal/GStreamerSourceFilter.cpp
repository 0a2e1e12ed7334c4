#include "HostGStreamer/Internal/GStreamerSourceFilter.h"

#include <memory>

#include "HostGStreamer/Internal/GStreamerLibrary.h"

namespace tarn {
namespace {

constexpr const char* kHTTPSource = "souphttpsrc";

struct Free {
  void operator()(gchar* text) const { g_free(text); }
};

bool opensAddresses(GstElement* element) {
  return GST_IS_URI_HANDLER(element) && gst_uri_handler_get_uri_type(GST_URI_HANDLER(element)) == GST_URI_SRC;
}

}  // namespace

GStreamerSourceFilter::GStreamerSourceFilter(GstElement* playbin) : playbin_(playbin) {
  g_signal_connect(playbin, "deep-element-added", G_CALLBACK(onElementAdded), this);
}

GStreamerSourceFilter::~GStreamerSourceFilter() {
  g_signal_handlers_disconnect_by_data(playbin_, this);
}

/// The source is not started yet, and with a locked state it never is.
void GStreamerSourceFilter::onElementAdded(GstBin* playbin, GstBin* /*parent*/, GstElement* element,
                                           gpointer /*self*/) {
  if (factoryName(element) == kHTTPSource || !opensAddresses(element)) return;
  gst_element_set_locked_state(element, TRUE);
  const std::unique_ptr<gchar, Free> address(gst_uri_handler_get_uri(GST_URI_HANDLER(element)));
  GST_ELEMENT_ERROR(playbin, RESOURCE, OPEN_READ,
                    ("The stream refers to %s, which is neither http nor https", address.get()), (nullptr));
}

}  // namespace tarn
