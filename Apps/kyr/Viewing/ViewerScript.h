#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Result.h"
#include "Viewing/PlaybackRun.h"

namespace tarn::cli {

/// One command of a viewer's script: an action of the viewer, or time that passes.
struct ViewerStep {
  std::function<void(PlaybackRun& playback)> act;  ///< Empty when only time passes.
  double seconds = 0;
};

/// Reads the whole script, from standard input if there is no path. Errors, of the call's domain, name the
/// file and the line.
[[nodiscard]] Result<std::vector<ViewerStep>> readViewerScript(const std::optional<std::string>& path);

/// The help text for scripts.
inline constexpr const char* kViewerScriptHelp =
    "The script, one command a line; blank lines and lines that begin with # are passed over:\n"
    "  run S                     lets S seconds pass\n"
    "  play | pause              the application's play and pause\n"
    "  seek C                    seeks to content time C: seconds, or 'invalid'\n"
    "  skip                      skips the ad that plays\n"
    "  pauseAd | resumeAd        pauses and resumes inside an ad break\n"
    "  adsDisabled yes|no        whether the viewer need not watch ads\n"
    "  resumeAt C yes|no         goes on at content time C, playing from there with 'yes'\n"
    "  terminate                 ends the session";

}  // namespace tarn::cli
