#pragma once

#include <type_traits>
#include <utility>
#include <variant>

#include "Platform/Error.h"

namespace tarn {

/// The value of an operation or its error; modelled on `std::expected`.
///
/// `value()`, `operator*` and `operator->` may be used only if `has_value()` is true, `error()` only if it is
/// false; a violation throws `std::bad_variant_access`.
template <typename T>
class [[nodiscard]] Result {
 public:
  using value_type = T;

  Result(T value) : state_(std::in_place_index<0>, std::move(value)) {}
  Result(Error error) : state_(std::in_place_index<1>, std::move(error)) {}

  [[nodiscard]] bool has_value() const { return state_.index() == 0; }
  explicit operator bool() const { return has_value(); }

  [[nodiscard]] const T& value() const& { return std::get<0>(state_); }
  [[nodiscard]] T& value() & { return std::get<0>(state_); }
  [[nodiscard]] T&& value() && { return std::get<0>(std::move(state_)); }
  [[nodiscard]] const T& operator*() const& { return value(); }
  [[nodiscard]] T& operator*() & { return value(); }
  [[nodiscard]] T&& operator*() && { return std::move(*this).value(); }
  [[nodiscard]] const T* operator->() const { return &value(); }
  [[nodiscard]] T* operator->() { return &value(); }

  [[nodiscard]] const Error& error() const& { return std::get<1>(state_); }
  [[nodiscard]] Error&& error() && { return std::get<1>(std::move(state_)); }

 private:
  std::variant<T, Error> state_;
};

/// Success without a value, or an error. `Result<void> done;` is success.
template <>
class [[nodiscard]] Result<void> {
 public:
  using value_type = void;

  Result() = default;
  Result(Error error) : state_(std::in_place_index<1>, std::move(error)) {}

  [[nodiscard]] bool has_value() const { return state_.index() == 0; }
  explicit operator bool() const { return has_value(); }
  [[nodiscard]] const Error& error() const& { return std::get<1>(state_); }

 private:
  std::variant<std::monostate, Error> state_;
};

}  // namespace tarn
