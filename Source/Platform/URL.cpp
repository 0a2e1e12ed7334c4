#include "Platform/URL.h"

#include <arpa/inet.h>
#include <unicode/idna.h>

#include <algorithm>
#include <array>
#include <memory>
#include <utility>

#include "Platform/Text.h"

namespace tarn {
namespace {

bool isOneOf(char c, std::string_view set) {
  return set.find(c) != std::string_view::npos;
}
using CharacterSet = std::array<bool, 256>;

/// The unreserved characters, the sub-delimiters (RFC 3986 §2.2, §2.3) and `others`.
constexpr CharacterSet allowing(std::string_view others) {
  CharacterSet set{};
  for (const std::string_view part :
       {"abcdefghijklmnopqrstuvwxyz", "ABCDEFGHIJKLMNOPQRSTUVWXYZ", "0123456789", "-._~", "!$&'()*+,;="}) {
    for (const char c : part) set[static_cast<unsigned char>(c)] = true;
  }
  for (const char c : others) set[static_cast<unsigned char>(c)] = true;
  return set;
}

constexpr CharacterSet kHostCharacters = allowing("");
constexpr CharacterSet kUserInfoCharacters = allowing(":");
constexpr CharacterSet kPathCharacters = allowing(":@/?");  // and those of a query and a fragment

bool contains(const CharacterSet& set, char c) {
  return set[static_cast<unsigned char>(c)];
}

std::string_view trimmedOfControls(std::string_view text) {
  const auto isOutside = [](char c) { return static_cast<unsigned char>(c) <= 0x20; };
  while (!text.empty() && isOutside(text.front())) text.remove_prefix(1);
  while (!text.empty() && isOutside(text.back())) text.remove_suffix(1);
  return text;
}

/// Appends `text`, percent-encoding all characters that are neither escapes nor in `allowed`.
void appendEncoded(std::string& out, std::string_view text, const CharacterSet& allowed) {
  constexpr std::string_view kHexDigits = "0123456789ABCDEF";
  std::size_t runBegin = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (contains(allowed, c)) continue;
    if (c == '%' && text.size() - i > 2 && isASCIIHexDigit(text[i + 1]) && isASCIIHexDigit(text[i + 2]))
      continue;
    const auto byte = static_cast<unsigned char>(c);
    out.append(text, runBegin, i - runBegin);
    out += '%';
    out += kHexDigits[byte >> 4U];
    out += kHexDigits[byte & 0xFU];
    runBegin = i + 1;
  }
  out.append(text, runBegin);
}

/// The scheme's length, 0 when `text` does not begin with one (RFC 3986 §3.1).
std::size_t schemeLengthOf(std::string_view text) {
  const auto colon = text.find(':');
  if (colon == std::string_view::npos || colon == 0 || !isASCIILetter(text.front())) return 0;
  const auto scheme = text.substr(0, colon);
  const bool isScheme = std::all_of(scheme.begin(), scheme.end(), [](char c) {
    return isASCIILetter(c) || isASCIIDigit(c) || isOneOf(c, "+-.");
  });
  return isScheme ? colon : 0;
}

bool isIPv6Address(const std::string& address) {
  if (address.find('\0') != std::string::npos) return false;  // the C function would stop reading there
  std::array<unsigned char, sizeof(in6_addr)> bytes{};
  return inet_pton(AF_INET6, address.c_str(), bytes.data()) == 1;
}

/// The host as DNS writes it (UTS #46), absent when it has no such form.
std::optional<std::string> asciiHost(std::string_view host) {
  constexpr std::size_t kMaxNameLength = 1024;  // DNS allows 253 bytes on the wire
  if (host.size() > kMaxNameLength) return std::nullopt;
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::IDNA> idna(
      icu::IDNA::createUTS46Instance(UIDNA_NONTRANSITIONAL_TO_ASCII | UIDNA_CHECK_BIDI, status));
  if (U_FAILURE(status)) return std::nullopt;
  std::string ascii;
  icu::StringByteSink<std::string> sink(&ascii);
  icu::IDNAInfo info;
  idna->nameToASCII_UTF8({host.data(), static_cast<int32_t>(host.size())}, sink, info, status);
  if (U_FAILURE(status) || info.hasErrors()) return std::nullopt;
  return ascii;
}

/// The host in the form that is sent. Escapes are rejected although RFC 3986 §3.2.2 allows them: no name that
/// resolves has any, and one server would have two spellings.
std::optional<std::string> wireHost(std::string_view host) {
  if (host.size() >= 2 && host.front() == '[' && host.back() == ']') {
    if (!isIPv6Address(std::string(host.substr(1, host.size() - 2)))) return std::nullopt;
    return std::string(host);
  }
  auto name = isASCII(host) ? std::string(host) : asciiHost(host);
  const auto isAllowed = [](char c) { return contains(kHostCharacters, c); };
  if (name && !std::all_of(name->begin(), name->end(), isAllowed)) return std::nullopt;
  return name;
}

struct Authority {
  std::optional<std::string_view> userInfo;
  std::string_view host;
  std::optional<std::string_view> port;
};

Authority splitAuthority(std::string_view text) {
  Authority parts;
  if (const auto at = text.rfind('@'); at != std::string_view::npos) {
    parts.userInfo = text.substr(0, at);
    text.remove_prefix(at + 1);
  }
  // The colons inside the brackets of an IPv6 address are not the port's.
  const auto afterBracket = text.find(']') + 1;  // 0 when there is none
  if (const auto colon = text.find(':', afterBracket); colon != std::string_view::npos) {
    parts.port = text.substr(colon + 1);
    text = text.substr(0, colon);
  }
  parts.host = text;
  return parts;
}

/// Absent when `digits` is no port; -1 for an empty one, which RFC 3986 §3.2.3 allows.
std::optional<int> portNumber(std::string_view digits) {
  constexpr int kLargestPort = 65535;
  if (digits.empty()) return -1;
  int port = 0;
  for (const char c : digits) {
    if (!isASCIIDigit(c)) return std::nullopt;
    port = port * 10 + (c - '0');
    if (port > kLargestPort) return std::nullopt;
  }
  return port;
}

}  // namespace

