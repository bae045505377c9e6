#include "TextTable.h"

#include <algorithm>

#include "Lines.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Text.h"

namespace ward {

using namespace perlayer;

namespace {
constexpr std::string_view kGap = "  ";
constexpr std::size_t kNarrowest = 12;  // no column of texts is cut below
}  // namespace

TTextTable::TTextTable(std::vector<TColumn> columns) : FColumns(std::move(columns)) {
  TRow titles;
  for (const TColumn& column : FColumns) titles.push_back(column.title);
  Add(std::move(titles));
}

void TTextTable::Add(std::vector<std::string> cells) {
  Assert(cells.size() == FColumns.size(), "TTextTable: a row has as many cells as columns");
  for (std::string& cell : cells) cell = OneLine(cell);
  FRows.push_back(std::move(cells));
}

std::vector<std::size_t> TTextTable::Widths(std::size_t limit) const {
  std::vector<std::size_t> widths(FColumns.size(), 1);
  for (const TRow& row : FRows) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::max(widths[i], DisplayWidth(row[i]));
    }
  }
  if (limit == 0) return widths;
  std::size_t total = (widths.size() - 1) * kGap.size();
  for (const std::size_t width : widths) total += width;
  for (; total > limit; --total) {
    std::size_t* widest = nullptr;
    for (std::size_t i = 0; i < widths.size(); ++i) {
      const bool canGive = FColumns[i].content == TContent::text && widths[i] > kNarrowest;
      if (canGive && (widest == nullptr || widths[i] > *widest)) widest = &widths[i];
    }
    if (widest == nullptr) break;
    --*widest;
  }
  return widths;
}

std::vector<std::string> TTextTable::Lines(std::size_t width) const {
  const std::vector<std::size_t> widths = Widths(width);
  TRow rule;
  for (const std::size_t columnWidth : widths) rule.push_back(std::string(columnWidth, '-'));
  std::vector<std::string> lines;
  for (const TRow& row : FRows) {
    lines.push_back(Line(row, widths));
    if (lines.size() == 1) lines.push_back(Line(rule, widths));
  }
  return lines;
}

std::string TTextTable::Line(const TRow& row, const std::vector<std::size_t>& widths) const {
  std::string line;
  for (std::size_t i = 0; i < row.size(); ++i) {
    if (i > 0) line += kGap;
    const std::string cell = CutToWidth(row[i], widths[i]);
    const std::string fill(widths[i] - DisplayWidth(cell), ' ');
    line += FColumns[i].content == TContent::number ? fill + cell : cell + fill;
  }
  return std::string(TrimRight(line));
}

std::string Counted(std::size_t count, const std::string& noun) {
  if (count == 0) return "no " + noun + "s";
  return IntToStr(static_cast<std::int64_t>(count)) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace ward
