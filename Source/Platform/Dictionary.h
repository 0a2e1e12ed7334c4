#pragma once

#include <any>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tarn {

/// A small map from text keys to values of any type, in insertion order, for data exchanged between layers
/// that do not share types. Lookup is linear: meant for few entries.
class Dictionary {
 public:
  using Entry = std::pair<std::string, std::any>;

  /// Stores `value` under `key`, replacing an earlier value.
  template <typename T>
  void set(std::string_view key, T value) {
    for (auto& entry : entries_) {
      if (entry.first == key) {
        entry.second = std::move(value);
        return;
      }
    }
    entries_.emplace_back(std::string(key), std::any(std::move(value)));
  }

  /// The value under `key`; null when there is none or it is of another type.
  template <typename T>
  [[nodiscard]] const T* get(std::string_view key) const {
    for (const auto& entry : entries_) {
      if (entry.first == key) return std::any_cast<T>(&entry.second);
    }
    return nullptr;
  }

  [[nodiscard]] bool contains(std::string_view key) const {
    for (const auto& entry : entries_) {
      if (entry.first == key) return true;
    }
    return false;
  }

  [[nodiscard]] std::size_t size() const { return entries_.size(); }
  [[nodiscard]] bool empty() const { return entries_.empty(); }
  [[nodiscard]] auto begin() const { return entries_.begin(); }
  [[nodiscard]] auto end() const { return entries_.end(); }

 private:
  std::vector<Entry> entries_;
};

}  // namespace tarn
