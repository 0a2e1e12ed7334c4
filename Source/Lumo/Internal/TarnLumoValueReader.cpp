#include "Lumo/Internal/TarnLumoValueReader.h"

#include <charconv>
#include <limits>
#include <system_error>
#include <utility>

#include "Platform/NumberFormatter.h"
#include "Platform/Text.h"

namespace tarn {

std::optional<URL> urlOfText(const TarnLumoONOXMLElement& element, WarningCollector& warnings) {
  const std::string text = element.stringValue();
  auto url = URL::fromString(text);
  if (url) return url;
  if (trimmed(text).empty()) {
    warnings.add(element, element.tag() + " is empty where a URL is expected.");
  } else {
    warnings.add(element, "The text " + quoted(text) + " of " + element.tag() + " forms no absolute URL.");
  }
  return std::nullopt;
}

std::optional<URL> urlOfAttribute(const TarnLumoONOXMLElement& element, std::string_view name,
                                  WarningCollector& warnings) {
  const auto text = element.valueForAttribute(name);
  auto url = text ? URL::fromString(*text) : std::nullopt;
  if (url) return url;
  const std::string attribute = "The attribute " + std::string(name) + " of " + element.tag();
  warnings.add(element, text ? attribute + ", " + quoted(*text) + ", forms no absolute URL."
                             : attribute + " is missing.");
  return std::nullopt;
}

std::int64_t integerOfAttribute(const TarnLumoONOXMLElement& element, std::string_view name,
                                WarningCollector& warnings) {
  const auto text = element.valueForAttribute(name);
  if (const auto value = leadingInteger(text.value_or(""))) return *value;
  const std::string attribute = "The attribute " + std::string(name) + " of " + element.tag();
  warnings.add(element, text ? attribute + ", " + quoted(*text) + ", is no integer and was read as 0."
                             : attribute + " is missing and was read as 0.");
  return 0;
}

CMTime lengthOfAttribute(const TarnLumoONOXMLElement& element, std::string_view name,
                         WarningCollector& warnings) {
  const auto text = element.valueForAttribute(name);
  const auto& formatter = NumberFormatter::shared(NumberFormatter::Style::plain);
  const auto seconds = text ? formatter.numberFromString(*text) : std::nullopt;
  if (!seconds) {
    const std::string attribute = "The attribute " + std::string(name) + " of " + element.tag();
    warnings.add(element,
                 text ? attribute + ", " + quoted(*text) + ", is no number of seconds and was read as 0."
                      : attribute + " is missing and was read as 0.");
  }
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
