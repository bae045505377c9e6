#pragma once
// TValueRow: the values of a row as texts by position, in one block of memory. Belongs to the
// thread that owns the object around it.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace perlayer {

class TValueRow {
 public:
  TValueRow() = default;
  TValueRow(const TValueRow& other);
  TValueRow& operator=(const TValueRow& other);
  TValueRow(TValueRow&&) noexcept = default;
  TValueRow& operator=(TValueRow&&) noexcept = default;

  int Count() const { return FBlock == nullptr ? 0 : static_cast<int>(FBlock[0]); }
  // A view that lives until the row is written. REQUIRES: 0 <= index < Count().
  std::string_view At(int index) const {
    const std::uint32_t* ends = FBlock.get() + kHead;
    const std::uint32_t begin = index == 0 ? 0 : ends[index - 1];
    return {Bytes() + begin, ends[index] - begin};
  }
  // `value` may be a view into this row. A row that is written takes some room for further values.
  // REQUIRES: 0 <= index < Count()
  void Set(int index, std::string_view value);
  // Whether Set takes no memory for that value, which is no view into this row. REQUIRES: as there
  bool HasRoom(int index, std::string_view value) const {
    const std::size_t total = ByteCount() - At(index).size() + value.size();
    return total <= FBlock[1] && !IsRoomy(total);
  }
  // This row with another value. REQUIRES: 0 <= index < Count()
  TValueRow With(int index, std::string_view value) const;
  // Room for short values comes along.
  void AppendEmpty(int count);
  void Reset() { FBlock.reset(); }
  // Bytes of memory taken, beside the row itself.
  std::size_t MemoryUsed() const;

 private:
  friend class TRowWriter;
  // The block: the count, the bytes that it has room for, the end of each value, then the bytes of
  // all values.
  static constexpr std::size_t kHead = 2;
  const char* Bytes() const {
    return reinterpret_cast<const char*>(FBlock.get() + kHead + FBlock[0]);
  }
  char* Bytes() { return const_cast<char*>(static_cast<const TValueRow*>(this)->Bytes()); }
  std::size_t ByteCount() const { return FBlock[0] == 0 ? 0 : FBlock[kHead + FBlock[0] - 1]; }
  bool IsRoomy(std::size_t bytes) const;
  bool Holds(std::string_view text) const;
  static std::unique_ptr<std::uint32_t[]> NewBlock(std::size_t count, std::size_t room);

  std::unique_ptr<std::uint32_t[]> FBlock;
};

// Gathers the values of one row and makes the TValueRow at its exact size. A row of usual size is
// gathered without touching the heap.
class TRowWriter {
 public:
  // Ends the value under way: what has been written since the last call.
  void EndValue() {
    if (FEnds < kInlineEnds) {
      FInlineEnds[FEnds] = static_cast<std::uint32_t>(FSize);
    } else {
      SpillEnd();
    }
    ++FEnds;
  }
  void Write(std::string_view text) {
    if (FSize + text.size() > FCapacity) Grow(text.size());
    text.copy(FData + FSize, text.size());
    FSize += text.size();
  }
  void WriteValue(std::string_view text) {
    Write(text);
    EndValue();
  }
  // Numbers as stored values have them; point '.'.
  void WriteInteger(std::int64_t value);
  void WriteNumber(double value);
  // `count` values in all: what is missing is empty.
  TValueRow Finish(int count);

 private:
  static constexpr std::size_t kInline = 1024;
  static constexpr std::size_t kInlineEnds = 64;
  void Grow(std::size_t wanted);
  void SpillEnd();

  char FInline[kInline];
  std::uint32_t FInlineEnds[kInlineEnds];
  char* FData = FInline;
  std::size_t FSize = 0;
  std::size_t FCapacity = kInline;
  std::size_t FEnds = 0;
  std::vector<char> FSpill;
  std::vector<std::uint32_t> FSpillEnds;
};

}  // namespace perlayer
