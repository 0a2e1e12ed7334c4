#include "Platform/Dictionary.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace tarn {
namespace {

TEST(DictionaryTest, ReadsValuesOfTheirOwnTypeOnly) {
  Dictionary dictionary;
  dictionary.set("count", 3);
  dictionary.set("name", std::string("spot"));
  ASSERT_NE(dictionary.get<int>("count"), nullptr);
  EXPECT_EQ(*dictionary.get<int>("count"), 3);
  EXPECT_EQ(dictionary.get<double>("count"), nullptr);
  EXPECT_EQ(dictionary.get<int>("absent"), nullptr);
  EXPECT_FALSE(dictionary.contains("absent"));
}

TEST(DictionaryTest, ReplacesInPlaceAndKeepsTheOrderOfInsertion) {
  Dictionary dictionary;
  dictionary.set("b", 1);
  dictionary.set("a", 2);
  dictionary.set("b", std::string("now text"));
  std::vector<std::string> keys;
  for (const auto& [key, value] : dictionary) keys.push_back(key);
  EXPECT_THAT(keys, testing::ElementsAre("b", "a"));
  ASSERT_NE(dictionary.get<std::string>("b"), nullptr);
  EXPECT_EQ(*dictionary.get<std::string>("b"), "now text");
}

}  // namespace
}  // namespace tarn
