#include "Platform/RegularExpression.h"

#include <gmock/gmock.h>

#include <string>
#include <tuple>
#include <vector>

#include "Platform/Log.h"
#include "Platform/ProgrammingError.h"

namespace tarn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Capture = std::tuple<std::string, std::size_t, std::size_t>;

template <typename... Length>
std::vector<Capture> captures(std::string_view pattern, std::string_view text, Length... length) {
  std::vector<Capture> found;
  for (const auto& match : RegularExpression(pattern).matches(text, length...)) {
    found.emplace_back(match.capture.value_or("(none)"), match.captureBegin, match.captureLength);
  }
  return found;
}

TEST(RegularExpressionTest, FindsTheCapturesOfSelectors) {
  EXPECT_THAT(captures(R"(\#([\w-_]+))", "div#main-part_2.b"), ElementsAre(Capture("main-part_2", 4, 11)));
  EXPECT_THAT(captures(R"(\.([^\.]+))", "a.b.c"), ElementsAre(Capture("b", 2, 1), Capture("c", 4, 1)));
  EXPECT_THAT(captures(R"(\[(\w+)\])", "input[type][x=1][name]"),
              ElementsAre(Capture("type", 6, 4), Capture("name", 17, 4)));
}

TEST(RegularExpressionTest, CountsInCodePoints) {
  EXPECT_THAT(captures(R"(\.([^\.]+))", "é😀.b.😀c"), ElementsAre(Capture("b", 3, 1), Capture("😀c", 5, 2)));
  EXPECT_THAT(captures("(.)(?=.*(b))", "ab"), ElementsAre(Capture("a", 0, 1)));
}

TEST(RegularExpressionTest, LooksNoFurtherThanTheGivenLength) {
  EXPECT_THAT(captures(R"(\#([\w-_]+))", "div #x", std::size_t{2}), IsEmpty());
  EXPECT_THAT(captures(R"(\#([\w-_]+))", "😀#main", std::size_t{4}), ElementsAre(Capture("ma", 2, 2)));
  EXPECT_THAT(captures("(b)", "ab", std::size_t{1000}), ElementsAre(Capture("b", 1, 1)));
  EXPECT_THAT(captures("(b)", "ab", std::size_t{0}), IsEmpty());
}

TEST(RegularExpressionTest, TellsAMatchWithoutACapture) {
  EXPECT_THAT(captures("a(b)?", "aab"), ElementsAre(Capture("(none)", 0, 0), Capture("b", 2, 1)));
  EXPECT_THAT(captures("a", "a"), ElementsAre(Capture("(none)", 0, 0)));
}

TEST(RegularExpressionTest, GivesUpOnEndlessBacktracking) {
  EXPECT_THAT(captures("(x+x+)+y", std::string(5000, 'x')), IsEmpty());
  EXPECT_THAT(captures("(?:.|\n)*(z)", std::string(1'000'000, 'x')), IsEmpty());
}

TEST(RegularExpressionTest, RefusesAMalformedPattern) {
  std::string logged;
  const auto sink = installLogSink([&](std::string_view line) { logged = line; });
  EXPECT_THROW(RegularExpression("(a"), ProgrammingError);
  EXPECT_THAT(logged, testing::HasSubstr("\"(a\""));
}

}  // namespace
}  // namespace tarn
