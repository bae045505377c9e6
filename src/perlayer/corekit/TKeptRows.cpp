#include "perlayer/corekit/TKeptRows.h"

#include <cstring>
#include <limits>

#include "perlayer/platform/Exception.h"

namespace perlayer {

namespace {

constexpr std::size_t kChunkSize = 64 * 1024;
constexpr std::size_t kNumberSize = 8;
using TEnd = std::uint32_t;

std::size_t SizeOf(const TCell& cell) {
  switch (cell.kind) {
    case TCellKind::null:
      return 0;
    case TCellKind::integer:
    case TCellKind::number:
      return kNumberSize;
    case TCellKind::text:
    case TCellKind::blob:
      break;
  }
  return cell.text.size();
}

TEnd EndAt(const std::byte* row, std::size_t column) {
  TEnd end;
  std::memcpy(&end, row + column * sizeof end, sizeof end);
  return end;
}

}  // namespace

std::size_t TKeptRows::RowSize(const std::byte* row) const {
  const std::size_t head = FColumns * (sizeof(TEnd) + 1);
  return head + (FColumns == 0 ? 0 : EndAt(row, FColumns - 1));
}

std::byte* TKeptRows::Allocate(std::size_t size) {
  if (size > FFreeSize) {
    // A large row has a chunk of its own.
    const std::size_t chunkSize = size > kChunkSize / 4 ? size : kChunkSize;
    FChunks.push_back({std::make_unique_for_overwrite<std::byte[]>(chunkSize), FRows.size()});
    std::byte* const chunk = FChunks.back().bytes.get();
    if (chunkSize != kChunkSize) return chunk;
    FFree = chunk;
    FFreeSize = chunkSize;
  }
  std::byte* const block = FFree;
  FFree += size;
  FFreeSize -= size;
  return block;
}

void TKeptRows::Append(TDriverStatement& statement) {
  FCells.resize(FColumns);
  std::size_t size = 0;
  for (std::size_t i = 0; i < FColumns; ++i) {
    statement.Cell(static_cast<int>(i), FCells[i]);
    size += SizeOf(FCells[i]);
  }
  if (size > std::numeric_limits<TEnd>::max()) {
    throw EDatabaseError(TDatabaseErrorKind::other, 0, "A row of more than 4 GB cannot be kept",
                         "");
  }
  FRows.reserve(FRows.size() == FRows.capacity() ? 2 * FRows.size() + 16 : 0);
  std::byte* const row = Allocate(FColumns * (sizeof(TEnd) + 1) + size);
  std::byte* const kinds = row + FColumns * sizeof(TEnd);
  std::byte* const bytes = kinds + FColumns;
  TEnd end = 0;
  for (std::size_t i = 0; i < FColumns; ++i) {
    const TCell& cell = FCells[i];
    kinds[i] = static_cast<std::byte>(cell.kind);
    const auto cellSize = static_cast<TEnd>(SizeOf(cell));
    const void* const source = cell.kind == TCellKind::integer ? &cell.integer
                               : cell.kind == TCellKind::number
                                   ? static_cast<const void*>(&cell.number)
                                   : cell.text.data();
    if (cellSize > 0) std::memcpy(bytes + end, source, cellSize);
    end += cellSize;
    std::memcpy(row + i * sizeof end, &end, sizeof end);
  }
  FRows.push_back(row);
}

void TKeptRows::Cell(std::size_t row, int column, TCell& cell) const {
  const auto index = static_cast<std::size_t>(column);
  cell = TCell();
  if (index >= FColumns) return;
  const std::byte* const data = FRows[row];
  const TEnd begin = index == 0 ? 0 : EndAt(data, index - 1);
  const std::byte* const bytes = data + FColumns * (sizeof(TEnd) + 1) + begin;
  cell.kind = static_cast<TCellKind>(data[FColumns * sizeof(TEnd) + index]);
  if (cell.kind == TCellKind::integer) {
    std::memcpy(&cell.integer, bytes, kNumberSize);
  } else if (cell.kind == TCellKind::number) {
    std::memcpy(&cell.number, bytes, kNumberSize);
  } else {
    cell.text = {reinterpret_cast<const char*>(bytes), EndAt(data, index) - begin};
  }
}

bool TKeptRows::Equal(std::size_t row, const TKeptRows& other, std::size_t otherRow) const {
  const std::size_t size = RowSize(FRows[row]);
  return size == other.RowSize(other.FRows[otherRow]) &&
         std::memcmp(FRows[row], other.FRows[otherRow], size) == 0;
}

void TKeptRows::Truncate(std::size_t rows) {
  FRows.resize(rows);
  while (!FChunks.empty() && FChunks.back().firstRow >= rows) {
    FChunks.pop_back();
    FFree = nullptr;
    FFreeSize = 0;
  }
}

void TKeptRows::Prepend(TKeptRows& front) {
  FChunks.reserve(FChunks.size() + front.FChunks.size());
  FRows.insert(FRows.begin(), front.FRows.begin(), front.FRows.end());
  for (auto& chunk : front.FChunks) FChunks.push_back(std::move(chunk));
  front.FRows.clear();
  front.FChunks.clear();
  front.FFree = nullptr;
  front.FFreeSize = 0;
}

}  // namespace perlayer
