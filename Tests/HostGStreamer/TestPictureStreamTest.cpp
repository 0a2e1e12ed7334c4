#include "HostGStreamer/TestPictureStream.h"

#include <gmock/gmock.h>

#include "TestStream.h"

namespace tarn::test {
namespace {

using ::testing::HasSubstr;

const std::vector<TestPicture> kPictures{{"long", 600, "solid-color", 0x102030, 440}};

TEST(TestPictureStreamTest, StopsWhenItIsToldTo) {
  const auto folder = testStreamFolder() / "cancelled";
  std::filesystem::create_directory(folder);
  int asked = 0;
  const auto made = makeTestPictureStream(kPictures, {160, 90, 25, 2}, folder, [&](double fraction) {
    EXPECT_LT(fraction, 1);
    return ++asked < 2;
  });
  std::filesystem::remove_all(folder);
  ASSERT_FALSE(made);
  EXPECT_EQ(made.error().description, "cancelled");
  EXPECT_EQ(asked, 2);
}

TEST(TestPictureStreamTest, ReportsAFolderThatIsNotThere) {
  const auto made = makeTestPictureStream(kPictures, {}, "/no/such/folder", [](double) { return true; });
  ASSERT_FALSE(made);
  EXPECT_THAT(chainDescription(made.error()), HasSubstr("/no/such/folder"));
}

}  // namespace
}  // namespace tarn::test
