#include "Platform/DateFormatter.h"

#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>

#include <cmath>
#include <cstdint>
#include <mutex>
#include <utility>

#include "Platform/ProgrammingError.h"

namespace tarn {
namespace {

using Clock = std::chrono::system_clock;

/// Dates of real documents are far shorter; the limit also bounds the time spent on hostile ones.
constexpr std::size_t kMaxTextLength = 512;

std::optional<Clock::time_point> timePointOf(UDate milliseconds) {
  using Milliseconds = std::chrono::duration<double, std::milli>;
  constexpr double kLimit = std::chrono::duration_cast<Milliseconds>(Clock::duration::max()).count();
  if (!(std::fabs(milliseconds) < kLimit)) return std::nullopt;
  return Clock::time_point(std::chrono::milliseconds(static_cast<std::int64_t>(milliseconds)));
}

}  // namespace

struct DateFormatter::Impl {
  explicit Impl(const icu::SimpleDateFormat& f) : format(f) {}
  icu::SimpleDateFormat format;
  mutable std::mutex mutex;  // ICU creates parts of a date format lazily, also in const operations
};

DateFormatter::DateFormatter(const std::string& pattern) {
  UErrorCode status = U_ZERO_ERROR;
  icu::SimpleDateFormat format(icu::UnicodeString::fromUTF8(pattern), icu::Locale("en", "US", "POSIX"),
                               status);
  if (U_FAILURE(status)) {
    failProgramming("Could not make a date format of \"" + pattern + "\" (" + u_errorName(status) + ")");
  }
  format.setLenient(false);
  format.setTimeZone(*icu::TimeZone::getGMT());
  impl_ = std::make_unique<Impl>(std::move(format));
}

DateFormatter::~DateFormatter() = default;

std::optional<Clock::time_point> DateFormatter::dateFromString(std::string_view text) const {
  if (text.empty() || text.size() > kMaxTextLength) return std::nullopt;
  const auto utf16 = icu::UnicodeString::fromUTF8({text.data(), static_cast<int32_t>(text.size())});
  icu::ParsePosition position;
  const std::scoped_lock lock(impl_->mutex);
  const UDate date = impl_->format.parse(utf16, position);
  if (position.getErrorIndex() >= 0 || position.getIndex() != utf16.length()) return std::nullopt;
  return timePointOf(date);
}

}  // namespace tarn
