#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "Terminal/Terminal.h"

namespace tarn::cli {

enum class Align { left, right };

/// Rows of printable text in aligned columns. The last column is cut at the terminal's width.
class Table {
 public:
  struct Column {
    std::string_view title;
    Align align;
  };

  Table(std::initializer_list<Column> columns) : columns_(columns) {}

  /// One cell a column.
  void addRow(std::vector<std::string> cells, Style style = Style::plain);
  [[nodiscard]] std::string text(const Terminal& terminal) const;

 private:
  struct Row {
    std::vector<std::string> cells;
    Style style;
  };

  [[nodiscard]] std::vector<std::size_t> widths() const;

  std::vector<Column> columns_;
  std::vector<Row> rows_;
};

}  // namespace tarn::cli
