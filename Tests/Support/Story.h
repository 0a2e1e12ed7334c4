#pragma once

#include <functional>
#include <string>

namespace tarn::test {

/// Runs a script. Each line has steps, an expectation, or both, or is a comment:
///
///     // The button plays while it is held.
///     press release  => calls: play, pause
///                    => title: Skip
///
/// `take` is called with each step, in order; `look` is called with the name before the colon, for example
/// "calls", and returns the actual value.
void tellStory(const std::string& story, const std::function<void(const std::string& step)>& take,
               const std::function<std::string(const std::string& place)>& look);

}  // namespace tarn::test
