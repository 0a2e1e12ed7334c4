#pragma once

#include <string>
#include <vector>

#include "Document/Placement.h"

namespace tarn::cli {

/// Maps seconds of a span to the pixels of a drawing's width.
class TimeScale {
 public:
  /// `span` has a positive length.
  TimeScale(Span span, double left, double width) : span_(span), left_(left), width_(width) {}

  [[nodiscard]] double x(double seconds) const {
    return left_ + (seconds - span_.begin) / span_.length() * width_;
  }
  [[nodiscard]] double left() const { return left_; }
  [[nodiscard]] double right() const { return left_ + width_; }

  struct Tick {
    double x;
    std::string label;
  };
  /// About one for every 110 pixels, at round clock times.
  [[nodiscard]] std::vector<Tick> ticks() const;

 private:
  Span span_;
  double left_;
  double width_;
};

}  // namespace tarn::cli
