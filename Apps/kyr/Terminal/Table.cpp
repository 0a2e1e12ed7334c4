#include "Terminal/Table.h"

#include <algorithm>

#include "Terminal/Text.h"

namespace tarn::cli {
namespace {

constexpr std::string_view kGap = "  ";
constexpr std::size_t kNarrowestLastColumn = 16;

std::string aligned(const std::string& cell, std::size_t width, Align align) {
  const std::size_t taken = columns(cell);
  const std::string padding(width > taken ? width - taken : 0, ' ');
  return align == Align::right ? padding + cell : cell + padding;
}

}  // namespace

void Table::addRow(std::vector<std::string> cells, Style style) {
  rows_.push_back({std::move(cells), style});
}

std::vector<std::size_t> Table::widths() const {
  std::vector<std::size_t> result;
  result.reserve(columns_.size());
  for (const auto& column : columns_) result.push_back(columns(column.title));
  for (const auto& row : rows_) {
    for (std::size_t i = 0; i < row.cells.size(); ++i) result[i] = std::max(result[i], columns(row.cells[i]));
  }
  return result;
}

std::string Table::text(const Terminal& terminal) const {
  auto width = widths();
  std::size_t fixed = 0;
  for (std::size_t i = 0; i + 1 < width.size(); ++i) fixed += width[i] + kGap.size();
  fixed += kGap.size();
  const std::size_t left = terminal.width > fixed ? terminal.width - fixed : 0;
  width.back() = std::min(width.back(), std::max(left, kNarrowestLastColumn));

  const auto line = [&](const auto& cellAt, Style style) {
    std::string text;
    for (std::size_t i = 0; i < width.size(); ++i) {
      text += kGap;
      text += aligned(clipped(cellAt(i), width[i]), width[i], columns_[i].align);
    }
    text.erase(text.find_last_not_of(' ') + 1);
    return terminal.styled(text, style) + "\n";
  };
  std::string result = line([this](std::size_t i) { return std::string(columns_[i].title); }, Style::faint);
  for (const auto& row : rows_) {
    result += line([&row](std::size_t i) { return row.cells[i]; }, row.style);
  }
  return result;
}

}  // namespace tarn::cli
