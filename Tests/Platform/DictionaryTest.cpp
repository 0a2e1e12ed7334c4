#include "Platform/Dictionary.h"

#include <gmock/gmock.h>

TEST(DictionaryTest, ReadsValuesOnlyAsTheirOwnTypeAndReplacesThemInPlace) {
  tarn::Dictionary dictionary;
  dictionary.set("b", 1);
  dictionary.set("a", 2);
  dictionary.set("b", std::string("now text"));
  EXPECT_THAT(dictionary.get<std::string>("b"), testing::Pointee(std::string("now text")));
  EXPECT_EQ(dictionary.get<int>("b"), nullptr);
  EXPECT_EQ(dictionary.get<int>("absent"), nullptr);
  std::string keys;
  for (const auto& entry : dictionary) keys += entry.first;
  EXPECT_EQ(keys, "ba") << "must be in the order of insertion";
}
