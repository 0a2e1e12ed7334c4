#include <cmath>
#include <cstring>

#include "FuzzTarget.h"
#include "Platform/MediaTime.h"

namespace {

/// Reads fields from the front of the input; zero at its end.
struct Input {
  const std::uint8_t* data;
  std::size_t size;

  template <typename T>
  T take() {
    T field{};
    const std::size_t count = size < sizeof(T) ? size : sizeof(T);
    std::memcpy(&field, data, count);
    data += count;
    size -= count;
    return field;
  }

  /// Any bit pattern: the struct is public.
  CMTime takeTime() {
    CMTime time;
    time.value = take<CMTimeValue>();
    time.timescale = take<CMTimeScale>();
    time.flags = take<std::uint8_t>();
    time.epoch = CMTimeEpoch{take<std::int8_t>()};
    return time;
  }
};

void requireWellFormed(const CMTime& time) {
  if (CMTIME_IS_NUMERIC(time)) require(time.timescale > 0);
  require(!CMTimeCopyDescription(time).empty());
  require(CMTimeCompare(time, time) == 0);
}

}  // namespace

/// Three times and a double; the results must be well formed and obey the laws of arithmetic and order.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input{data, size};
  const CMTime a = input.takeTime();
  const CMTime b = input.takeTime();
  const CMTime c = input.takeTime();
  const auto number = input.take<double>();

  const CMTime sum = CMTimeAdd(a, b);
  const CMTime difference = CMTimeSubtract(a, b);
  for (const CMTime& result :
       {sum, difference, CMTimeMultiplyByFloat64(a, number), CMTimeMakeWithSeconds(number, b.timescale),
        CMTimeMake(a.value, b.timescale), CMTimeRangeGetEnd({a, b})}) {
    requireWellFormed(result);
  }
  require(tarn::isIdentical(sum, CMTimeAdd(b, a)));
  require(CMTimeCompare(a, b) == -CMTimeCompare(b, a));
  if (CMTimeCompare(a, b) <= 0 && CMTimeCompare(b, c) <= 0) require(CMTimeCompare(a, c) <= 0);

  const bool isExact = CMTIME_IS_NUMERIC(difference) && !CMTIME_HAS_BEEN_ROUNDED(difference);
  if (isExact && a.epoch == 0 && b.epoch == 0) {
    require(CMTimeCompare(difference, kCMTimeZero) == CMTimeCompare(a, b));
    const CMTime back = CMTimeAdd(difference, b);
    require(!CMTIME_IS_NUMERIC(back) || CMTIME_HAS_BEEN_ROUNDED(back) || CMTimeCompare(back, a) == 0);
  }
  return 0;
}
