#include "Demo/TestPictureStream.h"

#include <gmock/gmock.h>

#include "Support/TestStream.h"

namespace tarn::test {
namespace {

TEST(TestPictureStreamTest, StopsWhenCancelledAndReportsAMissingFolder) {
  const std::vector<TestPicture> pictures{{"long", 600, "solid-color", 0x102030, 440}};
  const auto folder = testStreamFolder() / "cancelled";
  std::filesystem::create_directory(folder);
  int asked = 0;
  const auto made = makeTestPictureStream(pictures, {160, 90, 25, 2}, folder, [&](double fraction) {
    EXPECT_LT(fraction, 1);
    return ++asked < 2;
  });
  std::filesystem::remove_all(folder);
  ASSERT_FALSE(made);
  EXPECT_EQ(made.error().description, "cancelled");
  EXPECT_EQ(asked, 2);
  const auto nowhere = makeTestPictureStream(pictures, {}, "/no/such/folder", [](double) { return true; });
  ASSERT_FALSE(nowhere);
  EXPECT_THAT(chainDescription(nowhere.error()), testing::HasSubstr("/no/such/folder"));
}

}  // namespace
}  // namespace tarn::test
