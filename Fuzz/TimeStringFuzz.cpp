#include <string_view>

#include "FuzzTarget.h"
#include "Lumo/TarnLumoCommon.h"
#include "Platform/Log.h"

/// The whole input as each of the time strings of a document: a time that is valid, or log lines that say why
/// there is none.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static int linesLogged = 0;
  static const auto sink = tarn::installLogSink([](std::string_view) { ++linesLogged; });
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const CMTime adDuration = CMTimeMake(18000, 600);

  linesLogged = 0;
  const CMTime duration = TarnLumoDurationFromString(text);
  require(linesLogged == (CMTIME_IS_VALID(duration) ? 0 : 1));
  require(CMTIME_IS_INVALID(duration) || duration >= kCMTimeZero);

  linesLogged = 0;
  const CMTime offset = TarnLumoAdBreakTimeOffsetFromString(text);
  require(linesLogged == (CMTIME_IS_VALID(offset) ? 0 : 1));
  require(CMTIME_IS_INVALID(duration) || tarn::isIdentical(duration, offset));

  linesLogged = 0;
  const CMTime skip = TarnLumoSkipOffsetFromStringWithDuration(text, adDuration);
  require(linesLogged == (CMTIME_IS_VALID(skip) ? 0 : 2));
  require(CMTIME_IS_INVALID(offset) || tarn::isIdentical(offset, skip));
  return 0;
}
