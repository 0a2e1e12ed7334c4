#pragma once

#include <functional>

namespace tarn::test {

/// The wait status of a child, made by `fork`, that does `work` and exits: 0 when all is well, a failed
/// expectation's 1, or a signal's when it hung.
int statusOfChild(const std::function<void()>& work);

}  // namespace tarn::test
