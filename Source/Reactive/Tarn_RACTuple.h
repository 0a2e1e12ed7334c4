#pragma once

#include <tuple>

/// Values that travel together, as zipping and combining make them.
template <typename... Values>
using Tarn_RACTuple = std::tuple<Values...>;

/// The value of a signal that says only that something happened.
using Tarn_RACUnit = Tarn_RACTuple<>;
