#pragma once

#include <functional>

namespace tarn::test {

/// Runs `work` in a child made by `fork` and returns its wait status: 0 for success, 1 after a failed
/// expectation, a signal's if it did not end.
int statusOfChild(const std::function<void()>& work);

}  // namespace tarn::test
