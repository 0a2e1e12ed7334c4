#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace tarn::cli {

struct Point {
  double x;
  double y;
};

struct Box {
  double x;
  double y;
  double width;
  double height;
};

/// Collects the shapes of a picture. `style` names classes of the picture's style sheet; texts may be hostile
/// and are escaped here.
class SvgWriter {
 public:
  void rectangle(const Box& box, std::string_view style, std::string_view tooltip = {});
  void line(Point from, Point to, std::string_view style);
  void polygon(std::initializer_list<Point> points, std::string_view style, std::string_view tooltip = {});
  /// `at` is the text's anchor on its base line.
  void text(Point at, std::string_view style, std::string_view text);

  /// The whole document; `description` is for screen readers.
  [[nodiscard]] std::string document(double width, double height, std::string_view styleSheet,
                                     std::string_view definitions, std::string_view description) const;

 private:
  std::string shapes_;
};

/// `text` cut so that it takes about `width` at a font size.
[[nodiscard]] std::string fitted(std::string_view text, double width, double fontSize);
/// The approximate width of `text` at a font size; the exact one depends on the reader's fonts.
[[nodiscard]] double textWidth(std::string_view text, double fontSize);

}  // namespace tarn::cli
