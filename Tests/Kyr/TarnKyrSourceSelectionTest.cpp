#include "Kyr/Internal/TarnKyrSourceSelection.h"

#include <gmock/gmock.h>

#include <map>

#include "KyrStage.h"
#include "Support/Script.h"

namespace {

using tarn::test::LogLines;
using tarn::test::ScriptCommand;

constexpr const char* kSkipped =
    "Found nil delivery method or, nil or malformed VMAP URL in sourceSelectionPolicy";
constexpr const char* kNothing = "Failed to find a valid video source in sourceSelectionPolicy";

/// A catalogue's source, "ssai https://a/1 4": its delivery method, its document's URL ("-" for none, "empty"
/// for an empty text, "<https://a/1>" as a URL instead of a text), and its version, if there is one ("text
/// 4", "int 4" as another type).
std::shared_ptr<const TarnSource> makeSource(const ScriptCommand& command) {
  static const std::map<std::string, std::optional<std::string>> kMethods = {
      {"ssai", "ktarnSOURCEdeliveryQuillssai"},  // case makes no difference
      {"hls", "KTARNsourceDeliveryHLS"},
      {"lumo", "ktarnsourcedeliverylumo"},
      {"dash", "kTarnSourceDeliveryDASH"},
      {"none", std::nullopt}};
  tarn::Dictionary properties;
  const auto& vmap = command.argument();
  if (vmap[0] == '<') {
    properties.set("vmap", *tarn::URL::fromString(vmap.substr(1, vmap.size() - 2)));
  } else if (vmap != "-") {
    properties.set("vmap", vmap == "empty" ? std::string() : vmap);
  }
  const auto& words = command.arguments;
  if (words.size() == 2) properties.set("ext_x_version", std::int64_t{std::stoi(words[1])});
  if (words.size() == 3 && words[1] == "text") properties.set("ext_x_version", words[2]);
  if (words.size() == 3 && words[1] == "int") properties.set("ext_x_version", std::stoi(words[2]));
  return std::make_shared<const TarnSource>(tarn::URL::fromString("http://catalogue/entry"),
                                            kMethods.at(command.name), std::move(properties));
}

/// What is selected and how many sources were skipped with a log line: "https://a/1, 2 skipped".
std::string selected(TarnMutableVideo video) {
  LogLines log;
  const auto chosen = tarn::selectKyrSource(TarnVideo(std::move(video)));
  auto lines = log.take();
  if (!chosen) {
    EXPECT_EQ(lines.back(), kNothing);
    lines.pop_back();
  }
  EXPECT_THAT(lines, ::testing::Each(kSkipped));
  const std::string skipped = lines.empty() ? "" : ", " + std::to_string(lines.size()) + " skipped";
  if (!chosen) return "none" + skipped;
  EXPECT_EQ(chosen->deliveryMethod(), kTarnSourceDeliveryHLS);
  return (chosen->url() ? chosen->url()->absoluteString() : "nowhere") + skipped;
}

TEST(TarnKyrSourceSelectionTest, TakesTheBestAdInsertionSource) {
  TarnMutableVideo video;
  tarn::test::runScript(
      R"(
    // The highest version, the first of equals; no version is zero.
    ssai https://a/3 3; ssai https://a/4 4     => selected: https://a/4
    ssai https://a/1 4; ssai https://a/2 4     => selected: https://a/1
    ssai https://a/1; ssai https://a/2 0       => selected: https://a/1
    ssai <https://a/1>                         => selected: https://a/1
    ssai https://a/3 3; ssai https://a/4 text 4 => selected: https://a/4
    ssai https://a/3 3; ssai https://a/4 int 4 => selected: https://a/4
    // Secure before newer.
    ssai http://a/9 9; ssai https://a/0 0      => selected: https://a/0
    ssai http://a/9 9; ssai HTTPS://a/1 1      => selected: https://a/1
    ssai http://a/1 1; ssai http://a/2 2       => selected: http://a/2
    // Never another scheme or delivery method.
    ssai ftp://a/9 9; ssai file:///a           => selected: none
    hls https://a/9 9; dash https://a/8        => selected: none
                                               => selected: none
    // Incomplete sources are skipped, in each of the two passes that are needed.
    ssai - 9; none https://a/8 8; ssai empty 7; ssai https://a/1 => selected: https://a/1, 3 skipped
    ssai -; ssai http://a/1                    => selected: http://a/1, 2 skipped
    ssai -; ssai no-url%                       => selected: none, 4 skipped
    // Below version 0 nothing beats the start of the search, which is the first source.
    ssai http://a/first 7; ssai https://a/1 -1 => selected: http://a/first
    ssai -; ssai https://a/1 -5                => selected: nowhere, 1 skipped)",
      [&video](const ScriptCommand& source) { video.sources.push_back(makeSource(source)); },
      [&video](const std::string&) { return selected(std::exchange(video, {})); });
}

TEST(TarnKyrSourceSelectionTest, ReturnsASinglePlainSourceItself) {
  for (const auto* const method : {"hls", "lumo", "none"}) {
    LogLines log;
    const TarnVideo video({.sources = {makeSource({method, {"https://a/1"}})}});
    EXPECT_EQ(tarn::selectKyrSource(video), video.sources()[0]);
    EXPECT_THAT(log.take(), ::testing::IsEmpty());
  }
}

TEST(TarnKyrSourceSelectionTest, KeepsThePropertiesOfTheCatalogueEntry) {
  const auto chosen =
      tarn::selectKyrSource(TarnVideo({.sources = {makeSource({"ssai", {"https://a/1", "6"}})}}));
  ASSERT_NE(chosen, nullptr);
  EXPECT_EQ(*chosen->properties().get<std::int64_t>("ext_x_version"), 6);
  EXPECT_EQ(*chosen->properties().get<std::string>("vmap"), "https://a/1");
}

}  // namespace