bool isWebScheme(std::string_view scheme) {
  return scheme == "http" || scheme == "https";
}

std::optional<URL> URL::fromString(std::string_view text) {
  text = trimmedOfControls(text);
  if (!isASCII(text) && !isUTF8(text)) return std::nullopt;
  const auto schemeLength = schemeLengthOf(text);
  if (schemeLength == 0) return std::nullopt;

  URL url;
  url.schemeLength_ = schemeLength;
  url.text_.reserve(text.size() + 16);
  std::transform(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(schemeLength),
                 std::back_inserter(url.text_), [](char c) { return asciiLowerCase(c); });
  url.text_ += ':';
  text.remove_prefix(schemeLength + 1);

  if (text.substr(0, 2) == "//") {
    const auto end = std::min(text.find_first_of("/?#", 2), text.size());
    if (!url.appendAuthority(text.substr(2, end - 2))) return std::nullopt;
    text.remove_prefix(end);
  }
  if (isWebScheme(url.scheme()) && url.hostLength_ == 0) return std::nullopt;

  const auto fragment = std::min(text.find('#'), text.size());
  appendEncoded(url.text_, text.substr(0, fragment), kPathCharacters);
  if (fragment < text.size()) {
    url.text_ += '#';
    appendEncoded(url.text_, text.substr(fragment + 1), kPathCharacters);
  }
  return url;
}

bool URL::appendAuthority(std::string_view text) {
  const auto authority = splitAuthority(text);
  const auto host = wireHost(authority.host);
  if (!host || (host->empty() && !text.empty())) return false;
  text_ += "//";
  if (authority.userInfo) {
    appendEncoded(text_, *authority.userInfo, kUserInfoCharacters);
    text_ += '@';
  }
  hostBegin_ = text_.size();
  hostLength_ = host->size();
  text_ += *host;
  if (!authority.port) return true;

  const auto port = portNumber(*authority.port);
  if (!port) return false;
  if (*port >= 0) port_ = port;
  text_ += ':';
  text_ += *authority.port;
  return true;
}

std::string_view URL::scheme() const {
  return std::string_view(text_).substr(0, schemeLength_);
}

std::string_view URL::host() const {
  return std::string_view(text_).substr(hostBegin_, hostLength_);
}

std::optional<int> URL::port() const {
  return port_;
}

std::string URL::origin() const {
  std::string origin(scheme());
  origin += "://";
  std::transform(host().begin(), host().end(), std::back_inserter(origin),
                 [](char c) { return asciiLowerCase(c); });
  auto port = port_;
  if (!port && scheme() == "http") port = 80;
  if (!port && scheme() == "https") port = 443;
  if (port) origin += ":" + std::to_string(*port);
  return origin;
}

}  // namespace tarn
