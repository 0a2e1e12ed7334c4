#include <fmt/format.h>
#include <gmock/gmock.h>
#include <libxml/parser.h>

#include <nlohmann/json.hpp>

#include "KyrProcess.h"
#include "Support/VMAPText.h"

namespace tarn::test {
namespace {

using namespace ::testing;

/// A break at the start with one ad of that title.
std::string titledBreak(std::string_view title, std::string_view creatives = {}) {
  return adBreak(
      "start", fmt::format("<Ad id='ad'><InLine><AdTitle>{}</AdTitle><Creatives>{}</Creatives></InLine></Ad>",
                           title, creatives));
}

TEST(InspectTest, PrintsTheWarningsWithTheirLinesLast) {
  const ScratchFolder folder;
  const auto path = folder.write("odd.vmap", vmap(titledBreak("Odd") + simpleBreak("00:01:00", "00:00:30")));
  const auto outcome = runKyr({"inspect", path});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.err, IsEmpty());
  const auto warnings = outcome.out.find("\nWarnings\n");
  ASSERT_NE(warnings, std::string::npos) << outcome.out;
  EXPECT_THAT(outcome.out.substr(warnings), HasSubstr("line     3  "));
  const auto whole = runKyr({"inspect", documentPath("worked.vmap")}).out;
  EXPECT_EQ(whole.substr(whole.find('\n') + 1),
            golden("worked.inspect.txt"));  // without the line with the path
}

TEST(InspectTest, PrintsNonNumericTimesAsWords) {
  const ScratchFolder folder;
  const auto path =
      folder.write("odd.vmap", vmap(adBreak("start", "<Ad/>") + simpleBreak("end", "00:00:30")));
  const auto outcome = runKyr({"inspect", "--json", path});
  const auto sequences = nlohmann::json::parse(outcome.out).at("adSequences");
  ASSERT_EQ(sequences.size(), 2U);
  std::vector<std::string> words;
  for (const auto& sequence : sequences) {
    const auto& ad = sequence["ads"][0];
    words.push_back(ad["beginTime"].dump() + ad["skipOffset"].dump() + ad["logicalOffset"].dump());
  }
  EXPECT_THAT(words, UnorderedElementsAre(R"("invalid""invalid""invalid")", R"(630"invalid""+infinity")"));
}

TEST(InspectTest, PrintsNoControlCharactersOfADocument) {
  const ScratchFolder folder;
  const auto path = folder.write("hostile.vmap",
                                 vmap(titledBreak("&#x9b;31mred &#x202e;back&#10;line", linear("00:00:30"))));
  const auto outcome = runKyr({"inspect", path});
  EXPECT_THAT(outcome.out, AllOf(HasSubstr("\xEF\xBF\xBD"
                                           "31mred \xEF\xBF\xBD"
                                           "back line"),
                                 Not(HasSubstr("\xC2\x9B")), Not(HasSubstr("\xE2\x80\xAE"))));
}

std::string withLengths(std::string_view payload, std::string_view content, std::string_view breaks) {
  return vmap("xmlns:vmap='urn:v' xmlns:mh='urn:m'",
              fmt::format("<mh:Marlith payloadlength='{}' contentlength='{}'/>", payload, content), breaks);
}

std::string breaks(int count, std::string_view duration) {
  std::string text;
  for (int i = 0; i < count; ++i) {
    text += simpleBreak(fmt::format("{:02}:{:02}:{:02}", i / 360, i / 6 % 60, i % 6 * 10), duration);
  }
  return text;
}

std::string manyEvents(int count) {
  std::string text = "<TrackingEvents>";
  for (int i = 0; i < count; ++i) {
    text +=
        fmt::format("<Tracking event=\"e{0}\" offset=\"{1}\">http://b.example/{0}</Tracking>", i, i * 0.001);
  }
  return text + "</TrackingEvents>";
}

TEST(InspectTest, DrawsWellFormedAndSmallPicturesOfAnyDocument) {
  struct Picture {
    const char* name;
    std::string document;
    const char* shown;
  };
  const Picture pictures[] = {
      {"worked", readFile(documentPath("worked.vmap")), "Holiday"},
      {"no breaks", vmap(""), "0 breaks"},
      {"no length", withLengths("0", "0", ""), "no length to draw"},
      {"a thousand breaks", withLengths("15000", "10000", breaks(1000, "00:00:05")), "984 more breaks"},
      {"invalid times", vmap(adBreak("start", "<Ad/>") + simpleBreak("00:01:00", "00:00:30")), "Not placed"},
      {"absurd lengths", withLengths("1000000000000000", "1e15", breaks(2, "00:00:30")), "h</text>"},
      {"negative lengths", withLengths("-5", "-5", breaks(2, "00:00:30")), "Break 1"},
      {"a break behind the end", withLengths("10", "10", simpleBreak("99:99:99", "99:99:99")), "Break 0"},
      {"many events", vmap(adBreak("start", ad("ad", linear("00:00:30", manyEvents(30000))))), "Break 0"},
      {"hostile texts", vmap(titledBreak("&lt;script&gt;alert(\"&amp;'1]]&gt;&#x9b;", linear("00:00:30"))),
       "&lt;script&gt;"}};
  for (const auto& [name, text, shown] : pictures) {
    SCOPED_TRACE(name);
    const ScratchFolder folder;
    const auto path = folder.write("document.vmap", text);
    const auto outcome = runKyr({"inspect", path, "--svg", folder.path("picture.svg")});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const auto svg = readFile(folder.path("picture.svg"));
    EXPECT_THAT(svg.size(), Lt(2'000'000U));
    EXPECT_THAT(svg, AllOf(HasSubstr(shown), Not(HasSubstr("nan")), Not(HasSubstr("inf\"")),
                           Not(HasSubstr("<script"))));
    EXPECT_EQ(svg.rfind("<svg"), 0U);

    const std::unique_ptr<xmlDoc, void (*)(xmlDoc*)> document(
        xmlReadMemory(svg.data(), static_cast<int>(svg.size()), nullptr, nullptr,
                      XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
        &xmlFreeDoc);
    ASSERT_NE(document, nullptr);
  }
}

}  // namespace
}  // namespace tarn::test
