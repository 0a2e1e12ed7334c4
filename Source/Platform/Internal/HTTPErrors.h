#pragma once

#include <curl/curl.h>

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/HTTPSession.h"

namespace tarn {

/// Why the request cannot be sent; absent when it can.
[[nodiscard]] std::optional<Error> refusal(const HTTPRequest& request);

/// `HTTPTask::cancel` ended the request.
[[nodiscard]] Error cancelledError(const URL& url);

/// The session was destroyed before the request ended.
[[nodiscard]] Error sessionEndedError(const URL& url);

/// The session itself could not be set up: `what` failed with the system error `number`.
[[nodiscard]] Error setupError(std::string_view what, int number);

/// The request's time was over before it was started.
[[nodiscard]] Error expiredError(const URL& url, const HTTPConfiguration& configuration);

/// The request was the oldest when too many waited.
[[nodiscard]] Error droppedError(const URL& url);

/// The facts about a failed request that distinguish the errors.
struct HTTPFailure {
  CURLcode code = CURLE_OK;
  std::string text;          ///< libcurl's message; may be empty.
  std::string effectiveURL;  ///< After the redirects so far.
  std::chrono::milliseconds timeAllowed{0};
  bool sent = false;  ///< The request was sent, to the last redirect's target.
  bool bodyTooLarge = false;
  bool headerTooLarge = false;
};

[[nodiscard]] Error transportError(const URL& url, const HTTPFailure& failure,
                                   const HTTPConfiguration& configuration);

/// The most bytes of a response's header fields, those of its redirects included.
inline constexpr std::size_t kMaxHeaderSize = std::size_t{256} << 10U;

}  // namespace tarn
