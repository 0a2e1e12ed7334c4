#include "Platform/RegularExpression.h"

#include <gmock/gmock.h>

#include <tuple>

#include "Platform/Log.h"
#include "Platform/ProgrammingError.h"

using namespace tarn;

TEST(RegularExpressionTest, ReportsCapturesWithPositionsInCodePoints) {
  const char* const id = R"(\#([\w-_]+))";
  const char* const className = R"(\.([^\.]+))";
  const std::size_t whole = 10'000'000;
  using Captures = std::vector<std::tuple<std::string, std::size_t, std::size_t>>;
  // The pattern, the text, the length that is searched, and the captures.
  const std::tuple<const char*, std::string, std::size_t, Captures> table[] = {
      {id, "div#main-part_2.b", whole, {{"main-part_2", 4, 11}}},
      {className, "a.b.c", whole, {{"b", 2, 1}, {"c", 4, 1}}},
      {R"(\[(\w+)\])", "input[type][x=1][name]", whole, {{"type", 6, 4}, {"name", 17, 4}}},
      {className, "é😀.b.😀c", whole, {{"b", 3, 1}, {"😀c", 5, 2}}},
      {"(.)(?=.*(b))", "ab", whole, {{"a", 0, 1}}},
      {id, "div #x", 2, {}},
      {id, "😀#main", 4, {{"ma", 2, 2}}},
      {"(b)", "ab", 0, {}},
      {"a(b)?", "aab", whole, {{"(none)", 0, 0}, {"b", 2, 1}}},
      {"a", "a", whole, {{"(none)", 0, 0}}},
      {"(x+x+)+y", std::string(5000, 'x'), whole, {}},  // backtracks endlessly, like the next
      {"(?:.|\n)*(z)", std::string(1'000'000, 'x'), whole, {}},
  };
  for (const auto& [pattern, text, length, captures] : table) {
    Captures found;
    for (const auto& match : RegularExpression(pattern).matches(text, length))
      found.emplace_back(match.capture.value_or("(none)"), match.captureBegin, match.captureLength);
    EXPECT_EQ(found, captures) << pattern << " in " << text.substr(0, 40);
  }
}

TEST(RegularExpressionTest, RejectsAMalformedPattern) {
  std::string logged;
  const auto sink = installLogSink([&](std::string_view line) { logged = line; });
  EXPECT_THROW(RegularExpression("(a"), ProgrammingError);
  EXPECT_THAT(logged, testing::HasSubstr("\"(a\""));
}
