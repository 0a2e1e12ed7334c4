#include <fmt/format.h>
#include <gmock/gmock.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "KyrProcess.h"

namespace tarn::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Lt;
using ::testing::Not;

TEST(InspectTest, JsonHoldsTheWholeTimelineInTheDocumentedOrder) {
  const auto outcome = runKyr({"inspect", "--json", documentPath("worked.vmap")});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.err, IsEmpty());
  EXPECT_EQ(outcome.out, golden("worked.inspect.json"));
}

TEST(InspectTest, TextEndsWithTheWarningsAndTheirLines) {
  const ScratchFolder folder;
  const auto path = folder.write("odd.vmap", vmap("\n\n" + adBreak("start", "<AdTitle>Odd</AdTitle>") +
                                                  adBreak("00:01:00", linear("00:00:30"))));
  const auto outcome = runKyr({"inspect", path});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.err, IsEmpty());
  const auto warnings = outcome.out.find("\nWarnings\n");
  ASSERT_NE(warnings, std::string::npos) << outcome.out;
  EXPECT_THAT(outcome.out.substr(warnings), HasSubstr("line     3  "));
  const auto whole = runKyr({"inspect", documentPath("worked.vmap")}).out;
  EXPECT_EQ(whole.substr(whole.find('\n') + 1), golden("worked.inspect.txt"));  // below the path
}

TEST(InspectTest, TimesThatAreNoNumbersAreWords) {
  const ScratchFolder folder;
  const auto path = folder.write("odd.vmap", vmap(adBreak("start", "") + adBreak("end", linear("00:00:30"))));
  const auto outcome = runKyr({"inspect", "--json", path});
  const auto sequences = nlohmann::json::parse(outcome.out).at("adSequences");
  ASSERT_EQ(sequences.size(), 2U);
  std::vector<std::string> words;
  for (const auto& sequence : sequences) {
    const auto& ad = sequence.at("ads").at(0);
    words.push_back(ad.at("beginTime").dump() + " " + ad.at("skipOffset").dump() + " " +
                    ad.at("logicalOffset").dump());
  }
  EXPECT_THAT(words, ::testing::UnorderedElementsAre(R"("invalid" "invalid" "invalid")",
                                                     R"(630 "invalid" "+infinity")"));
}

TEST(InspectTest, TextsOfADocumentCannotDriveTheTerminal) {
  const ScratchFolder folder;
  const auto path = folder.write(
      "hostile.vmap",
      vmap(adBreak("start", "<AdTitle>&#x9b;31mred &#x202e;back&#10;line</AdTitle>" + linear("00:00:30"))));
  const auto outcome = runKyr({"inspect", path});
  EXPECT_THAT(outcome.out, AllOf(HasSubstr("\xEF\xBF\xBD"
                                           "31mred \xEF\xBF\xBD"
                                           "back line"),
                                 Not(HasSubstr("\xC2\x9B")), Not(HasSubstr("\xE2\x80\xAE"))));
}

struct Picture {
  const char* name;
  std::string document;
  const char* shown;
};

void PrintTo(const Picture& picture, std::ostream* out) {
  *out << picture.name;
}

std::string breaks(int count, std::string_view inLine) {
  std::string text;
  for (int i = 0; i < count; ++i) {
    text += adBreak(fmt::format("{:02}:{:02}:{:02}", i / 360, i / 6 % 60, i % 6 * 10), inLine);
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

std::size_t count(const xmlNode* node, std::string_view name) {
  std::size_t found = 0;
  for (; node != nullptr; node = node->next) {
    if (node->type != XML_ELEMENT_NODE) continue;
    found += reinterpret_cast<const char*>(node->name) == name ? 1U : 0U;
    found += count(node->children, name);
  }
  return found;
}

class PictureTest : public ::testing::TestWithParam<Picture> {};

TEST_P(PictureTest, IsWellFormedAndSmallWhateverTheDocumentHolds) {
  const ScratchFolder folder;
  const auto path = folder.write("document.vmap", GetParam().document);
  const auto outcome = runKyr({"inspect", path, "--svg", folder.path("picture.svg")});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const auto svg = readFile(folder.path("picture.svg"));
  EXPECT_THAT(svg.size(), Lt(2'000'000U));
  EXPECT_THAT(svg, AllOf(HasSubstr(GetParam().shown), Not(HasSubstr("nan")), Not(HasSubstr("inf\""))));

  const std::unique_ptr<xmlDoc, void (*)(xmlDoc*)> document(
      xmlReadMemory(svg.data(), static_cast<int>(svg.size()), nullptr, nullptr,
                    XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
      &xmlFreeDoc);
  ASSERT_NE(document, nullptr);
  EXPECT_EQ(count(xmlDocGetRootElement(document.get()), "svg"), 1U);
  EXPECT_EQ(count(xmlDocGetRootElement(document.get()), "script"), 0U);
}

INSTANTIATE_TEST_SUITE_P(
    Documents, PictureTest,
    ::testing::Values(
        Picture{"worked", readFile(documentPath("worked.vmap")), "Holiday"},
        Picture{"noBreaks", vmap(""), "0 breaks"},
        Picture{"noLength", vmap("", "0", "0"), "no length to draw"},
        Picture{"thousandBreaks", vmap(breaks(1000, linear("00:00:05")), "15000", "10000"),
                "984 more breaks"},
        Picture{"invalidTimes", vmap(adBreak("start", "") + adBreak("00:01:00", linear("00:00:30"))),
                "Not placed"},
        Picture{"absurdLengths", vmap(breaks(2, linear("00:00:30")), "1000000000000000", "1e15"), "h</text>"},
        Picture{"negativeLengths", vmap(breaks(2, linear("00:00:30")), "-5", "-5"), "Break 1"},
        Picture{"breakBehindTheEnd", vmap(adBreak("99:99:99", linear("99:99:99")), "10", "10"), "Break 0"},
        Picture{"manyEvents", vmap(adBreak("start", linear("00:00:30", manyEvents(30000)))), "Break 0"},
        Picture{"hostileTexts",
                vmap(adBreak("start", "<AdTitle>&lt;script&gt;alert(\"&amp;'1]]&gt;&#x9b;</AdTitle>" +
                                          linear("00:00:30"))),
                "&lt;script&gt;"}),
    [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace tarn::test
