#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace tarn {

/// An absolute URL (RFC 3986: a scheme is required), as text that may be sent in a request.
///
/// Real documents put line breaks around URLs and macros into them, so `fromString` is lenient: white space
/// and line breaks around the text are removed; inside it, characters that a URL may not contain (spaces,
/// brackets outside an IPv6 host, braces, quotes, controls, everything beyond ASCII as UTF-8) are
/// percent-encoded; a
/// "%" that does not begin an escape becomes "%25"; existing escapes stay as they are. A host beyond ASCII
/// becomes its IDNA form (UTS #46, "xn--…"). The scheme is converted to lower case. Immutable value.
class URL {
 public:
  /// Absent when the text has no scheme, has a malformed host or port, is not UTF-8, or is otherwise no URL:
  /// a sentence, an empty text, a relative reference, http or https without a host. URLs of other schemes are
  /// accepted too (the HTTP session decides what may be requested). Linear in the length of the text.
  [[nodiscard]] static std::optional<URL> fromString(std::string_view text);

  [[nodiscard]] const std::string& absoluteString() const { return text_; }
  /// Lower case, without the colon.
  [[nodiscard]] std::string_view scheme() const;
  /// Without user information and port, brackets of an IPv6 address included; empty when the URL has none.
  [[nodiscard]] std::string_view host() const;
  /// Absent when the URL has none.
  [[nodiscard]] std::optional<int> port() const;

  /// scheme://host:port in lower case, with the default port added for http and https. User information is
  /// omitted.
  [[nodiscard]] std::string origin() const;

  [[nodiscard]] std::size_t hash() const { return std::hash<std::string>{}(text_); }
  friend bool operator==(const URL&, const URL&) = default;

 private:
  URL() = default;
  [[nodiscard]] bool appendAuthority(std::string_view text);

  std::string text_;
  std::size_t schemeLength_ = 0;
  std::size_t hostBegin_ = 0;
  std::size_t hostLength_ = 0;
  std::optional<int> port_;
};

/// Whether a URL's scheme, in lower case, is http or https.
[[nodiscard]] bool isWebScheme(std::string_view scheme);

}  // namespace tarn
