#include "Host/TarnVideo.h"

#include <gmock/gmock.h>

#include "Support/TimePrinter.h"

namespace {

TEST(TarnVideo, UpdatesACopyAndStaysAsItIs) {
  const auto source = std::make_shared<const TarnSource>(std::nullopt, kTarnSourceDeliveryHLS);
  tarn::Dictionary properties;
  properties.set("rating", std::int64_t{12});
  const TarnVideo video({.identifier = "1",
                         .title = "Film",
                         .sources = {source},
                         .cuePoints = nullptr,
                         .properties = properties});
  const auto cuePoint =
      std::make_shared<const TarnCuePoint>(kTarnCuePointTypeAdSlot, kCMTimePositiveInfinity);

  const auto updated = video.update([&](TarnMutableVideo& copy) {
    copy.cuePoints = TarnCuePointCollection::collectionWithArray({cuePoint});
  });

  EXPECT_THAT(video.cuePoints()->array(), ::testing::IsEmpty());
  EXPECT_THAT(updated->cuePoints()->array(), ::testing::ElementsAre(cuePoint));
  EXPECT_EQ(updated->identifier(), "1");
  EXPECT_EQ(updated->title(), "Film");
  EXPECT_THAT(updated->sources(), ::testing::ElementsAre(source));
  EXPECT_EQ(*updated->properties().get<std::int64_t>("rating"), 12);
}

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
