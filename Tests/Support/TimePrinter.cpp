#include "Support/TimePrinter.h"

void PrintTo(const CMTime& time, std::ostream* out) {
  *out << CMTimeCopyDescription(time);
}

void PrintTo(const CMTimeRange& range, std::ostream* out) {
  *out << "[" << CMTimeCopyDescription(range.start) << " + " << CMTimeCopyDescription(range.duration) << ")";
}

namespace tarn::test {

CMTime seconds(double value) {
  return CMTimeMakeWithSeconds(value, 600);
}

}  // namespace tarn::test
