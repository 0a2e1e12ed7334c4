#include "Support/VMAPText.h"

#include <fmt/format.h>

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace tarn::test {

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

std::string sample(std::string_view name) {
  std::ifstream file(std::string(KYR_SAMPLES "/").append(name), std::ios::binary);
  if (!file) throw std::runtime_error("no sample " + std::string(name));
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace tarn::test
