#include "perlayer/provider/TValueRow.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <functional>
#include <limits>
#include <stdexcept>

#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

constexpr std::size_t kWord = sizeof(std::uint32_t);
// A written row is written again before long, and values grow by little.
constexpr std::size_t kSpareBytes = 32;

constexpr std::size_t kSpareBytesPerValue = 16;  // of a row that begins empty

std::size_t RoomFor(std::size_t bytes) { return bytes + bytes / 4 + kSpareBytes; }

}  // namespace

std::unique_ptr<std::uint32_t[]> TValueRow::NewBlock(std::size_t count, std::size_t room) {
  if (room > std::numeric_limits<std::uint32_t>::max()) {
    throw std::length_error("A row of values is larger than 4 GB");
  }
  auto block =
      std::make_unique_for_overwrite<std::uint32_t[]>(kHead + count + (room + kWord - 1) / kWord);
  block[0] = static_cast<std::uint32_t>(count);
  block[1] = static_cast<std::uint32_t>(room);
  return block;
}

TValueRow::TValueRow(const TValueRow& other) { *this = other; }

TValueRow& TValueRow::operator=(const TValueRow& other) {
  if (this == &other) return *this;
  if (other.FBlock == nullptr) {
    FBlock.reset();
    return *this;
  }
  const std::size_t count = other.FBlock[0];
  const std::size_t bytes = other.ByteCount();
  auto block = NewBlock(count, bytes);
  std::memcpy(block.get() + kHead, other.FBlock.get() + kHead, count * kWord + bytes);
  FBlock = std::move(block);
  return *this;
}

// So many bytes of values would leave too much of the block unused.
bool TValueRow::IsRoomy(std::size_t bytes) const {
  return FBlock[1] > 2 * RoomFor(bytes) + kSpareBytesPerValue * FBlock[0];
}

bool TValueRow::Holds(std::string_view text) const {
  const std::less_equal<const char*> notBehind;
  return notBehind(Bytes(), text.data()) && notBehind(text.data(), Bytes() + ByteCount());
}

TValueRow TValueRow::With(int index, std::string_view value) const {
  const std::string_view old = At(index);
  const std::size_t count = FBlock[0];
  const std::size_t total = ByteCount();
  const auto offset = static_cast<std::size_t>(old.data() - Bytes());
  TValueRow row;
  const std::size_t newTotal = total - old.size() + value.size();
  const std::size_t room = RoomFor(newTotal);
  row.FBlock = NewBlock(count, IsRoomy(newTotal) ? room : std::max<std::size_t>(room, FBlock[1]));
  char* const bytes = row.Bytes();
  std::memcpy(bytes, Bytes(), offset);
  value.copy(bytes + offset, value.size());
  std::memcpy(bytes + offset + value.size(), old.data() + old.size(), total - offset - old.size());
  const auto shift = static_cast<std::uint32_t>(value.size() - old.size());  // wraps when shrinking
  const std::uint32_t* const ends = FBlock.get() + kHead;
  std::uint32_t* const newEnds = row.FBlock.get() + kHead;
  const auto at = static_cast<std::size_t>(index);
  for (std::size_t i = 0; i < at; ++i) newEnds[i] = ends[i];
  for (std::size_t i = at; i < count; ++i) newEnds[i] = ends[i] + shift;
  return row;
}

void TValueRow::Set(int index, std::string_view value) {
  const std::string_view old = At(index);
  const std::size_t count = FBlock[0];
  const std::size_t total = ByteCount();
  if (!HasRoom(index, value) || Holds(value)) {
    *this = With(index, value);
    return;
  }
  const auto offset = static_cast<std::size_t>(old.data() - Bytes());
  char* const place = Bytes() + offset;
  if (value.size() != old.size()) {
    std::memmove(place + value.size(), place + old.size(), total - offset - old.size());
    const auto shift = static_cast<std::uint32_t>(value.size() - old.size());
    std::uint32_t* const ends = FBlock.get() + kHead;
    for (std::size_t i = static_cast<std::size_t>(index); i < count; ++i) ends[i] += shift;
  }
  value.copy(place, value.size());
}

void TValueRow::AppendEmpty(int count) {
  const auto old = static_cast<std::size_t>(Count());
  const std::size_t bytes = FBlock == nullptr ? 0 : ByteCount();
  const std::size_t total = old + static_cast<std::size_t>(count);
  TValueRow row;
  row.FBlock = NewBlock(total, bytes + kSpareBytesPerValue * static_cast<std::size_t>(count));
  std::uint32_t* const ends = row.FBlock.get() + kHead;
  for (std::size_t i = 0; i < total; ++i) {
    ends[i] = i < old ? FBlock[kHead + i] : static_cast<std::uint32_t>(bytes);
  }
  if (bytes > 0) std::memcpy(row.Bytes(), Bytes(), bytes);
  *this = std::move(row);
}

std::size_t TValueRow::MemoryUsed() const {
  return FBlock == nullptr ? 0 : (kHead + FBlock[0] + (FBlock[1] + kWord - 1) / kWord) * kWord;
}

void TRowWriter::SpillEnd() {
  if (FEnds == kInlineEnds) FSpillEnds.assign(FInlineEnds, FInlineEnds + kInlineEnds);
  FSpillEnds.push_back(static_cast<std::uint32_t>(FSize));
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
  char buffer[kFloatRoom];
  Write({buffer, WriteFloat(buffer, value)});
}

TValueRow TRowWriter::Finish(int count) {
  const std::uint32_t* ends = FEnds > kInlineEnds ? FSpillEnds.data() : FInlineEnds;
  TValueRow row;
  row.FBlock = TValueRow::NewBlock(static_cast<std::size_t>(count), FSize);
  for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
    row.FBlock[TValueRow::kHead + i] = i < FEnds ? ends[i] : static_cast<std::uint32_t>(FSize);
  }
  if (FSize > 0) std::memcpy(row.Bytes(), FData, FSize);
  return row;
}

}  // namespace perlayer
