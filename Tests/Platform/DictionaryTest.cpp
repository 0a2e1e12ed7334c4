#include "Platform/Dictionary.h"

#include <gmock/gmock.h>

namespace tarn {
namespace {

TEST(DictionaryTest, ReadsValuesOfTheirOwnTypeOnlyAndReplacesInPlace) {
  Dictionary dictionary;
  dictionary.set("b", 1);
  dictionary.set("a", 2);
  dictionary.set("b", std::string("now text"));
  ASSERT_NE(dictionary.get<std::string>("b"), nullptr);
  EXPECT_EQ(*dictionary.get<std::string>("b"), "now text");
  EXPECT_EQ(dictionary.get<int>("b"), nullptr);
  EXPECT_EQ(dictionary.get<int>("absent"), nullptr);
  EXPECT_FALSE(dictionary.contains("absent"));
  std::vector<std::string> keys;
  for (const auto& [key, value] : dictionary) keys.push_back(key);
  EXPECT_THAT(keys, testing::ElementsAre("b", "a")) << "in the order of insertion";
}

}  // namespace
}  // namespace tarn
