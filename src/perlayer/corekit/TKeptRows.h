#pragma once
// TKeptRows: rows of a query in memory, read from the driver one by one. Each row is one block: the
// end of each cell among the row's bytes, the kinds, the bytes. Blocks lie in chunks and never
// move, so views of cells live as long as the rows.
//
// Belongs to the thread that made it.

#include <cstdint>
#include <memory>
#include <vector>

#include "perlayer/corekit/TDriver.h"

namespace perlayer {

class TKeptRows {
 public:
  explicit TKeptRows(std::size_t columns) : FColumns(columns) {}

  std::size_t Count() const { return FRows.size(); }
  // The row at which the statement stands. When it raises, nothing has been added.
  void Append(TDriverStatement& statement);
  void Cell(std::size_t row, int column, TCell& cell) const;
  bool Equal(std::size_t row, const TKeptRows& other, std::size_t otherRow) const;
  // Puts all rows of `front` before these; it is empty then. When it raises, both are as before.
  void Prepend(TKeptRows& front);
  // Forgets the rows behind. REQUIRES: rows <= Count(), and nothing has been put before them
  void Truncate(std::size_t rows);

 private:
  std::size_t RowSize(const std::byte* row) const;
  std::byte* Allocate(std::size_t size);

  struct TChunk {
    std::unique_ptr<std::byte[]> bytes;
    std::size_t firstRow;  // as it was made; no row before that one is in it
  };

  std::size_t FColumns;
  std::vector<const std::byte*> FRows;
  std::vector<TChunk> FChunks;
  std::byte* FFree = nullptr;  // in the last chunk of the usual size
  std::size_t FFreeSize = 0;
  std::vector<TCell> FCells;  // of the row being added
};

}  // namespace perlayer
