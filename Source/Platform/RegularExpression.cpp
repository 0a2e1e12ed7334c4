#include "Platform/RegularExpression.h"

#include <unicode/regex.h>
#include <unicode/unistr.h>

#include "Platform/ProgrammingError.h"

namespace tarn {
namespace {

/// In ICU's steps of the match engine, each well below a millisecond: enough for any realistic text, and a
/// limit for endless backtracking.
constexpr int32_t kMaxSteps = 500;
constexpr int32_t kMaxStackBytes = 1 << 20;

icu::UnicodeString utf16Of(std::string_view text) {
  return icu::UnicodeString::fromUTF8({text.data(), static_cast<int32_t>(text.size())});
}

/// Converts ascending UTF-16 positions to code points, in one pass over the text.
class CodePointCounter {
 public:
  explicit CodePointCounter(const icu::UnicodeString& text) : text_(text) {}

  std::size_t at(int32_t position) {
    // A capture may begin before the end of the previous one (never before its beginning).
    if (position < position_) {
      codePoints_ -= count(position, position_);
    } else {
      codePoints_ += count(position_, position);
    }
    position_ = position;
    return codePoints_;
  }

 private:
  std::size_t count(int32_t from, int32_t to) const {
    return static_cast<std::size_t>(text_.countChar32(from, to - from));
  }

  const icu::UnicodeString& text_;
  int32_t position_ = 0;
  std::size_t codePoints_ = 0;
};

}  // namespace

struct RegularExpression::Impl {
  std::unique_ptr<const icu::RegexPattern> pattern;
};

RegularExpression::RegularExpression(std::string_view pattern) : impl_(std::make_unique<Impl>()) {
  UErrorCode status = U_ZERO_ERROR;
  UParseError where{};
  impl_->pattern.reset(icu::RegexPattern::compile(utf16Of(pattern), 0, where, status));
  if (U_FAILURE(status)) {
    failProgramming("Could not compile the regular expression \"" + std::string(pattern) +
                    "\" at character " + std::to_string(where.offset) + " (" + u_errorName(status) + ")");
  }
}

RegularExpression::~RegularExpression() = default;

std::vector<RegularExpression::Match> RegularExpression::matches(std::string_view text,
                                                                 std::size_t length) const {
  auto subject = utf16Of(text);
  if (length < static_cast<std::size_t>(subject.countChar32())) {
    subject.truncate(subject.moveIndex32(0, static_cast<int32_t>(length)));
  }

  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::RegexMatcher> matcher(impl_->pattern->matcher(subject, status));
  if (U_FAILURE(status)) return {};
  matcher->setTimeLimit(kMaxSteps, status);
  matcher->setStackLimit(kMaxStackBytes, status);

  std::vector<Match> found;
  CodePointCounter codePoints(subject);
  while (U_SUCCESS(status) && matcher->find(status)) {
    Match& match = found.emplace_back();
    if (matcher->groupCount() < 1 || matcher->start(1, status) < 0) continue;
    match.captureBegin = codePoints.at(matcher->start(1, status));
    match.captureLength = codePoints.at(matcher->end(1, status)) - match.captureBegin;
    matcher->group(1, status).toUTF8String(match.capture.emplace());
  }
  return found;
}

std::vector<RegularExpression::Match> RegularExpression::matches(std::string_view text) const {
  return matches(text, text.size());  // never fewer bytes than code points
}

}  // namespace tarn
