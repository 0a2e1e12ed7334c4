#include "HostGStreamer/Internal/GStreamerLibrary.h"

#include <fmt/format.h>

#include "Host/TarnPlayer.h"
#include "HostGStreamer/GStreamerInstallation.h"

namespace tarn {

std::string_view factoryName(GstElement* element) {
  const GstElementFactory* factory = gst_element_get_factory(element);
  return factory ? GST_OBJECT_NAME(factory) : "";
}

Result<GstObjectPtr<GstElement>> makeGStreamerElement(const std::string& factory) {
  if (const auto found = requireGStreamerElement(factory); !found) return found.error();
  GstElement* element = gst_element_factory_make(factory.c_str(), nullptr);
  if (element) return GstObjectPtr<GstElement>(GST_ELEMENT(gst_object_ref_sink(element)));
  Error error = Error::make(TarnPlayerErrorDomain, TarnPlayerErrorCode::missingComponent,
                            fmt::format("GStreamer's element \"{}\" could not be made", factory));
  error.recoverySuggestion = fmt::format("Reinstall the Debian package {}.", debianPackageOf(factory));
  return error;
}

Error takeGStreamerError(GError* error, gchar* debug) {
  Error result = Error::make(g_quark_to_string(error->domain), error->code, error->message);
  if (debug && *debug) result.failureReason = debug;
  g_error_free(error);
  g_free(debug);
  return result;
}

}  // namespace tarn
