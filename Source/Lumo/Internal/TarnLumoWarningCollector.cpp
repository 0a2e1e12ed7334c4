#include "Lumo/Internal/TarnLumoWarningCollector.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "Platform/Text.h"

namespace tarn {
namespace {

constexpr std::size_t kMaxWarnings = 1000;
/// libxml2 keeps a line in 16 bits; the largest value means "this line or a later one".
constexpr std::int64_t kFirstUncountedLine = std::numeric_limits<std::uint16_t>::max();

}  // namespace

void WarningCollector::add(std::optional<std::int64_t> line, std::string message) {
  if (warnings_.size() == kMaxWarnings) {
    ++dropped_;
    return;
  }
  if (line && (*line <= 0 || *line >= kFirstUncountedLine)) line.reset();
  warnings_.push_back({line, std::move(message)});
}

std::vector<TarnLumoWarning> WarningCollector::take() {
  std::stable_sort(warnings_.begin(), warnings_.end(),
                   [](const TarnLumoWarning& a, const TarnLumoWarning& b) {
                     constexpr auto kLast = std::numeric_limits<std::int64_t>::max();
                     return a.line.value_or(kLast) < b.line.value_or(kLast);
                   });
  if (dropped_ > 0)
    warnings_.push_back({std::nullopt, std::to_string(dropped_) + " more warnings were left out."});
  dropped_ = 0;
  return std::exchange(warnings_, {});
}

std::string quoted(std::string_view text) {
  return "“" + clippedText(text) + "”";
}

}  // namespace tarn
