#pragma once

#include <functional>
#include <string>

namespace tarn::test {

/// Plays a story, whose lines are steps or an expectation or both, or comments:
///
///     // The button plays while it is held.
///     press release  => calls: play, pause
///                    => title: Skip
///
/// `take` is called with each step, in order; `look` with the place, "calls", and returns what is found
/// there.
void tellStory(const std::string& story, const std::function<void(const std::string& step)>& take,
               const std::function<std::string(const std::string& place)>& look);

}  // namespace tarn::test
