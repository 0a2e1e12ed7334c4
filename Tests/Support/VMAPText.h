#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarn::test {

/// A VMAP document around `breaks`, which begin on line 3. The extension (prefix "mh") has payload length 660
/// and content length 600.
[[nodiscard]] std::string vmap(std::string_view breaks);

/// The same around `extensions` and `breaks`; `definitions` are the root's attributes.
[[nodiscard]] std::string vmap(std::string_view definitions, std::string_view extensions,
                               std::string_view breaks);

/// An AdBreak with the given content of its VAST element.
[[nodiscard]] std::string adBreak(std::string_view timeOffset, std::string_view ads);

/// An Ad with the given content of its Creatives.
[[nodiscard]] std::string ad(std::string_view id, std::string_view creatives);

/// A creative with a Linear of that duration around `content`.
[[nodiscard]] std::string linear(std::string_view duration, std::string_view content = "",
                                 std::string_view attributes = "");

/// An AdBreak with one ad of that duration.
[[nodiscard]] std::string simpleBreak(std::string_view timeOffset, std::string_view duration,
                                      std::string_view id = "a");

struct VMAPDrawing {
  double secondsPerCell = 5;
  std::string linearAttributes = {};  ///< Of each ad, for example "skipoffset='00:00:02'".
  std::string linearContent = {};     ///< In each ad, for example VideoClicks.
  std::string inLineContent = {};     ///< In each ad, for example Extensions.
  /// Content times in seconds; the beacon of 2.5 is "impression-2.5".
  std::vector<double> contentImpressions = {};
  std::optional<double> contentLength = std::nullopt;  ///< A value that differs from the drawing's.
  std::string beacons = "http://t.example/";           ///< The prefix of each beacon's URL.
};

/// The document of a stream that is drawn as text, one character a cell of time: '.' is content, a run of one
/// letter is an ad with that id. Ads after all content are a post-roll.
///
/// The beacons of each ad are "a-impression", "a-creativeView", "a-start", "a-firstQuartile", "a-midpoint",
/// "a-thirdQuartile", "a-complete" and "a-skip".
[[nodiscard]] std::string drawVMAP(std::string_view drawing, const VMAPDrawing& options = {});

/// The text of a file in the sample folder.
[[nodiscard]] std::string sample(std::string_view name);

}  // namespace tarn::test
