#include "Demo/DemoDocument.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace tarn::cli {
namespace {

constexpr const char* kHead = R"(<?xml version="1.0" encoding="UTF-8"?>
<vmap:VMAP xmlns:vmap="http://www.iab.net/videosuite/vmap" xmlns:mh="http://kyr.invalid/mh" version="1.0">
  <vmap:Extensions>
    <mh:Marlith contenturi="{stream}" payloadlength="{payload}.0" contentlength="{content}.0"/>
    <mh:contentImpressions>
)";

constexpr const char* kImpression =
    R"(      <mh:Impression url="{base}/beacon/content/at-{time}?cb=[CACHEBUSTING]&amp;ts=[TIMESTAMP]" time="{time}.0"/>
)";

constexpr const char* kBreak =
    R"(  <vmap:AdBreak breakType="linear" breakId="{breakName}" timeOffset="{offset}">
    <vmap:AdSource id="{slug}" allowMultipleAds="false" followRedirects="false">
      <vmap:{data}>
        <VAST version="3.0">
{ad}        </VAST>
      </vmap:{data}>
    </vmap:AdSource>
  </vmap:AdBreak>
)";

constexpr const char* kAd = R"(          <Ad id="{adId}">
            <InLine>
              <AdSystem version="1.0">Kyr demo</AdSystem>
              <AdTitle>
                {title}
              </AdTitle>
              <Impression id="kyr">{impression}</Impression>
              <Impression id="partner">{partnerImpression}</Impression>
              <Creatives>
                <Creative id="{slug}-linear" sequence="1">
                  <Linear{skip}>
                    <CreativeExtensions>
                      <CreativeExtension type="brand">
                        <Brand colour="#{colour:06x}">{adId}</Brand>
                      </CreativeExtension>
                    </CreativeExtensions>
                    <Duration>{duration}</Duration>
                    <TrackingEvents>
{tracking}                    </TrackingEvents>
                    <VideoClicks>
                      <ClickThrough id="landing">{clickThrough}</ClickThrough>
                      <ClickTracking id="click">{clickTracking}</ClickTracking>
                    </VideoClicks>
                  </Linear>
                </Creative>
                <Creative id="{slug}-companions" sequence="1">
                  <CompanionAds>
                    <Companion id="banner" width="300" height="60">
                      <StaticResource creativeType="image/svg+xml">{banner}</StaticResource>
                      <TrackingEvents>
                        <Tracking event="creativeView">{companionView}</Tracking>
                      </TrackingEvents>
                      <CompanionClickThrough>{clickThrough}</CompanionClickThrough>
                      <CompanionClickTracking>{companionClick}</CompanionClickTracking>
                    </Companion>
                  </CompanionAds>
                </Creative>
              </Creatives>
              <Extensions>
                <Extension type="kyr-demo">
                  <Position break="{breakName}">{slug}</Position>
                </Extension>
              </Extensions>
            </InLine>
          </Ad>
)";

/// Seconds of content time.
constexpr std::array kImpressionTimes{1, 8, 20};

std::string clock(double seconds) {
  const int whole = static_cast<int>(seconds);
  return fmt::format("{:02}:{:02}:{:06.3f}", whole / 3600, whole / 60 % 60, std::fmod(seconds, 60));
}

/// One ad of the document, with URLs written as ad servers do.
class AdWriter {
 public:
  AdWriter(const DemoSection& section, std::string_view baseURL) : section_(section), base_(baseURL) {}

