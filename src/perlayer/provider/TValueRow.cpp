#include "perlayer/provider/TValueRow.h"

#include <charconv>
#include <cstring>
#include <limits>
#include <stdexcept>

#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {
constexpr std::size_t kWord = sizeof(std::uint32_t);

std::size_t Words(std::size_t count, std::size_t bytes) {
  return 1 + count + (bytes + kWord - 1) / kWord;
}
}  // namespace

std::unique_ptr<std::uint32_t[]> TValueRow::NewBlock(std::size_t count, std::size_t bytes) {
  if (bytes > std::numeric_limits<std::uint32_t>::max()) {
    throw std::length_error("A row of values is larger than 4 GB");
  }
  auto block = std::make_unique_for_overwrite<std::uint32_t[]>(Words(count, bytes));
  block[0] = static_cast<std::uint32_t>(count);
  return block;
}

TValueRow::TValueRow(const TValueRow& other) { *this = other; }

TValueRow& TValueRow::operator=(const TValueRow& other) {
  if (this == &other) return *this;
  if (other.FBlock == nullptr) {
    FBlock.reset();
    return *this;
  }
  auto block = NewBlock(other.FBlock[0], other.ByteCount());
  std::memcpy(block.get(), other.FBlock.get(), (1 + other.FBlock[0]) * kWord + other.ByteCount());
  FBlock = std::move(block);
  return *this;
}

void TValueRow::Set(int index, std::string_view value) {
  const std::string_view old = At(index);
  const std::size_t offset = static_cast<std::size_t>(old.data() - Bytes());
  if (old.size() == value.size()) {
    std::memmove(Bytes() + offset, value.data(), value.size());
    return;
  }
  const std::size_t count = FBlock[0];
  const std::size_t total = ByteCount();
  const std::size_t behind = total - offset - old.size();
  auto block = NewBlock(count, total - old.size() + value.size());
  char* bytes = reinterpret_cast<char*>(block.get() + 1 + count);
  std::memcpy(bytes, Bytes(), offset);
  std::memcpy(bytes + offset, value.data(), value.size());
  std::memcpy(bytes + offset + value.size(), old.data() + old.size(), behind);
  const auto shift = static_cast<std::uint32_t>(value.size() - old.size());  // wraps when shrinking
  for (std::size_t i = 1; i <= count; ++i) {
    block[i] = FBlock[i] + (i > static_cast<std::size_t>(index) ? shift : 0);
  }
  FBlock = std::move(block);
}

void TValueRow::AppendEmpty(int count) {
  const auto old = static_cast<std::size_t>(Count());
  const std::size_t bytes = FBlock == nullptr ? 0 : ByteCount();
  auto block = NewBlock(old + static_cast<std::size_t>(count), bytes);
  for (std::size_t i = 1; i < block[0] + std::size_t{1}; ++i) {
    block[i] = i <= old ? FBlock[i] : static_cast<std::uint32_t>(bytes);
  }
  if (bytes > 0) std::memcpy(block.get() + 1 + block[0], Bytes(), bytes);
  FBlock = std::move(block);
}

std::size_t TValueRow::MemoryUsed() const {
  return FBlock == nullptr ? 0 : Words(FBlock[0], ByteCount()) * kWord;
}

void TRowWriter::EndValue() {
  if (FEnds == kInlineEnds) FSpillEnds.assign(FInlineEnds, FInlineEnds + kInlineEnds);
  if (FEnds < kInlineEnds) {
    FInlineEnds[FEnds] = static_cast<std::uint32_t>(FSize);
  } else {
    FSpillEnds.push_back(static_cast<std::uint32_t>(FSize));
  }
  ++FEnds;
}

void TRowWriter::Grow(std::size_t wanted) {
  std::vector<char> larger(2 * (FSize + wanted));
  std::memcpy(larger.data(), FData, FSize);
  FSpill.swap(larger);
  FData = FSpill.data();
  FCapacity = FSpill.size();
}

void TRowWriter::WriteInteger(std::int64_t value) {
  char digits[24];
  const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  Write({digits, static_cast<std::size_t>(end - digits)});
}

void TRowWriter::WriteNumber(double value) {
  // Most numbers of a database are whole.
  if (value > -1e15 && value < 1e15 &&
      value == static_cast<double>(static_cast<std::int64_t>(value))) {
    return WriteInteger(static_cast<std::int64_t>(value));
  }
  std::string text;
  AppendFloat(text, value);
  Write(text);
}

TValueRow TRowWriter::Finish(int count) {
  const std::uint32_t* ends = FEnds > kInlineEnds ? FSpillEnds.data() : FInlineEnds;
  TValueRow row;
  row.FBlock = TValueRow::NewBlock(static_cast<std::size_t>(count), FSize);
  for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
    row.FBlock[i + 1] = i < FEnds ? ends[i] : static_cast<std::uint32_t>(FSize);
  }
  if (FSize > 0) std::memcpy(row.Bytes(), FData, FSize);
  return row;
}

}  // namespace perlayer
