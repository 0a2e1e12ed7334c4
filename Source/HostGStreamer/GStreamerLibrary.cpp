#include "HostGStreamer/Internal/GStreamerLibrary.h"

#include <fmt/format.h>

#include <array>
#include <string_view>
#include <utility>

#include "Host/TarnPlayer.h"
#include "Platform/PerProcess.h"

namespace tarn {
namespace {

struct Package {
  std::string_view factory;
  std::string_view name;
};

/// Where Debian keeps the elements that this system asks for by name.
constexpr std::array kPackages{
    Package{"fakesink", "libgstreamer1.0-0"},
    Package{"concat", "libgstreamer1.0-0"},
    Package{"hlsdemux", "gstreamer1.0-plugins-bad"},
    Package{"tsdemux", "gstreamer1.0-plugins-bad"},
    Package{"souphttpsrc", "gstreamer1.0-plugins-good"},
    Package{"splitmuxsink", "gstreamer1.0-plugins-good"},
    Package{"mpegtsmux", "gstreamer1.0-plugins-bad"},
    Package{"h264parse", "gstreamer1.0-plugins-bad"},
    Package{"aacparse", "gstreamer1.0-plugins-good"},
    Package{"openh264enc", "gstreamer1.0-plugins-bad"},
    Package{"voaacenc", "gstreamer1.0-plugins-bad"},
    Package{"x264enc", "gstreamer1.0-plugins-ugly"},
    Package{"avenc_aac", "gstreamer1.0-libav"},
    Package{"textoverlay", "gstreamer1.0-x"},
    Package{"timeoverlay", "gstreamer1.0-x"},
    Package{"qml6glsink", "gstreamer1.0-qt6"},
    Package{"glsinkbin", "gstreamer1.0-gl"},
    Package{"autoaudiosink", "gstreamer1.0-plugins-good"},
};

std::string_view packageOf(std::string_view factory) {
  for (const auto& package : kPackages) {
    if (package.factory == factory) return package.name;
  }
  return "gstreamer1.0-plugins-base";
}

Result<void> initialize() {
  GError* error = nullptr;
  if (gst_init_check(nullptr, nullptr, &error)) return {};
  Error failure;
  failure.domain = TarnPlayerErrorDomain;
  failure.code = static_cast<std::int64_t>(TarnPlayerErrorCode::missingComponent);
  failure.description = "GStreamer could not be started";
  if (!error) return failure;
  return withUnderlying(std::move(failure), takeGStreamerError(error, nullptr));
}

}  // namespace

Result<void> startGStreamer() {
  static const unsigned generation = forkGeneration();
  static const Result<void> started = initialize();
  if (generation != forkGeneration()) return forkedError();
  return started;
}

Error forkedError() {
  Error error;
  error.domain = TarnPlayerErrorDomain;
  error.code = static_cast<std::int64_t>(TarnPlayerErrorCode::other);
  error.description = "This process was forked after GStreamer was started, whose threads it does not have";
  error.recoverySuggestion = "Fork before the first stream is loaded, or let the child execute a program.";
  return error;
}

std::string_view factoryName(GstElement* element) {
  const GstElementFactory* factory = gst_element_get_factory(element);
  return factory ? GST_OBJECT_NAME(factory) : "";
}

Result<void> requireGStreamerElement(const std::string& factory) {
  if (const GstObjectPtr<GstElementFactory> found{gst_element_factory_find(factory.c_str())}) return {};
  Error error;
  error.domain = TarnPlayerErrorDomain;
  error.code = static_cast<std::int64_t>(TarnPlayerErrorCode::missingComponent);
  error.description = fmt::format("GStreamer's element \"{}\" is not installed", factory);
  error.recoverySuggestion = fmt::format("Install the Debian package {}.", packageOf(factory));
  return error;
}

Result<GstObjectPtr<GstElement>> makeGStreamerElement(const std::string& factory) {
  if (const auto found = requireGStreamerElement(factory); !found) return found.error();
  GstElement* element = gst_element_factory_make(factory.c_str(), nullptr);
  if (element) return GstObjectPtr<GstElement>(GST_ELEMENT(gst_object_ref_sink(element)));
  Error error;
  error.domain = TarnPlayerErrorDomain;
  error.code = static_cast<std::int64_t>(TarnPlayerErrorCode::missingComponent);
  error.description = fmt::format("GStreamer's element \"{}\" could not be made", factory);
  error.recoverySuggestion = fmt::format("Reinstall the Debian package {}.", packageOf(factory));
  return error;
}

Error takeGStreamerError(GError* error, gchar* debug) {
  Error result;
  result.domain = g_quark_to_string(error->domain);
  result.code = error->code;
  result.description = error->message;
  if (debug && *debug) result.failureReason = debug;
  g_error_free(error);
  g_free(debug);
  return result;
}

}  // namespace tarn
