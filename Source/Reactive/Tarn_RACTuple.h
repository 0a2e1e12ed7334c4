#pragma once

#include <tuple>

/// Values sent together, as `zip` and `combineLatest` make them.
template <typename... Values>
using Tarn_RACTuple = std::tuple<Values...>;

/// The value of a signal that only reports that something happened.
using Tarn_RACUnit = Tarn_RACTuple<>;
