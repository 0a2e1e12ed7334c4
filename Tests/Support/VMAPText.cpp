#include "Support/VMAPText.h"

#include <fmt/format.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace tarn::test {
namespace {

std::string clockText(double seconds) {
  const int minutes = static_cast<int>(seconds) / 60;
  return fmt::format("{:02}:{:02}:{:06.3f}", minutes / 60, minutes % 60, seconds - 60 * minutes);
}

std::string trackingEvents(const std::string& beacons, double duration) {
  const auto event = [&](std::string_view name, const std::string& attributes = {}) {
    return fmt::format("<Tracking event='{0}' {1}>{2}{0}</Tracking>", name, attributes, beacons);
  };
  std::string events;
  for (const auto* name : {"creativeView", "complete", "skip"}) events += event(name);
  double offset = 0;
  for (const auto* name : {"start", "firstQuartile", "midpoint", "thirdQuartile"}) {
    events += event(name, fmt::format("offset='{}'", offset));
    offset += duration / 4;
  }
  return "<TrackingEvents>" + events + "</TrackingEvents>";
}

std::string drawnAd(char letter, double duration, const VMAPDrawing& options) {
  const auto beacons = fmt::format("{}{}-", options.beacons, letter);
  const auto content = trackingEvents(beacons, duration) + options.linearContent;
  return fmt::format(
      "<Ad id='{0}'><InLine><AdTitle>Ad {0}</AdTitle><Impression>{1}impression</Impression>"
      "<Creatives>{2}</Creatives>{3}</InLine></Ad>",
      letter, beacons, linear(clockText(duration), content, options.linearAttributes), options.inLineContent);
}

std::string drawnExtensions(double payloadLength, double contentLength, const VMAPDrawing& options) {
  std::string impressions;
  for (const double time : options.contentImpressions) {
    impressions += fmt::format("<mh:Impression url='{0}impression-{1}' time='{1}'/>", options.beacons, time);
  }
  return fmt::format(
      "<mh:Marlith contenturi='http://stream.example/m.m3u8' payloadlength='{}' contentlength='{}'/>"
      "<mh:contentImpressions>{}</mh:contentImpressions>",
      payloadLength, options.contentLength.value_or(contentLength), impressions);
}

}  // namespace

std::string vmap(std::string_view definitions, std::string_view extensions, std::string_view breaks) {
  return fmt::format("<vmap:VMAP {}>\n<vmap:Extensions>{}</vmap:Extensions>\n{}\n</vmap:VMAP>", definitions,
                     extensions, breaks);
}

std::string vmap(std::string_view breaks) {
  return vmap(
      "xmlns:vmap='http://www.iab.net/videosuite/vmap' xmlns:mh='urn:mh'",
      "<mh:Marlith contenturi='https://stream.example/m.m3u8' payloadlength='660' contentlength='600'/>",
      breaks);
}

std::string adBreak(std::string_view timeOffset, std::string_view ads) {
  return fmt::format(
      "<vmap:AdBreak timeOffset='{}'><vmap:AdSource><vmap:VASTAdData><VAST>{}</VAST></vmap:VASTAdData>"
      "</vmap:AdSource></vmap:AdBreak>",
      timeOffset, ads);
}

std::string ad(std::string_view id, std::string_view creatives) {
  return fmt::format("<Ad id='{}'><InLine><Creatives>{}</Creatives></InLine></Ad>", id, creatives);
}

std::string linear(std::string_view duration, std::string_view content, std::string_view attributes) {
  return fmt::format("<Creative><Linear {}><Duration>{}</Duration>{}</Linear></Creative>", attributes,
                     duration, content);
}

std::string simpleBreak(std::string_view timeOffset, std::string_view duration, std::string_view id) {
  return adBreak(timeOffset, ad(id, linear(duration)));
}

std::string drawVMAP(std::string_view drawing, const VMAPDrawing& options) {
  const double cell = options.secondsPerCell;
  double content = 0;
  std::string breaks;
  for (std::size_t at = 0, length = 0; at < drawing.size(); at += length) {
    length = std::min(drawing.find_first_not_of(drawing[at], at), drawing.size()) - at;
    const double duration = static_cast<double>(length) * cell;
    if (drawing[at] == '.') {
      content += duration;
    } else {
      const bool isPostRoll = content > 0 && drawing.find('.', at) == std::string_view::npos;
      breaks += adBreak(isPostRoll ? "end" : clockText(content), drawnAd(drawing[at], duration, options));
    }
  }
  return vmap("xmlns:vmap='http://www.iab.net/videosuite/vmap' xmlns:mh='urn:mh'",
              drawnExtensions(static_cast<double>(drawing.size()) * cell, content, options), breaks);
}

std::string sample(std::string_view name) {
  std::ifstream file(std::string(KYR_SAMPLES "/").append(name), std::ios::binary);
  if (!file) throw std::runtime_error("no sample " + std::string(name));
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace tarn::test
