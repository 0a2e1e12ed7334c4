#include "Platform/Result.h"

#include <gtest/gtest.h>

using namespace tarn;

TEST(ResultTest, HoldsAValueOrAnErrorAndMovesOutMoveOnlyValues) {
  Result<std::unique_ptr<int>> value(std::make_unique<int>(5));
  EXPECT_THROW((void)value.error(), std::bad_variant_access);
  EXPECT_EQ(*std::unique_ptr<int>(*std::move(value)), 5);
  Result<void> nothing;
  EXPECT_TRUE(nothing);
  nothing = Error{.code = 7};
  EXPECT_FALSE(nothing);
  EXPECT_EQ(nothing.error().code, 7);
}

TEST(ResultTest, ComparesAndDescribesErrorChains) {
  const Error bare{.domain = "Load", .code = -1};
  const Error middle{.domain = "Net", .code = 7, .description = "Could not fetch\r\n the document"};
  const Error full{.domain = "Load",
                   .code = 2,
                   .description = "Could not load\n\nit",
                   .failureReason = "no route",
                   .recoverySuggestion = "check\rthe cable"};
  EXPECT_EQ(chainDescription(bare), "Load -1");
  EXPECT_EQ(chainDescription(full), "Could not load it: no route (check the cable)");
  EXPECT_EQ(chainDescription(withUnderlying(bare, withUnderlying(middle, full))),
            "Load -1: Could not fetch  the document: Could not load it: no route (check the cable)");
  EXPECT_EQ(withUnderlying(bare, middle), withUnderlying(bare, middle));
  EXPECT_FALSE(withUnderlying(bare, middle) == withUnderlying(bare, full));
  EXPECT_FALSE(withUnderlying(bare, middle) == bare);
}
