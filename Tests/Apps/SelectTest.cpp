#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "KyrProcess.h"

namespace tarn::test {
namespace {

using namespace ::testing;

const std::string kDocument = documentPath("worked.vmap");

using Query = std::pair<const char*, const char*>;

Outcome select(const Query& query) {
  return runKyr({"select", kDocument, "--json", query.first, query.second});
}

TEST(SelectTest, PrintsTheExpressionAndItsMatchesAsJson) {
  const std::pair<Query, const char*> rows[] = {
      {{"--xpath", "//Companion/StaticResource"},
       R"({"xpath":"//Companion/StaticResource","matches":[{"tag":"StaticResource","line":35,)"
       R"("attributes":{"creativeType":"image/png"},"text":"http://shop.example/spring.png"}],"value":null})"},
      {{"--css", "Linear > Duration"},
       R"({"xpath":".//Linear/Duration","matches":[)"
       R"({"tag":"Duration","line":19,"attributes":{},"text":"00:00:15"},)"
       R"({"tag":"Duration","line":61,"attributes":{},"text":"00:00:15.000"},)"
       R"({"tag":"Duration","line":80,"attributes":{},"text":"00:00:30"}],"value":null})"},
      {{"--xpath", "//vmap:AdSource/@id"},
       R"({"xpath":"//vmap:AdSource/@id","matches":[)"
       R"({"tag":"id","line":4,"attributes":{},"text":"1"},{"tag":"id","line":53,"attributes":{},"text":"2"},)"
       R"({"tag":"id","line":70,"attributes":{},"text":"3"}],"value":null})"},
      {{"--xpath", "//Nothing"}, R"({"xpath":"//Nothing","matches":[],"value":null})"},
      {{"--xpath", "count(//Nothing)"}, R"-({"xpath":"count(//Nothing)","matches":[],"value":"0"})-"},
      {{"--xpath", "string(//AdTitle[.='Holiday'])"},
       R"-({"xpath":"string(//AdTitle[.='Holiday'])","matches":[],"value":"Holiday"})-"},
  };
  for (const auto& [query, expected] : rows) {
    const auto outcome = select(query);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, std::string(expected) + "\n");
  }
}

TEST(SelectTest, QuotesAnExpressionThatCannotBeEvaluated) {
  const std::pair<Query, const char*> rows[] = {
      {{"--xpath", "//["}, "`//[`"},
      {{"--xpath", "//other:Ad"}, "`//other:Ad`"},
      {{"--css", "div #x"}, "`.//div/descendant::`"},
      {{"--xpath", ""}, "``"},
  };
  for (const auto& [query, named] : rows) {
    const auto outcome = select(query);
    EXPECT_EQ(outcome.status, 1) << named;
    EXPECT_THAT(outcome.err, AllOf(StartsWith("kyr: "), HasSubstr(named)));
    EXPECT_THAT(nlohmann::json::parse(outcome.out).at("error").at("description"), HasSubstr(named));
  }
}

TEST(SelectTest, PrintsTheExpressionBeforeTheMatchesWithExplain) {
  const auto outcome = runKyr({"select", kDocument, "--css", "Ad#ad-3", "--explain"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, StartsWith(".//Ad[@id = 'ad-3']\n"));
  EXPECT_THAT(outcome.out, AllOf(HasSubstr("\n     73  <Ad id=\"ad-3\">"), HasSubstr("1 match\n")));
}

}  // namespace
}  // namespace tarn::test
