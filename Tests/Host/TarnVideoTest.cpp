#include "Host/TarnVideo.h"

#include <gtest/gtest.h>

namespace {

TEST(TarnVideoTest, CuePointCollectionsAreEqualOnlyWithTheSameOrder) {
  const auto at = [](std::int64_t value, std::int32_t scale, const char* type = "chapter") {
    return std::make_shared<const TarnCuePoint>(type, CMTimeMake(value, scale));
  };
  const TarnCuePointCollection two({at(1, 2), at(1, 1)});
  EXPECT_EQ(two, TarnCuePointCollection({at(2, 4), at(1, 1)}));
  EXPECT_NE(two, TarnCuePointCollection({at(1, 1), at(1, 2)}));
  EXPECT_NE(two, TarnCuePointCollection({at(1, 2)}));
  EXPECT_NE(two, TarnCuePointCollection({at(1, 2), at(1, 1, "other")}));
}

}  // namespace
