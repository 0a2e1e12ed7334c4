#include "Lumo/Internal/TarnLumoValueReader.h"

#include <charconv>
#include <limits>
#include <system_error>
#include <utility>

#include "Lumo/TarnLumoCommon.h"
#include "Platform/NumberFormatter.h"
#include "Platform/Text.h"

namespace tarn {

std::int64_t lineOf(const TarnLumoONOXMLElement& element) {
  return static_cast<std::int64_t>(element.lineNumber());
}

ElementPlace placeOf(const TarnLumoONOXMLElement& element) {
  return {lineOf(element), element.tag()};
}

std::optional<URL> urlOfText(const TarnLumoONOXMLElement& element, ReadingObserver& observer) {
  const std::string text = element.stringValue();
  auto url = URL::fromString(text);
  if (!url) observer.textIsNoURL(placeOf(element), text);
  return url;
}

std::optional<URL> urlOfAttribute(const TarnLumoONOXMLElement& element, std::string_view name,
                                  ReadingObserver& observer) {
  auto text = element.valueForAttribute(name);
  auto url = text ? URL::fromString(*text) : std::nullopt;
  if (!url)
    observer.attributeIsUnreadable({placeOf(element), std::string(name), std::move(text)},
                                   AttributeKind::url);
  return url;
}

std::int64_t integerOfAttribute(const TarnLumoONOXMLElement& element, std::string_view name,
                                ReadingObserver& observer) {
  auto text = element.valueForAttribute(name);
  if (const auto value = leadingInteger(text.value_or(""))) return *value;
  observer.attributeIsUnreadable({placeOf(element), std::string(name), std::move(text)},
                                 AttributeKind::integer);
  return 0;
}

CMTime lengthOfAttribute(const TarnLumoONOXMLElement& element, std::string_view name,
                         ReadingObserver& observer) {
  auto text = element.valueForAttribute(name);
  const auto& formatter = NumberFormatter::shared(NumberFormatter::Style::plain);
  const auto seconds = text ? formatter.numberFromString(*text) : std::nullopt;
  if (!seconds)
    observer.attributeIsUnreadable({placeOf(element), std::string(name), std::move(text)},
                                   AttributeKind::seconds);
  return CMTimeMakeWithSeconds(seconds.value_or(0.0), kDocumentTimescale);
}

std::optional<std::int64_t> leadingInteger(std::string_view text) {
  text = trimmed(text);
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  if (text.empty() || text.front() < '0' || text.front() > '9') return std::nullopt;
  const std::string signedText = (negative ? "-" : "") + std::string(text);
  std::int64_t value = 0;
  const auto [end, error] = std::from_chars(signedText.data(), signedText.data() + signedText.size(), value);
  if (error != std::errc::result_out_of_range) return value;
  return negative ? std::numeric_limits<std::int64_t>::min() : std::numeric_limits<std::int64_t>::max();
}

}  // namespace tarn
