#pragma once
// TTextTable: a table for people to read. A column is as wide as its widest cell; numbers stand to
// the right, all else to the left.

#include <cstddef>
#include <string>
#include <vector>

namespace ward {

class TTextTable {
 public:
  enum class TContent { text, number, date };
  struct TColumn {
    std::string title;
    TContent content = TContent::text;
  };

  explicit TTextTable(std::vector<TColumn> columns);

  // REQUIRES: as many cells as columns
  void Add(std::vector<std::string> cells);
  std::size_t RowCount() const { return FRows.size() - 1; }
  // The titles, a rule, the rows; no line ends in blanks. To come to at most `width`, unless that
  // is 0, texts are cut, the longest first; numbers and dates are not, nor are texts of a few
  // letters.
  std::vector<std::string> Lines(std::size_t width = 0) const;

 private:
  using TRow = std::vector<std::string>;
  std::vector<std::size_t> Widths(std::size_t limit) const;
  std::string Line(const TRow& row, const std::vector<std::size_t>& widths) const;

  std::vector<TColumn> FColumns;
  std::vector<TRow> FRows;  // the titles first
};

// "no rows", "1 row", "27 rows".
std::string Counted(std::size_t count, const std::string& noun);

}  // namespace ward
