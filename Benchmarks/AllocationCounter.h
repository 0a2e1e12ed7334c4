#pragma once

#include <cstddef>

namespace kyr_benchmarks {

/// How often the program has called `operator new` so far, on all threads.
[[nodiscard]] std::size_t allocationCount();

}  // namespace kyr_benchmarks
