#include "Kyr/TarnKyrSourceSelection.h"

#include <gmock/gmock.h>

#include "KyrStage.h"

namespace {

using tarn::test::Lines;
using tarn::test::LogLines;
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

TEST(SourceSelection, TakesTheBestAdInsertionSource) {
  const Choice choices[] = {
      {"the highest version", {{kSSAI, "https://a/3", 3}, {kSSAI, "https://a/4", 4}}, "https://a/4"},
      {"the first of equals", {{kSSAI, "https://a/1", 4}, {kSSAI, "https://a/2", 4}}, "https://a/1"},
      {"no version is zero", {{kSSAI, "https://a/1"}, {kSSAI, "https://a/2", 0}}, "https://a/1"},
      {"secure before newer", {{kSSAI, "http://a/9", 9}, {kSSAI, "https://a/0", 0}}, "https://a/0"},
      {"scheme in any case", {{kSSAI, "http://a/9", 9}, {kSSAI, "HTTPS://a/1", 1}}, "https://a/1"},
      {"hTTPWithout secure", {{kSSAI, "http://a/1", 1}, {kSSAI, "http://a/2", 2}}, "http://a/2"},
      {"aSingle sSAISource", {{kSSAI, "https://a/1"}}, "https://a/1"},
      {"other schemes never", {{kSSAI, "ftp://a/9", 9}, {kSSAI, "file:///a"}}, std::nullopt},
      {"other methods never",
       {{kTarnSourceDeliveryHLS, "https://a/9", 9}, {"kTarnSourceDeliveryDASH", "https://a/8"}},
       std::nullopt},
      {"no sources", {}, std::nullopt},
      {"skipped once where the first pass finds",
       {{kSSAI, nullptr, 9}, {nullptr, "https://a/8", 8}, {kSSAI, "", 7}, {kSSAI, "https://a/1"}},
       "https://a/1",
       3},
      {"skipped in both passes", {{kSSAI, nullptr}, {kSSAI, "http://a/1"}}, "http://a/1", 2},
      {"nothing but skipped", {{kSSAI, nullptr}, {kSSAI, "no url"}}, std::nullopt, 4},
      // Below version 0 nothing beats the start of the search, which stands on the first source.
      {"negative versions leave the first",
       {{kSSAI, "http://a/first", 7}, {kSSAI, "https://a/1", -1}},
       "http://a/first"},
      {"even one without aDocument", {{kSSAI, nullptr}, {kSSAI, "https://a/1", -5}}, "nowhere", 1},
  };
  for (const auto& [name, sources, expected, skipped] : choices) {
    SCOPED_TRACE(name);
    LogLines log;
    const auto chosen = tarn::selectKyrSource(TarnVideo(videoOf(sources)));
    Lines lines(skipped, kSkipped);
    if (!expected) lines.emplace_back(kNothing);
    EXPECT_EQ(log.take(), lines);
    ASSERT_EQ(chosen != nullptr, expected.has_value());
    if (!chosen) continue;
    EXPECT_EQ(chosen->url() ? chosen->url()->absoluteString() : "nowhere", *expected);
    EXPECT_EQ(chosen->deliveryMethod(), kTarnSourceDeliveryHLS);
  }
}

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
