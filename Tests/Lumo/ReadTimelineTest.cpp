#include "Lumo/ReadTimeline.h"

#include <gmock/gmock.h>
#include <libintl.h>
#include <unistd.h>

#include <clocale>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "Lumo/Internal/TarnLumoValueReader.h"
#include "Lumo/TarnLumoDocument.h"
#include "Lumo/TarnLumoTimeline.h"
#include "Platform/Log.h"
#include "Support/TimePrinter.h"
#include "Support/VMAPText.h"
#include "XML/TarnLumoONOXMLDocument.h"

namespace {

using namespace tarn::test;
using namespace testing;

struct Reading : tarn::TimelineReading {
  std::vector<std::string> log;

  const TarnLumoTimeline& stream() const { return **timeline; }
  const TarnLumoAd& ad(std::size_t sequence, std::size_t index = 0) const {
    return *stream().adSequences().at(sequence)->ads().at(index);
  }
};

Reading read(std::string_view bytes) {
  std::vector<std::string> log;
  const auto sink = tarn::installLogSink([&log](std::string_view line) { log.emplace_back(line); });
  return {tarn::readTimeline(bytes), std::move(log)};
}

std::vector<std::string> texts(const std::vector<tarn::URL>& urls) {
  std::vector<std::string> result;
  for (const auto& url : urls) result.push_back(url.absoluteString());
  return result;
}

/// The begin times of all ads in seconds, by sequence.
std::vector<std::vector<double>> beginTimes(const TarnLumoTimeline& timeline) {
  std::vector<std::vector<double>> result;
  for (const auto& sequence : timeline.adSequences()) {
    auto& times = result.emplace_back();
    for (const auto& ad : sequence->ads()) times.push_back(CMTimeGetSeconds(ad->beginTime()));
  }
  return result;
}

TEST(ReadTimelineTest, ReadsAWholeDocument) {
  const auto film = read(sample("film.vmap.xml"));
  ASSERT_TRUE(film.timeline) << tarn::chainDescription(film.timeline.error());
  EXPECT_THAT(film.warnings, IsEmpty());
  EXPECT_THAT(film.log, IsEmpty());
  EXPECT_EQ(film.prefix, "mh");
  EXPECT_THAT(film.stream().payloadLength(), IdenticalTo(CMTimeMake(3690 * 600, 600)));
  ASSERT_THAT(film.stream().contentImpressions(), SizeIs(3));
  EXPECT_EQ(film.stream().contentImpressions()[1]->url()->absoluteString(),
            "https://beacon.example.com/content?at=900.5&session=%5BSESSION%5D");
  EXPECT_THAT(beginTimes(film.stream()),
              ElementsAre(ElementsAre(0, 15), ElementsAre(1230), ElementsAre(3660, 3675)));

  const TarnLumoAd& ad = film.ad(0);
  EXPECT_THAT(ad.title(), Optional(std::string("Sparkling water — the summer edition")));
  EXPECT_THAT(texts(ad.impressionURLs()),
              ElementsAre("https://beacon.example.com/imp?ad=pre-1&cb=%5BCACHEBUSTING%5D&t=%5BTIMESTAMP%5D",
                          "https://pixel.example.net/i/pre-1?pos=%7Bposition%7D&site=a%7Cb"));
  EXPECT_THAT(film.ad(2).logicalOffset(), IdenticalTo(kCMTimePositiveInfinity));
  EXPECT_THAT(film.ad(1).skipOffset(), SecondsEq(15));
  EXPECT_THAT(ad.companionsCollection()->orderedCompanionAdsWithWidthThenHeight(), SizeIs(2));

  using Elements = std::vector<tarn::Dictionary>;
  const auto* children = ad.vastAdCreativeExtensions()->at(0).get<Elements>(kTarnXMLElementContentKey);
  EXPECT_EQ(*children->at(0).get<std::string>(kTarnXMLElementContentKey), "Acme & Sons");
  EXPECT_THAT(*children->at(1).get<Elements>(kTarnXMLElementContentKey), SizeIs(2));
  EXPECT_EQ(*ad.vastAdExtensions()->at(0).get<std::string>(kTarnXMLElementContentKey), "");
  EXPECT_FALSE(film.ad(2, 1).vastAdExtensions());
}

/// Breaks of one ad each: "start 15, 00:10:00 30" has one at the start, of 15 s.
std::string breaks(const std::string& text) {
  std::string result;
  std::istringstream list(text);
  for (std::string each; std::getline(list >> std::ws, each, ',');) {
    const auto space = each.find(' ');
    result += simpleBreak(each.substr(0, space), "00:00:" + each.substr(space + 1));
  }
  return result;
}

TEST(ReadTimelineTest, PutsAdsWhereTheStreamHasThem) {
  using Row = std::tuple<const char*, std::string, std::vector<std::vector<double>>>;
  const Row rows[] = {
      {"a mid-roll moved on by a sequence of two",
       breaks("start 15, START 15, 00:10:00.000 30"),
       {{0, 15}, {630}}},
      {"one place written in two ways", breaks("start 15, 00:00:00 15"), {{0}, {15}}},
      {"one key for equal times", breaks("00:01:00 10, 00:01:00.000 10"), {{60, 70}}},
      {"post-rolls end with the payload", breaks("end 15, End 30"), {{615, 630}}},
      {"a post-roll does not move what follows it", breaks("end 30, 00:00:10 05"), {{10}, {630}}},
      {"document order counts, sequences are sorted", breaks("00:05:00 30, 00:01:00 10"), {{90}, {300}}},
      {"an element name of another case",
       "<adbreak timeoffset='x' timeOffset='start'><vmap:AdSource><vmap:VASTData><VAST>" +
           ad("a", linear("00:00:10")) + "</VAST></vmap:VASTData></vmap:AdSource></adbreak>",
       {{0}}},
      {"no breaks", "", {}}};
  for (const auto& [what, document, begins] : rows) {
    const auto reading = read(vmap(document));
    ASSERT_TRUE(reading.timeline) << what;
    EXPECT_EQ(beginTimes(reading.stream()), begins) << what;
  }
}

TEST(ReadTimelineTest, InvalidatesTheBeginTimesAfterAnInvalidDuration) {
  const auto reading = read(vmap(breaks("start 15") + "\n<vmap:AdBreak timeOffset='00:01:00'/>\n" +
                                 breaks("00:02:00 15, 00:03:00 15")));
  ASSERT_TRUE(reading.timeline);
  ASSERT_THAT(reading.stream().adSequences(), SizeIs(4));
  EXPECT_EQ(reading.ad(1).adId(), std::nullopt);
  EXPECT_THAT(reading.ad(1).duration(), IdenticalTo(CMTime{}));
  EXPECT_THAT(reading.ad(1).logicalOffset(), IsInvalidTime());
  for (const std::size_t later : {2u, 3u}) EXPECT_THAT(reading.ad(later).beginTime(), IsInvalidTime());
}

TEST(ReadTimelineTest, ReadsTheFirstLinearAndTheLastCompanions) {
  const auto readCreatives = [](const std::string& creatives) {
    return read(vmap(adBreak("start", ad("a", creatives))));
  };
  const auto companionsOf = [](const Reading& reading) {
    return reading.ad(0).companionsCollection()->orderedCompanionAdsWithWidthThenHeight();
  };
  const std::string withLinear =
      "<Creative><Linear><Duration>00:00:10</Duration></Linear><CompanionAds>"
      "<Companion width=' 300px' height='-5' id='c'><CompanionClickThrough>u:1</CompanionClickThrough>"
      "<CompanionClickThrough>u:2</CompanionClickThrough><TrackingEvents><Tracking event='e' offset='1'>u:3"
      "</Tracking></TrackingEvents><StaticResource creativeType='t'>u:4</StaticResource>"
      "<CompanionClickTracking>u:5</CompanionClickTracking></Companion></CompanionAds></Creative>";
  const auto one = companionsOf(readCreatives(withLinear));
  ASSERT_THAT(one, SizeIs(1));
  EXPECT_EQ(one[0]->width(), 300);
  EXPECT_EQ(one[0]->height(), -5);
  EXPECT_EQ(one[0]->identifier(), "c");
  EXPECT_EQ(one[0]->clickThroughURL()->absoluteString(), "u:2");
  EXPECT_EQ(one[0]->staticResourceCreativeType(), "t");
  EXPECT_THAT(texts(one[0]->clickTrackingURLs()), ElementsAre("u:5"));
  EXPECT_THAT(one[0]->trackingEventsCollection()->eventsByName().at("e")[0]->offset(), IsInvalidTime());
  const std::string second = "<Creative><CompanionAds><C/><C/></CompanionAds></Creative>";
  EXPECT_THAT(companionsOf(readCreatives(withLinear + second)), SizeIs(2));
  EXPECT_THAT(companionsOf(readCreatives(withLinear + "<Creative/>")), IsEmpty());
  const auto twice = readCreatives(linear("00:00:20") + withLinear);
  EXPECT_THAT(companionsOf(twice), IsEmpty()) << "a creative with a further Linear is skipped as a whole";
  EXPECT_THAT(twice.ad(0).duration(), SecondsEq(20));
  EXPECT_EQ(twice.ad(0).title(), std::nullopt);
  EXPECT_THAT(twice.log, ElementsAre("Cannot process multiple Linear elements within a single Ad element."));
}

TEST(ReadTimelineTest, ReadsOffsetsAndClicksAsWritten) {
  const std::string content =
      "<TrackingEvents><Tracking event='progress' offset='5'>https://t.example/5</Tracking>"
      "<Tracking event='odd' offset='abc'>https://t.example/0</Tracking>"
      "<Tracking event='start'>nowhere</Tracking><Other>https://t.example/none</Other></TrackingEvents>"
      "<VideoClicks><ClickThrough>https://c.example/1</ClickThrough>"
      "<clicktracking>https://c.example/x</clicktracking><ClickTracking>no url</ClickTracking>"
      "<ClickTracking>https://c.example/3</ClickTracking><ClickThrough>https://c.example/2</ClickThrough>"
      "</VideoClicks><CreativeExtensions><E> x\n</E></CreativeExtensions>";
  const auto reading = read(vmap(adBreak("start", ad("a", linear("00:00:10", content, "skipoffset='abc'")))));
  const TarnLumoAd& ad = reading.ad(0);
  const auto& events = ad.trackingEventsCollection()->eventsByName();
  EXPECT_THAT(events.at("progress")[0]->offset(), SecondsEq(5));
  EXPECT_THAT(events.at("odd")[0]->offset(), SecondsEq(0));
  EXPECT_THAT(events.at("start")[0]->offset(), IsInvalidTime());
  EXPECT_EQ(events.at("start")[0]->url(), std::nullopt);
  EXPECT_EQ(events.at("")[0]->url()->absoluteString(), "https://t.example/none");
  EXPECT_EQ(ad.clickThroughURL()->absoluteString(), "https://c.example/2");
  EXPECT_THAT(texts(ad.clickTrackingURLs()), ElementsAre("https://c.example/3"));
  EXPECT_THAT(ad.skipOffset(), IsInvalidTime());
  EXPECT_EQ(*ad.vastAdCreativeExtensions()->at(0).get<std::string>(kTarnXMLElementContentKey), " x\n");
  EXPECT_THAT(reading.log, SizeIs(2));
}

TEST(ReadTimelineTest, ChoosesTheExtensionByThePlainText) {
  const std::string none = "xmlns:vmap='urn:v' ";
  const std::string zl = none + "xmlns:zl='urn:z' ";
  const std::string extension = "<zl:zephyrLumo payloadlength='2'/>";
  using Row = std::tuple<std::string, const char*, double>;
  const Row rows[] = {
      {vmap(zl + "xmlns:mh='urn:m'", "<mh:Marlith payloadlength='1'/>" + extension, ""), "mh", 1},
      {vmap(zl, "<zl:zephyrLumo payloadlength='2.5'/>", ""), "zl", 2.5},
      {vmap(none + "xmlns:zl ='urn:z'",
            extension + "<contentImpressions><Impression url='u:1' time='1'/></contentImpressions>", ""),
       "", 2},
      {vmap(none, extension, ""), "", 0},
      {"<!-- xmlns:mh= -->" + vmap(zl, extension, ""), "mh", 0},
      {vmap(none, "<zl:zephyrLumo xmlns:zl='urn:z' payloadlength='2'/>", ""), "zl", 0},
      {vmap(zl, extension + "\xff", ""), "mh", 0},
      {vmap(zl, "<zl:zephyrLumo payloadlength='two'/>", ""), "zl", 0}};
  for (const auto& [document, prefix, payload] : rows) {
    SCOPED_TRACE(document);
    const auto reading = read(document);
    ASSERT_TRUE(reading.timeline);
    EXPECT_EQ(reading.prefix, prefix);
    EXPECT_THAT(reading.stream().payloadLength(), SecondsEq(payload));
    EXPECT_THAT(reading.stream().contentLength(), IdenticalTo(CMTimeMake(0, 600)));
    EXPECT_THAT(reading.stream().contentImpressions(), IsEmpty());
    const auto xml = TarnLumoONOXMLDocument::XMLDocumentWithData(document);
    TarnLumoDocument given(*tarn::URL::fromString("https://ads.example/vmap"));
    given.setVmapExtensionsNamespace(prefix);
    EXPECT_THAT(TarnLumoDeserializeTimelineFromXMLDocumentWithError(given, **xml).value()->payloadLength(),
                SecondsEq(payload));
  }
}

TEST(ReadTimelineTest, ReadsTheIntegerThatATextBeginsWith) {
  EXPECT_EQ(tarn::leadingInteger(" \n+42px"), 42);
  EXPECT_EQ(tarn::leadingInteger("-7.9"), -7);
  EXPECT_EQ(tarn::leadingInteger("99999999999999999999"), INT64_MAX);
  EXPECT_EQ(tarn::leadingInteger("-99999999999999999999"), INT64_MIN);
  for (const char* text : {"", "-", "+-1", "x1", "- 1"})
    EXPECT_EQ(tarn::leadingInteger(text), std::nullopt) << text;
}

TEST(ReadTimelineTest, FailsWithTheReason) {
  using Row = std::pair<std::string, std::optional<std::string>>;
  const std::string noDuration = adBreak("start", ad("a", "<Creative><Linear/></Creative>"));
  for (const auto& [bytes, description] :
       {Row{"", std::nullopt}, Row{"Not Found xmlns:mh=", std::nullopt},
        Row{vmap("<vmap:AdBreak/>"), "AdBreak timeOffset `(null)` could not be parsed."},
        Row{vmap(breaks("10% 10")), "AdBreak timeOffset `10%` could not be parsed."},
        Row{vmap(simpleBreak("start", " 00:00:10")), "Linear Duration ` 00:00:10` could not be parsed."},
        Row{vmap(noDuration + breaks("#1 10")), "Linear Duration `(null)` could not be parsed."}}) {
    const auto reading = read(bytes);
    ASSERT_FALSE(reading.timeline) << bytes;
    EXPECT_EQ(reading.prefix, bytes.empty() ? "" : "mh");
    const auto& error = reading.timeline.error();
    EXPECT_EQ(error.domain, "TarnLumoErrorDomain");
    EXPECT_EQ(error.code, 4011);
    EXPECT_EQ(error.description, description);
    EXPECT_EQ(error.underlying != nullptr, !description) << "caused by the parser's error";
    EXPECT_THAT(error.recoverySuggestion.value_or("line 3"), HasSubstr("line 3"));
  }
}

TEST(ReadTimelineTest, TakesTheTextOfAnErrorFromTheCatalogueOfTheApplication) {
  const auto folder = std::filesystem::temp_directory_path() / ("catalogue-" + std::to_string(::getpid()));
  const std::string key = "AdBreak timeOffset `%@` could not be parsed.";
  const std::string text = "Zeit „%@“?";
  const auto keySize = static_cast<std::uint32_t>(key.size());
  // Magic, version, number of texts, the offsets of the two tables, no hash table; then the tables
  // themselves.
  const std::uint32_t head[] = {
      0x950412de, 0, 1, 28, 36, 0, 44, keySize, 44, static_cast<std::uint32_t>(text.size()), 45 + keySize};
  std::filesystem::create_directories(folder / "xx/LC_MESSAGES");
  std::ofstream(folder / "xx/LC_MESSAGES/errors.mo").write(reinterpret_cast<const char*>(head), sizeof(head))
      << key << '\0' << text << '\0';
  setlocale(LC_ALL, "C.UTF-8");
  setenv("LANGUAGE", "xx", 1);
  bindtextdomain("errors", folder.c_str());
  textdomain("errors");
  EXPECT_EQ(read(vmap(breaks("10% 10"))).timeline.error().description, "Zeit „10%“?");
  textdomain("messages");
  unsetenv("LANGUAGE");
  setlocale(LC_ALL, "C");
  std::filesystem::remove_all(folder);
}

TEST(ReadTimelineTest, WarnsOfEveryFlawOfASample) {
  const auto flawed = read(sample("flawed.vmap.xml"));
  ASSERT_TRUE(flawed.timeline);
  EXPECT_EQ(flawed.stream().contentImpressions().at(0)->url(), std::nullopt) << "kept without a URL";
  EXPECT_THAT(tarn::readTimeline(sample("flawed.vmap.xml"), {.review = false}).warnings, IsEmpty());
  std::vector<std::string> lines;
  for (const auto& warning : flawed.warnings)
    lines.push_back(std::to_string(warning.line.value_or(0)) + " " + warning.message);
  EXPECT_THAT(
      lines,
      ElementsAre("5 The attribute contenturi of Marlith, “/relative/master.m3u8”, forms no absolute URL.",
                  "5 The attribute payloadlength of Marlith, “10 minutes”, is no number of seconds and was "
                  "read as 0.",
                  "7 The time “soon” of a content impression is no number of seconds; it is never sent.",
                  "8 The attribute url of Impression, “”, forms no absolute URL.",
                  "17 The text “no url” of Impression forms no absolute URL.",
                  "20 The skipoffset “25” is a percentage without its sign; the ad cannot be skipped.",
                  "23 The offset “00:00:05” of Tracking is no number of seconds and was read as 0.",
                  "24 Tracking has no event attribute, so it is never sent.",
                  "28 The attribute width of Companion, “wide”, is no integer and was read as 0.",
                  "31 A further creative with a Linear was skipped, its companions included.",
                  "34 This creative's companions (0) replace those of the creative before it (1).",
                  "40 Only the first Ad of an AdBreak is read; this one and those behind it are not.",
                  "45 Breaks at content time 0 s are written in two ways, so their ads form two sequences at "
                  "one place.",
                  "48 The ad “wrapped” is a Wrapper, which is not followed; nothing but its id is read.",
                  "52 From this AdBreak on begin times are invalid, because of the duration of the ad at "
                  "line 45 before it.",
                  "52 The AdBreak holds no ad (its VAST is in the namespace “http://www.iab.com/VAST”, where "
                  "one without a namespace is looked for) and yields one without id and duration."));
}

TEST(ReadTimelineTest, WarnsOfDocumentsWithoutAds) {
  const std::pair<const char*, const char*> rows[] = {
      {"<html><body/></html>", "“html”, not vmap:VMAP"},
      {"<VMAP xmlns='urn:v'/>", "“VMAP” in the namespace “urn:v”; only the prefix vmap"},
      {"<v:VMAP xmlns:v='urn:v'/>", "“v:VMAP” in the namespace “urn:v”; only the prefix"},
      {"<vmap:VMAP/>", "prefix vmap on VMAP is not defined"},
      {"<vmap:VMAP xmlns:vmap='urn:v'>", "repaired: Premature end"}};
  for (const auto& [bytes, message] : rows) {
    const auto reading = read(bytes);
    ASSERT_TRUE(reading.timeline) << bytes;
    EXPECT_THAT(reading.stream().adSequences(), IsEmpty());
    ASSERT_THAT(reading.warnings, Not(IsEmpty())) << bytes;
    EXPECT_THAT(reading.warnings[0].message, HasSubstr(message));
  }
}

TEST(ReadTimelineTest, WarnsOfStreamsThatDoNotAddUp) {
  const std::string late = "<TrackingEvents><T event='e' offset='11'>u:u</T></TrackingEvents>";
  const std::pair<std::string, const char*> rows[] = {
      {breaks("start 30"), "The payload length is 660 s, but content and ads add up to 630 s."},
      {breaks("00:10:50 30"), "The ad sequence at content time 650 s ends at 680 s, behind the payload"},
      {breaks("00:05:00 30, 00:01:00 10, 00:02:00 10"),
       "“00:02:00” lies before that of an earlier AdBreak (300 s)"},
      {breaks("00:05:00 30") + simpleBreak("00:04:50", "00:01:40"),
       "The ad sequence at content time 300 s begins at 300 s, before the one ahead of it ends at 420 s"},
      {simpleBreak("end", "00:20:00"), "at content time “end” would begin 540 s before the stream does"},
      {breaks("99:99:99999999999999999999 10"), "counts as “end”"},
      {breaks("start 99999999999999999999"), "too long to be counted"},
      {"<AdBreak timeOffset='start'/>", "holds no ad (it has no AdSource) and yields one without id"},
      {adBreak("start", "") + adBreak("start", "<Ad id='x'/>"), "its VAST is empty"},
      {"<AdBreak timeOffset='start'><AdSource/></AdBreak>",
       "its AdSource has neither VASTData nor VASTAdData"},
      {"<AdBreak timeOffset='start'><AdSource><VASTAdData/></AdSource></AdBreak>",
       "there is no VAST in its VASTAdData"},
      {"<AdBreak timeOffset='start'><AdSource><VASTData><VAST><Ad/></VAST></VASTData></AdSource></AdBreak>",
       "the way to its Ad is not named vmap:AdSource/vmap:VASTData/VAST/Ad"},
      {adBreak("start", "<Ad id='x'/>"), "The ad “x” has no InLine; nothing but its id is read."},
      {adBreak("start", ad("x", "<Creative/>")), "The ad “x” has no Linear creative"},
      {"<vmap:AdBreak timeOffset='start'><vmap:AdSource><vmap:AdTagURI>u</vmap:AdTagURI></vmap:AdSource>"
       "</vmap:AdBreak>",
       "AdTagURI, which is not fetched"},
      {adBreak("start", ad("x", linear("00:00:10", late))), "lies behind the ad's end"}};
  for (const auto& [stream, message] : rows) {
    std::string all;
    for (const auto& warning : read(vmap(stream)).warnings) all += warning.message + "\n";
    EXPECT_THAT(all, HasSubstr(message)) << stream;
  }
  EXPECT_EQ(read(vmap(adBreak("start", "<Ad id='x'/>"))).ad(0).adId(), "x");
  const std::string outside = breaks("00:10:50 30") + "\n";
  EXPECT_EQ(read(vmap(outside + outside)).warnings.at(0).line, 3) << "of the first break of the sequence";
}

TEST(ReadTimelineTest, DoesNotWarnOfCorrectDocuments) {
  const auto warnings = [](const std::string& lengths, const std::string& impressions,
                           const std::string& creatives) {
    return read(vmap("xmlns:vmap='urn:v' xmlns:mh='urn:m'",
                     "<mh:Marlith contenturi='u:u' " + lengths + "/><mh:contentImpressions>" + impressions +
                         "</mh:contentImpressions>",
                     adBreak("start", ad("a", creatives))))
        .warnings;
  };
  const auto impression = [](const std::string& time) {
    return "<mh:Impression url='u:i' time='" + time + "'/>";
  };
  const std::string completion = "<TrackingEvents><T event='complete' offset='99'>u:u</T></TrackingEvents>";
  const std::string noLengths = "payloadlength='0' contentlength='0'";
  EXPECT_THAT(warnings(noLengths, impression("5"), linear("00:00:10", completion) + "<Creative/>"),
              IsEmpty());
  EXPECT_THAT(
      warnings("payloadlength='20' contentlength='10'",
               impression("0") + impression("10") + impression("-1") + impression("11"), linear("00:00:10")),
      ElementsAre(Field(&TarnLumoWarning::message, HasSubstr("at -1 s lies outside the content of 10 s")),
                  Field(&TarnLumoWarning::message, HasSubstr("at 11 s lies outside"))));
}

TEST(ReadTimelineTest, KeepsABoundedNumberOfWarnings) {
  std::string impressions;
  for (int i = 0; i < 1500; ++i) impressions += "\n<mh:Impression/>";
  const auto reading = read(vmap("xmlns:vmap='urn:v' xmlns:mh='urn:m'",
                                 "<mh:contentImpressions>" + impressions + "</mh:contentImpressions>", ""));
  ASSERT_THAT(reading.warnings, SizeIs(1001));
  EXPECT_EQ(reading.warnings[0].line, 3);
  const auto far = read(vmap(std::string(70'000, '\n') + "<vmap:AdBreak timeOffset='start'/>"));
  EXPECT_EQ(far.warnings.at(0).line, std::nullopt) << "the parser counts no further than 65,535";
  EXPECT_EQ(reading.warnings[1000], (TarnLumoWarning{std::nullopt, "501 more warnings were left out."}));
}

}  // namespace
