#include "Host/TarnVideo.h"

#include <gmock/gmock.h>

#include "Support/TimePrinter.h"

namespace {

TEST(TarnCuePointCollection, IsEqualWhenItsCuePointsAreInTheSameOrder) {
  using tarn::test::seconds;
  const auto at = [](double position) {
    return std::make_shared<const TarnCuePoint>("chapter", seconds(position));
  };
  const auto half = std::make_shared<const TarnCuePoint>("chapter", CMTimeMake(1, 2));
  EXPECT_EQ(TarnCuePointCollection({at(0.5), at(1)}), TarnCuePointCollection({half, at(1)}));
  EXPECT_NE(TarnCuePointCollection({at(0.5), at(1)}), TarnCuePointCollection({at(1), at(0.5)}));
  EXPECT_NE(TarnCuePointCollection({at(1)}), TarnCuePointCollection({at(1), at(1)}));
  EXPECT_NE(*at(1), TarnCuePoint("other", seconds(1)));
}

}  // namespace
