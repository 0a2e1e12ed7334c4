#pragma once

#include <string_view>

namespace tarn::cli {

inline constexpr double kPageWidth = 1280;
inline constexpr double kPageMargin = 40;
inline constexpr double kDrawingWidth = kPageWidth - 2 * kPageMargin;

inline constexpr double kSmallFont = 10;
inline constexpr double kTextFont = 12;

inline constexpr std::string_view kPictureStyleSheet = R"(
text { font-family: Inter, "Helvetica Neue", Arial, "DejaVu Sans", sans-serif; font-size: 12px; fill: #243b53; }
.page { fill: #ffffff; }
.headline { font-size: 19px; font-weight: 600; fill: #102a43; }
.heading { font-size: 13px; font-weight: 600; fill: #102a43; }
.faint { fill: #627d98; }
.small { font-size: 10px; fill: #486581; }
.middle { text-anchor: middle; }
.end { text-anchor: end; }
.rule { stroke: #d9e2ec; stroke-width: 1; }
.tick { stroke: #9fb3c8; stroke-width: 1; }
.track { fill: #f0f4f8; }
.content { fill: #cfe1f5; stroke: #7ea6d3; stroke-width: 0.6; }
.collapse { fill: #eaf2fb; }
.fold { stroke: #d97b1f; stroke-width: 2; }
.break { fill: #f0a33e; }
.tint1 { fill-opacity: 0.1; } .tint2 { fill-opacity: 0.2; } .tint3 { fill-opacity: 0.3; }
.tint4 { fill-opacity: 0.4; } .tint5 { fill-opacity: 0.5; } .tint6 { fill-opacity: 0.6; }
.tint7 { fill-opacity: 0.7; } .tint8 { fill-opacity: 0.8; } .tint9 { fill-opacity: 0.9; }
.ad { fill: #f7c67f; stroke: #ffffff; stroke-width: 1; }
.ad.other { fill: #f2ae62; }
.skippable { fill: url(#hatch); }
.adlabel { font-size: 11px; font-weight: 600; fill: #4a2c00; }
.adnote { font-size: 10px; fill: #6b4710; }
.event { stroke: #6b4fa0; stroke-width: 1.4; }
.eventlabel { font-size: 10px; fill: #553c86; paint-order: stroke; stroke: #ffffff; stroke-width: 3px; }
.skip { stroke: #c0392b; stroke-width: 1.4; }
.skiplabel { font-size: 10px; fill: #a5281b; paint-order: stroke; stroke: #ffffff; stroke-width: 3px; }
.pole { stroke: #0b7a53; stroke-width: 1.4; }
.flag { fill: #12a36f; }
.panel { fill: #fffaeb; stroke: #f0d58c; stroke-width: 1; }
.panel.alarm { fill: #fdf1f0; stroke: #eab5ae; }
)";

inline constexpr std::string_view kPictureDefinitions =
    R"x(<pattern id="hatch" width="6" height="6" patternUnits="userSpaceOnUse" patternTransform="rotate(45)">)x"
    R"x(<rect width="2" height="6" fill="#ffffff" fill-opacity="0.45"/></pattern>)x";

}  // namespace tarn::cli
