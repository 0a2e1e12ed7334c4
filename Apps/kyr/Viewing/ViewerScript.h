#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Result.h"
#include "Viewing/Viewing.h"

namespace tarn::cli {

/// One command of a viewer's script: something that the viewer does, or time that passes.
struct ViewingStep {
  std::function<void(Viewing& viewing)> act;  ///< Empty when only time passes.
  double seconds = 0;
};

/// Reads the whole script, from standard input without a path. Errors, of the call's domain, name the file
/// and the line.
[[nodiscard]] Result<std::vector<ViewingStep>> readViewingScript(const std::optional<std::string>& path);

/// What a script may hold, for the help.
inline constexpr const char* kViewingScriptHelp =
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
