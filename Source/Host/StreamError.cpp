#include "Host/StreamError.h"

#include <fmt/format.h>

#include <utility>

namespace tarn {
namespace {

/// How far before its duration an item may run out: playlists round, and sound and picture end apart.
const CMTime kEndSlack = CMTimeMake(2, 1);
/// Likewise, when something was skipped.
const CMTime kEndSlackAfterFault = CMTimeMake(1, 2);

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

std::optional<Error> ranOutError(const URL& url, CMTime reached, const std::optional<CMTime>& duration,
                                 const std::optional<Error>& fault) {
  const CMTime slack = fault ? kEndSlackAfterFault : kEndSlack;
  if (!duration || *duration <= CMTimeAdd(reached, slack)) return std::nullopt;
  Error error = streamError(TarnPlayerErrorCode::brokenOff, url);
  error.failureReason =
      fmt::format("It ran out at {:.3f} of {:.3f} s", CMTimeGetSeconds(reached), CMTimeGetSeconds(*duration));
  return fault ? withUnderlying(std::move(error), *fault) : error;
}

Error forkedError(std::string_view library) {
  Error error = Error::make(
      TarnPlayerErrorDomain, TarnPlayerErrorCode::other,
      fmt::format("This process was forked after {} was started, whose threads it does not have", library));
  error.recoverySuggestion = "Fork before the first stream is loaded, or let the child execute a program.";
  return error;
}

}  // namespace tarn
