#include "Host/StreamError.h"

#include <fmt/format.h>

#include <string_view>

namespace tarn {
namespace {

std::string_view sentence(TarnPlayerErrorCode code) {
  switch (code) {
    case TarnPlayerErrorCode::unsupportedScheme:
      return "The stream {} is not on an http or https server";
    case TarnPlayerErrorCode::cannotOpen:
      return "The stream {} could not be opened";
    case TarnPlayerErrorCode::notPlayable:
      return "What {} holds is no stream that can be played";
    case TarnPlayerErrorCode::brokenOff:
      return "The stream {} broke off";
    case TarnPlayerErrorCode::stalled:
      return "The stream {} stalled";
    case TarnPlayerErrorCode::missingComponent:
    case TarnPlayerErrorCode::other:
      break;
  }
  return "The stream {} could not be played";
}

}  // namespace

Error streamError(TarnPlayerErrorCode code, const URL& url) {
  return Error::make(TarnPlayerErrorDomain, code,
                     fmt::format(fmt::runtime(sentence(code)), url.absoluteString()));
}

Error stalledError(const URL& url, std::chrono::milliseconds limit) {
  Error error = streamError(TarnPlayerErrorCode::stalled, url);
  error.failureReason = fmt::format("Nothing came for {} s", std::chrono::duration<double>(limit).count());
  return error;
}

Error ranOutError(const URL& url, CMTime reached, CMTime duration) {
  Error error = streamError(TarnPlayerErrorCode::brokenOff, url);
  error.failureReason =
      fmt::format("It ran out at {:.3f} of {:.3f} s", CMTimeGetSeconds(reached), CMTimeGetSeconds(duration));
  return error;
}

}  // namespace tarn
