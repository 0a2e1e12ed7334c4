#include "HostGStreamer/GStreamerInstallation.h"

#include <fmt/format.h>

#include <array>
#include <string_view>
#include <utility>

#include "Host/StreamError.h"
#include "HostGStreamer/Internal/GStreamerLibrary.h"
#include "Platform/PerProcess.h"

namespace tarn {
namespace {

struct Package {
  std::string_view factory;
  std::string_view name;
};

/// The Debian packages of the elements that this system names.
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

Result<void> initialize() {
  GError* error = nullptr;
  if (gst_init_check(nullptr, nullptr, &error)) return {};
  Error failure = Error::make(TarnPlayerErrorDomain, TarnPlayerErrorCode::missingComponent,
                              "GStreamer could not be started");
  if (!error) return failure;
  return withUnderlying(std::move(failure), takeGStreamerError(error, nullptr));
}

}  // namespace

Result<void> startGStreamer() {
  static const unsigned generation = forkGeneration();
  static const Result<void> started = initialize();
  if (generation != forkGeneration()) return forkedError("GStreamer");
  return started;
}

std::string_view debianPackageOf(std::string_view factory) {
  for (const auto& package : kPackages) {
    if (package.factory == factory) return package.name;
  }
  return "gstreamer1.0-plugins-base";
}

Result<void> requireGStreamerElement(const std::string& factory) {
  if (const GstObjectPtr<GstElementFactory> found{gst_element_factory_find(factory.c_str())}) return {};
  Error error = Error::make(TarnPlayerErrorDomain, TarnPlayerErrorCode::missingComponent,
                            fmt::format("GStreamer's element \"{}\" is not installed", factory));
  error.recoverySuggestion = fmt::format("Install the Debian package {}.", debianPackageOf(factory));
  return error;
}

}  // namespace tarn
