#include <fmt/format.h>

#include <algorithm>
#include <system_error>

#include "Platform/Internal/HTTPErrors.h"
#include "Platform/Text.h"

namespace tarn {
namespace {

Error makeError(HTTPErrorCode code, std::string description, std::optional<std::string> suggestion = {}) {
  Error error = Error::make(kHTTPErrorDomain, code, std::move(description));
  error.recoverySuggestion = std::move(suggestion);
  return error;
}

/// For messages: control characters are escaped, so that a hostile name cannot fake a log line.
std::string printable(std::string_view text) {
  std::string shown;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    shown += byte < 0x20 || byte == 0x7F ? fmt::format("\\x{:02x}", byte) : std::string(1, c);
  }
  return shown;
}

std::optional<std::string_view> headerFault(std::string_view name, std::string_view value) {
  if (name.empty()) return "its name is empty";
  if (!isHTTPToken(name)) {
    return "its name holds a character that header names may not have";
  }
  if (!isHTTPFieldValue(value)) {
    return "its value holds a line break or another control character";
  }
  return std::nullopt;
}

struct Kind {
  HTTPErrorCode code;
  std::string reason;
  std::optional<std::string> suggestion;
};

Kind timeout(const HTTPFailure& failure, const HTTPConfiguration& configuration) {
  if (!failure.sent) {
    return {HTTPErrorCode::cannotConnect,
            fmt::format("the server did not answer the connection within {} ms",
                        std::min(configuration.connectTimeout, failure.timeAllowed).count()),
            "Check the host name and the port, and that the server is running and reachable."};
  }
  return {HTTPErrorCode::timedOut,
          fmt::format("there was no complete response within {} ms", configuration.totalTimeout.count()),
          "Check why the server is slow, or allow more time."};
}

Kind unsupported(const HTTPFailure& failure) {
  std::string scheme = failure.effectiveURL.substr(0, failure.effectiveURL.find(':'));
  std::transform(scheme.begin(), scheme.end(), scheme.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  if (isWebScheme(scheme)) {
    return {HTTPErrorCode::other, "the server's answer is not HTTP",
            "Check that the port is an HTTP server's."};
  }
  return {HTTPErrorCode::unsupportedScheme,
          fmt::format("the server redirected to {}, and only http and https may be requested",
                      printable(failure.effectiveURL)),
          "Let the server redirect to an http or https URL."};
}

Kind tooLarge(std::string_view what, std::size_t limit) {
  return {HTTPErrorCode::responseTooLarge,
          fmt::format("the {} larger than the limit of {} bytes", what, limit),
          "Check that the URL is the intended one, or raise the limit."};
}

Kind classify(const HTTPFailure& failure, const HTTPConfiguration& configuration) {
  if (failure.bodyTooLarge) return tooLarge("response is", configuration.maximumBodySize);
  if (failure.headerTooLarge) return tooLarge("response's header fields are", kMaxHeaderSize);
  switch (failure.code) {
    case CURLE_UNSUPPORTED_PROTOCOL:
      return unsupported(failure);
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_CONNECT:
      return {HTTPErrorCode::cannotConnect, "no connection to the server could be made",
              "Check the host name and the port, and that the server is running and reachable."};
    case CURLE_OPERATION_TIMEDOUT:
      return timeout(failure, configuration);
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_INVALIDCERTSTATUS:
      return {HTTPErrorCode::tls, "the server's TLS certificate or handshake was not accepted",
              "Check the server's certificate, and this system's certificates and clock."};
    case CURLE_TOO_MANY_REDIRECTS:
      return {HTTPErrorCode::tooManyRedirects,
              fmt::format("the server redirected more than {} times", configuration.maximumRedirects),
              "Check the server for a redirect loop."};
    case CURLE_PARTIAL_FILE:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_GOT_NOTHING:
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM:
    case CURLE_ABORTED_BY_CALLBACK:
      return {HTTPErrorCode::connectionLost, "the connection broke off before the response was complete",
              "Try again; if it persists, check the server."};
    default:
      return {HTTPErrorCode::other, curl_easy_strerror(failure.code), std::nullopt};
  }
}

}  // namespace

std::optional<Error> refusal(const HTTPRequest& request) {
  const auto notSent = [&request](const std::string& reason) {
    return fmt::format("GET {} was not sent: {}", request.url.absoluteString(), reason);
  };
  if (!isWebScheme(request.url.scheme())) {
    return makeError(HTTPErrorCode::unsupportedScheme, notSent("only http and https URLs may be requested"),
                     "Use an http or https URL.");
  }
  for (const auto& [name, value] : request.headers) {
    if (const auto fault = headerFault(name, value)) {
      return makeError(
          HTTPErrorCode::invalidHeader,
          notSent(fmt::format("the header field \"{}\" is not valid: {}", printable(name), *fault)),
          "Correct the header field.");
    }
  }
  return std::nullopt;
}

Error cancelledError(const URL& url) {
  return makeError(
      HTTPErrorCode::cancelled,
      fmt::format("GET {} was cancelled before the response was complete", url.absoluteString()));
}

Error sessionEndedError(const URL& url) {
  return makeError(HTTPErrorCode::cancelled,
                   fmt::format("GET {} was cancelled: its session ended before the response was complete",
                               url.absoluteString()),
                   "Keep the session until its requests have completed.");
}

Error expiredError(const URL& url, const HTTPConfiguration& configuration) {
  return makeError(HTTPErrorCode::timedOut,
                   fmt::format("GET {} was not sent: its turn did not come within {} ms",
                               url.absoluteString(), configuration.totalTimeout.count()),
                   "Check that the server is running and reachable, or allow more time.");
}

Error droppedError(const URL& url) {
  return makeError(HTTPErrorCode::dropped,
                   fmt::format("GET {} was not sent: newer requests took its place among those that wait",
                               url.absoluteString()),
                   "Check that the server is running and reachable, or let more requests wait.");
}

Error setupError(std::string_view what, int number) {
  return makeError(HTTPErrorCode::other,
                   fmt::format("The HTTP session could not be set up: {}: {}", what,
                               std::generic_category().message(number)),
                   "Check the process's limits of open files, threads and memory.");
}

Error transportError(const URL& url, const HTTPFailure& failure, const HTTPConfiguration& configuration) {
  auto kind = classify(failure, configuration);
  Error cause =
      Error::make("libcurl", failure.code,
                  failure.text.empty() ? curl_easy_strerror(failure.code) : printable(failure.text));
  return withUnderlying(
      makeError(kind.code, fmt::format("GET {} failed: {}", url.absoluteString(), kind.reason),
                std::move(kind.suggestion)),
      std::move(cause));
}

}  // namespace tarn
