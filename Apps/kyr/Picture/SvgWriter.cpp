#include "Picture/SvgWriter.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>

#include "Platform/Text.h"
#include "Terminal/Text.h"

namespace tarn::cli {
namespace {

/// The mean character width of a wide sans-serif font (DejaVu).
constexpr double kCharacterWidth = 0.6;

/// Printable text holds no characters that XML forbids but these two.
std::string escaped(std::string_view raw) {
  const std::string text = printable(raw);
  std::string result;
  for (std::size_t i = 0; i < text.size();) {
    const char32_t c = nextCodePoint(text, i);
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      case 0xFFFE:
      case 0xFFFF:
        appendCodePoint(result, 0xFFFD);
        break;
      default:
        appendCodePoint(result, c);
    }
  }
  return result;
}

/// A tenth of a pixel is below what is visible.
double rounded(double value) {
  return std::round(value * 10.0) / 10.0;
}

std::string closed(std::string_view element, std::string_view tooltip) {
  if (tooltip.empty()) return "/>\n";
  return fmt::format("><title>{}</title></{}>\n", escaped(tooltip), element);
}

}  // namespace

void SvgWriter::rectangle(const Box& box, std::string_view style, std::string_view tooltip) {
  fmt::format_to(std::back_inserter(shapes_), R"(<rect class="{}" x="{}" y="{}" width="{}" height="{}")",
                 style, rounded(box.x), rounded(box.y), rounded(std::max(box.width, 0.0)),
                 rounded(std::max(box.height, 0.0)));
  shapes_ += closed("rect", tooltip);
}

void SvgWriter::line(Point from, Point to, std::string_view style) {
  fmt::format_to(std::back_inserter(shapes_), R"(<line class="{}" x1="{}" y1="{}" x2="{}" y2="{}"/>)", style,
                 rounded(from.x), rounded(from.y), rounded(to.x), rounded(to.y));
  shapes_.push_back('\n');
}

void SvgWriter::polygon(std::initializer_list<Point> points, std::string_view style,
                        std::string_view tooltip) {
  fmt::format_to(std::back_inserter(shapes_), R"(<polygon class="{}" points=")", style);
  for (const auto& point : points) {
    fmt::format_to(std::back_inserter(shapes_), "{},{} ", rounded(point.x), rounded(point.y));
  }
  shapes_.back() = '"';
  shapes_ += closed("polygon", tooltip);
}

void SvgWriter::text(Point at, std::string_view style, std::string_view text) {
  fmt::format_to(std::back_inserter(shapes_), R"(<text class="{}" x="{}" y="{}">{}</text>)", style,
                 rounded(at.x), rounded(at.y), escaped(text));
  shapes_.push_back('\n');
}

std::string SvgWriter::document(double width, double height, std::string_view styleSheet,
                                std::string_view definitions, std::string_view description) const {
  return fmt::format(
      "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"{0}\" height=\"{1}\" viewBox=\"0 0 {0} {1}\" "
      "role=\"img\">\n<title>{2}</title>\n<style>{3}</style>\n<defs>{4}</defs>\n"
      "<rect class=\"page\" width=\"{0}\" height=\"{1}\"/>\n{5}</svg>\n",
      rounded(width), rounded(height), escaped(description), styleSheet, definitions, shapes_);
}

std::string fitted(std::string_view text, double width, double fontSize) {
  return clipped(printable(text),
                 static_cast<std::size_t>(std::max(0.0, width / (fontSize * kCharacterWidth))));
}

double textWidth(std::string_view text, double fontSize) {
  return static_cast<double>(columns(text)) * fontSize * kCharacterWidth;
}

}  // namespace tarn::cli