  [[nodiscard]] std::string write() const {
    const auto& picture = section_.picture;
    return fmt::format(
        kAd, fmt::arg("adId", section_.adId), fmt::arg("title", picture.title),
        fmt::arg("slug", section_.slug), fmt::arg("breakName", section_.breakName),
        fmt::arg("colour", picture.colour), fmt::arg("duration", clock(picture.seconds)),
        fmt::arg("skip", skipAttribute()), fmt::arg("impression", beacon("impression", 14)),
        fmt::arg("partnerImpression", beacon("partner-impression", 14)), fmt::arg("tracking", tracking()),
        fmt::arg("clickThrough", wrapped(fmt::format("{}/landing/{}", base_, section_.adId), 22)),
        fmt::arg("clickTracking", beacon("click", 22)),
        fmt::arg("banner", wrapped(fmt::format("{}/banner/{}.svg", base_, section_.adId), 22)),
        fmt::arg("companionView", beacon("companion-view", 24)),
        fmt::arg("companionClick", beacon("companion-click", 22)));
  }

 private:
  [[nodiscard]] static std::string wrapped(std::string_view url, int indentation) {
    return fmt::format("<![CDATA[\n{0:{1}}{2}\n{0:{3}}]]>", "", indentation + 2, url, indentation);
  }

  [[nodiscard]] std::string beacon(std::string_view event, int indentation) const {
    return wrapped(fmt::format("{}/beacon/{}/{}?ad={}&cb=[CACHEBUSTING]&ts=[TIMESTAMP]", base_, section_.slug,
                               event, section_.adId),
                   indentation);
  }

  [[nodiscard]] std::string skipAttribute() const {
    return section_.skipAfter > 0 ? fmt::format(" skipoffset=\"{}\"", clock(section_.skipAfter)) : "";
  }

  [[nodiscard]] std::string tracking() const {
    const double length = section_.picture.seconds;
    std::string text = event("creativeView") + event("start", 0) + event("firstQuartile", length / 4) +
                       event("midpoint", length / 2) + event("thirdQuartile", length * 3 / 4) +
                       event("complete");
    if (section_.skipAfter > 0) text += event("skip");
    return text;
  }

  [[nodiscard]] std::string event(std::string_view name) const {
    return fmt::format("                      <Tracking event=\"{}\">{}</Tracking>\n", name,
                       beacon(name, 22));
  }
  [[nodiscard]] std::string event(std::string_view name, double offset) const {
    return fmt::format("                      <Tracking event=\"{}\" offset=\"{}\">{}</Tracking>\n", name,
                       offset, beacon(name, 22));
  }

  const DemoSection& section_;
  const std::string_view base_;
};

int lengthOf(const std::vector<DemoSection>& sections, bool contentOnly) {
  int length = 0;
  for (const auto& section : sections) {
    if (!contentOnly || !section.isAd()) length += section.picture.seconds;
  }
  return length;
}

std::string offsetText(int contentTime, int contentLength) {
  if (contentTime == 0) return "start";
  return contentTime == contentLength ? "end" : clock(contentTime);
}

}  // namespace

std::string demoDocument(const DemoCut& cut, std::string_view baseURL, std::string_view streamURL) {
  const auto sections = demoSections(cut);
  const int contentLength = lengthOf(sections, true);
  std::string text =
      fmt::format(kHead, fmt::arg("stream", streamURL), fmt::arg("payload", lengthOf(sections, false)),
                  fmt::arg("content", contentLength));
  for (const int time : kImpressionTimes) {
    text += fmt::format(kImpression, fmt::arg("base", baseURL), fmt::arg("time", time));
  }
  text += "    </mh:contentImpressions>\n  </vmap:Extensions>\n";

  int contentTime = 0;
  for (const auto& section : sections) {
    if (!section.isAd()) {
      contentTime += section.picture.seconds;
      continue;
    }
    // Ad services write the element's name either way.
    const char* data = section.breakName.starts_with("mid") ? "VASTData" : "VASTAdData";
    text += fmt::format(kBreak, fmt::arg("breakName", section.breakName), fmt::arg("slug", section.slug),
                        fmt::arg("offset", offsetText(contentTime, contentLength)), fmt::arg("data", data),
                        fmt::arg("ad", AdWriter(section, baseURL).write()));
  }
  return text + "</vmap:VMAP>\n";
}

}  // namespace tarn::cli
