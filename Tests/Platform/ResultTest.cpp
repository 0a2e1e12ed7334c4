#include "Platform/Result.h"

#include <gtest/gtest.h>

#include "Platform/Error.h"
#include "Platform/Log.h"
#include "Platform/ProgrammingError.h"

namespace tarn {
namespace {

Error connectionError() {
  return {.domain = "Net", .code = 7, .description = "Could not fetch\r\n the document"};
}

TEST(ResultTest, HoldsEitherAValueOrAnErrorAndHandsOutWhatCanOnlyMove) {
  Result<std::unique_ptr<int>> value(std::make_unique<int>(5));
  ASSERT_TRUE(value.has_value());
  EXPECT_THROW((void)value.error(), std::bad_variant_access);
  const std::unique_ptr<int> taken = *std::move(value);
  EXPECT_EQ(*taken, 5);
  const Result<std::string> error(connectionError());
  ASSERT_FALSE(error.has_value());
  EXPECT_EQ(error.error(), connectionError());
  EXPECT_THROW((void)error.value(), std::bad_variant_access);
  Result<void> nothing;
  EXPECT_TRUE(nothing.has_value());
  nothing = connectionError();
  EXPECT_FALSE(nothing);
  EXPECT_EQ(nothing.error().code, 7);
}

TEST(ErrorTest, ComparesTheWholeChain) {
  const Error outer{.domain = "Load", .code = 1};
  EXPECT_EQ(withUnderlying(outer, connectionError()), withUnderlying(outer, connectionError()));
  EXPECT_FALSE(withUnderlying(outer, connectionError()) == outer);
  auto otherCause = connectionError();
  otherCause.failureReason = "refused";
  EXPECT_FALSE(withUnderlying(outer, connectionError()) == withUnderlying(outer, otherCause));
}

TEST(ErrorTest, DescribesTheChainInOneLine) {
  const Error bare{.domain = "Load", .code = -1};
  const Error full{.domain = "Load",
                   .code = 2,
                   .description = "Could not load\n\nit",
                   .failureReason = "no route",
                   .recoverySuggestion = "check\rthe cable"};
  EXPECT_EQ(chainDescription(bare), "Load -1");
  EXPECT_EQ(chainDescription(full), "Could not load it: no route (check the cable)");
  EXPECT_EQ(chainDescription(withUnderlying(bare, withUnderlying(connectionError(), full))),
            "Load -1: Could not fetch  the document: Could not load it: no route (check the cable)");
}

TEST(ProgrammingErrorTest, IsLoggedBeforeItIsThrown) {
  std::string logged;
  const auto sink = installLogSink([&](std::string_view line) { logged = line; });
  EXPECT_THROW(failProgramming("index 5 is out of range"), ProgrammingError);
  EXPECT_EQ(logged, "index 5 is out of range");
}

}  // namespace
}  // namespace tarn
