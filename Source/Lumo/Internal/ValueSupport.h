#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Hash.h"
#include "Platform/MediaTime.h"
#include "Platform/URL.h"

/// Equality, hash and description of the parts of the model's value classes: times, texts, URLs, shared
/// values and lists of them. Two absent objects are equal, hash to 0 and read "(null)".
namespace tarn {

template <typename T>
using Shared = std::shared_ptr<const T>;

template <typename T>
[[nodiscard]] bool equalValues(const Shared<T>& a, const Shared<T>& b) {
  return a == b || (a && b && *a == *b);
}

template <typename T>
[[nodiscard]] bool equalValues(const std::vector<Shared<T>>& a, const std::vector<Shared<T>>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](const auto& x, const auto& y) { return equalValues(x, y); });
}

[[nodiscard]] inline std::uint64_t hashOf(const std::string& text) {
  return std::hash<std::string>{}(text);
}
[[nodiscard]] inline std::uint64_t hashOf(const URL& url) {
  return url.hash();
}
template <typename T>
[[nodiscard]] std::uint64_t hashOf(const std::optional<T>& value) {
  return value ? hashOf(*value) : 0;
}
template <typename T>
[[nodiscard]] std::uint64_t hashOf(const Shared<T>& value) {
  return value ? value->hash() : 0;
}
template <typename T>
[[nodiscard]] std::uint64_t hashOf(const std::vector<T>& list) {
  std::uint64_t hash = 0;
  for (const auto& element : list) hash = foldHash(hash, hashOf(element));
  return hash;
}

[[nodiscard]] inline std::string describe(const CMTime& time) {
  return CMTimeCopyDescription(time);
}
[[nodiscard]] inline std::string describe(const std::string& text) {
  return text;
}
[[nodiscard]] inline std::string describe(const URL& url) {
  return url.absoluteString();
}
template <typename T>
[[nodiscard]] std::string describe(const std::optional<T>& value) {
  return value ? describe(*value) : "(null)";
}
template <typename T>
[[nodiscard]] std::string describe(const Shared<T>& value) {
  return value ? value->description() : "(null)";
}
template <typename T>
[[nodiscard]] std::string describe(const std::vector<T>& list) {
  std::string text = "(";
  for (const auto& element : list) {
    if (text.size() > 1) text += ", ";
    text += describe(element);
  }
  return text + ")";
}
template <typename T, typename Compare>
[[nodiscard]] std::string describe(const std::map<std::string, T, Compare>& entries) {
  std::string text = "{";
  for (const auto& [key, value] : entries) text += key + " = " + describe(value) + "; ";
  if (text.size() > 1) text.pop_back();
  return text + "}";
}

/// Puts an object's description together: "<Class: address; name = value; …>".
class Description {
 public:
  Description(std::string_view className, const void* object);

  template <typename T>
  Description& piece(std::string_view name, const T& value) {
    return lastPiece(name, value, ";");
  }
  template <typename T>
  Description& lastPiece(std::string_view name, const T& value, std::string_view end = "") {
    text_.append(" ").append(name).append(" = ").append(describe(value)).append(end);
    return *this;
  }
  [[nodiscard]] std::string text() const { return text_ + ">"; }

 private:
  std::string text_;
};

}  // namespace tarn
