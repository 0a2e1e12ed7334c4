#pragma once

#include <curl/curl.h>

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/HTTPSession.h"

namespace tarn {

/// Why the request cannot be sent at all; absent when it can.
[[nodiscard]] std::optional<Error> refusal(const HTTPRequest& request);

/// `HTTPTask::cancel` ended the request.
[[nodiscard]] Error cancelledError(const URL& url);

/// The session was destroyed before the request ended.
[[nodiscard]] Error sessionEndedError(const URL& url);

/// The session itself could not be set up: `what` failed with the system error `number`.
[[nodiscard]] Error setupError(std::string_view what, int number);

/// The request's time was over before its turn came.
[[nodiscard]] Error expiredError(const URL& url, const HTTPConfiguration& configuration);

/// The request was the oldest when too many waited.
[[nodiscard]] Error droppedError(const URL& url);

/// How an exchange ended, as far as it tells failures apart.
struct HTTPFailure {
  CURLcode code = CURLE_OK;
  std::string text;          ///< libcurl's own words; may be empty.
  std::string effectiveURL;  ///< After the redirects so far.
  std::chrono::milliseconds timeAllowed{0};
  bool sent = false;  ///< The request went onto the wire, behind the last redirect.
  bool bodyTooLarge = false;
  bool headerTooLarge = false;
};

[[nodiscard]] Error transportError(const URL& url, const HTTPFailure& failure,
                                   const HTTPConfiguration& configuration);

/// Bound of a response's header fields, those of its redirects included: bytes.
inline constexpr std::size_t kMaximumHeaderSize = std::size_t{256} << 10U;

}  // namespace tarn
