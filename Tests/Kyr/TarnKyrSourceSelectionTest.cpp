#include "Kyr/TarnKyrSourceSelection.h"

#include <gmock/gmock.h>

#include "KyrStage.h"

namespace {

using tarn::test::Lines;
using tarn::test::LogLines;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kSkipped =
    "Found nil delivery method or, nil or malformed VMAP URL in sourceSelectionPolicy";
constexpr const char* kNothing = "Failed to find a valid video source in sourceSelectionPolicy";
constexpr const char* kSSAI = "ktarnSOURCEdeliveryQuillssai";  // case makes no difference

struct Entry {
  const char* method;
  const char* vmap;
  std::optional<std::int64_t> version = std::nullopt;
};

std::shared_ptr<const TarnSource> makeSource(const Entry& entry) {
  tarn::Dictionary properties;
  if (entry.vmap != nullptr) properties.set("vmap", std::string(entry.vmap));
  if (entry.version) properties.set("ext_x_version", *entry.version);
  std::optional<std::string> method;
  if (entry.method != nullptr) method = entry.method;
  return std::make_shared<const TarnSource>(tarn::URL::fromString("http://catalogue/entry"), method,
                                            std::move(properties));
}

TarnMutableVideo videoOf(const std::vector<Entry>& entries) {
  TarnMutableVideo video;
  for (const auto& entry : entries) video.sources.push_back(makeSource(entry));
  return video;
}

struct Choice {
  const char* name;
  std::vector<Entry> sources;
  std::optional<std::string> chosen;  // absent: none
  std::size_t skipped = 0;            // log lines
};

void PrintTo(const Choice& choice, std::ostream* out) {
  *out << choice.name;
}

class SourceSelection : public ::testing::TestWithParam<Choice> {};

TEST_P(SourceSelection, TakesTheBestAdInsertionSource) {
  LogLines log;
  const auto chosen = tarn::selectKyrSource(TarnVideo(videoOf(GetParam().sources)));
  auto lines = log.take();
  if (!GetParam().chosen) {
    EXPECT_EQ(chosen, nullptr);
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), kNothing);
    lines.pop_back();
  } else {
    ASSERT_NE(chosen, nullptr);
    EXPECT_EQ(chosen->url() ? chosen->url()->absoluteString() : "nowhere", *GetParam().chosen);
    EXPECT_EQ(chosen->deliveryMethod(), kTarnSourceDeliveryHLS);
  }
  EXPECT_EQ(lines.size(), GetParam().skipped);
  EXPECT_THAT(lines, Each(kSkipped));
}

INSTANTIATE_TEST_SUITE_P(
    Choices, SourceSelection,
    ::testing::Values(
        Choice{"TheHighestVersion", {{kSSAI, "https://a/3", 3}, {kSSAI, "https://a/4", 4}}, "https://a/4"},
        Choice{"TheFirstOfEquals", {{kSSAI, "https://a/1", 4}, {kSSAI, "https://a/2", 4}}, "https://a/1"},
        Choice{"NoVersionIsZero", {{kSSAI, "https://a/1"}, {kSSAI, "https://a/2", 0}}, "https://a/1"},
        Choice{"SecureBeforeNewer", {{kSSAI, "http://a/9", 9}, {kSSAI, "https://a/0", 0}}, "https://a/0"},
        Choice{"SchemeInAnyCase", {{kSSAI, "http://a/9", 9}, {kSSAI, "HTTPS://a/1", 1}}, "https://a/1"},
        Choice{"HTTPWithoutSecure", {{kSSAI, "http://a/1", 1}, {kSSAI, "http://a/2", 2}}, "http://a/2"},
        Choice{"ASingleSSAISource", {{kSSAI, "https://a/1"}}, "https://a/1"},
        Choice{"OtherSchemesNever", {{kSSAI, "ftp://a/9", 9}, {kSSAI, "file:///a"}}, std::nullopt},
        Choice{"OtherMethodsNever",
               {{kTarnSourceDeliveryHLS, "https://a/9", 9}, {"kTarnSourceDeliveryDASH", "https://a/8"}},
               std::nullopt},
        Choice{"NoSources", {}, std::nullopt},
        Choice{"SkippedOnceWhereTheFirstPassFinds",
               {{kSSAI, nullptr, 9}, {nullptr, "https://a/8", 8}, {kSSAI, "", 7}, {kSSAI, "https://a/1"}},
               "https://a/1",
               3},
        Choice{"SkippedInBothPasses", {{kSSAI, nullptr}, {kSSAI, "http://a/1"}}, "http://a/1", 2},
        Choice{"NothingButSkipped", {{kSSAI, nullptr}, {kSSAI, "no url"}}, std::nullopt, 4},
        // Below version 0 nothing beats the start of the search, which stands on the first source.
        Choice{"NegativeVersionsLeaveTheFirst",
               {{kSSAI, "http://a/first", 7}, {kSSAI, "https://a/1", -1}},
               "http://a/first"},
        Choice{"EvenOneWithoutADocument", {{kSSAI, nullptr}, {kSSAI, "https://a/1", -5}}, "nowhere", 1}),
    [](const auto& test) { return test.param.name; });

TEST(SourceSelectionOfASingleSource, LeavesAPlainOneAsItIs) {
  for (const char* method :
       {"KTARNsourceDeliveryHLS", "ktarnsourcedeliverylumo", static_cast<const char*>(nullptr)}) {
    LogLines log;
    const TarnVideo video(videoOf({{method, "https://a/1"}}));
    EXPECT_EQ(tarn::selectKyrSource(video), video.sources()[0]);
    EXPECT_THAT(log.take(), IsEmpty());
  }
}

TEST(SourceSelectionOfASingleSource, HandsTheCatalogueEntrysPropertiesOn) {
  const TarnVideo video(videoOf({{kSSAI, "https://a/1", 6}}));
  const auto chosen = tarn::selectKyrSource(video);
  ASSERT_NE(chosen, nullptr);
  EXPECT_NE(chosen, video.sources()[0]);
  EXPECT_EQ(*chosen->properties().get<std::int64_t>("ext_x_version"), 6);
  EXPECT_EQ(*chosen->properties().get<std::string>("vmap"), "https://a/1");
}

}  // namespace
