#include "Kyr/Internal/TarnKyrSourceSelection.h"

#include <gmock/gmock.h>

#include <map>

#include "KyrStage.h"
#include "Support/Story.h"

namespace {

using tarn::test::LogLines;

constexpr const char* kSkipped =
    "Found nil delivery method or, nil or malformed VMAP URL in sourceSelectionPolicy";
constexpr const char* kNothing = "Failed to find a valid video source in sourceSelectionPolicy";

/// A catalogue's source, "s=https://a/1@4": the delivery method (s is ad insertion, - none), the document's
/// URL (- for none, "<https://a/1>" as a URL, not a text), and the version, if there is one ("@'4" as a text,
/// "@i4" as an int).
std::shared_ptr<const TarnSource> makeSource(const std::string& text) {
  static const std::map<char, std::optional<std::string>> kMethods = {
      {'s', "ktarnSOURCEdeliveryQuillssai"},  // case makes no difference
      {'h', "KTARNsourceDeliveryHLS"},
      {'l', "ktarnsourcedeliverylumo"},
      {'d', "kTarnSourceDeliveryDASH"},
      {'-', std::nullopt}};
  const auto at = text.find('@');
  const auto vmap = text.substr(2, at - 2);
  tarn::Dictionary properties;
  if (vmap[0] == '<') {
    properties.set("vmap", *tarn::URL::fromString(vmap.substr(1, vmap.size() - 2)));
  } else if (vmap != "-") {
    properties.set("vmap", vmap);
  }
  const auto version = at == std::string::npos ? "" : text.substr(at + 1);
  if (version[0] == '\'') {
    properties.set("ext_x_version", version.substr(1));
  } else if (version[0] == 'i') {
    properties.set("ext_x_version", std::stoi(version.substr(1)));
  } else if (!version.empty()) {
    properties.set("ext_x_version", std::int64_t{std::stoi(version)});
  }
  return std::make_shared<const TarnSource>(tarn::URL::fromString("http://catalogue/entry"),
                                            kMethods.at(text[0]), std::move(properties));
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
  tarn::test::tellStory(
      R"(
    // The highest version, the first of equals; no version is zero.
    s=https://a/3@3 s=https://a/4@4 => selected: https://a/4
    s=https://a/1@4 s=https://a/2@4 => selected: https://a/1
    s=https://a/1 s=https://a/2@0   => selected: https://a/1
    s=<https://a/1>                 => selected: https://a/1
    s=https://a/3@3 s=https://a/4@'4 => selected: https://a/4
    s=https://a/3@3 s=https://a/4@i4 => selected: https://a/4
    // Secure before newer.
    s=http://a/9@9 s=https://a/0@0  => selected: https://a/0
    s=http://a/9@9 s=HTTPS://a/1@1  => selected: https://a/1
    s=http://a/1@1 s=http://a/2@2   => selected: http://a/2
    // Never another scheme or delivery method.
    s=ftp://a/9@9 s=file:///a       => selected: none
    h=https://a/9@9 d=https://a/8   => selected: none
                                    => selected: none
    // Incomplete sources are skipped, in each of the two passes that are needed.
    s=-@9 -=https://a/8@8 s=@7 s=https://a/1 => selected: https://a/1, 3 skipped
    s=- s=http://a/1                => selected: http://a/1, 2 skipped
    s=- s=no-url%                   => selected: none, 4 skipped
    // Below version 0 nothing beats the start of the search, which is the first source.
    s=http://a/first@7 s=https://a/1@-1 => selected: http://a/first
    s=- s=https://a/1@-5            => selected: nowhere, 1 skipped)",
      [&video](const std::string& source) { video.sources.push_back(makeSource(source)); },
      [&video](const std::string&) { return selected(std::exchange(video, {})); });
}

TEST(TarnKyrSourceSelectionTest, ReturnsASinglePlainSourceItself) {
  for (const auto* const source : {"h=https://a/1", "l=https://a/1", "-=https://a/1"}) {
    LogLines log;
    const TarnVideo video({.sources = {makeSource(source)}});
    EXPECT_EQ(tarn::selectKyrSource(video), video.sources()[0]);
    EXPECT_THAT(log.take(), ::testing::IsEmpty());
  }
}

TEST(TarnKyrSourceSelectionTest, KeepsThePropertiesOfTheCatalogueEntry) {
  const auto chosen = tarn::selectKyrSource(TarnVideo({.sources = {makeSource("s=https://a/1@6")}}));
  ASSERT_NE(chosen, nullptr);
  EXPECT_EQ(*chosen->properties().get<std::int64_t>("ext_x_version"), 6);
  EXPECT_EQ(*chosen->properties().get<std::string>("vmap"), "https://a/1");
}

}  // namespace
