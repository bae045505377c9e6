#pragma once
// TPatternStream: a stream of any size that takes no memory. What it gives are the bytes of a
// pattern; what is written to it has to be the same bytes.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TStream.h"

namespace perlayer {

class TPatternStream : public TStream {
 public:
  explicit TPatternStream(std::int64_t size = 0) : FSize(size), FTold(size) {}

  // It says that it has another size than it gives.
  void Tell(std::int64_t size) { FTold = size; }
  // Nothing can be read from, or written to, that position on.
  void FailAt(std::int64_t position) { FFailAt = position; }
  int WrongBytes() const { return FWrongBytes; }

  static char ByteAt(std::int64_t position) {
    return static_cast<char>('a' + (position ^ position >> 8 ^ position >> 16) % 26);
  }
  static std::string Text(std::int64_t size) {
    std::string text(static_cast<std::size_t>(size), ' ');
    for (std::size_t i = 0; i < text.size(); ++i) text[i] = ByteAt(static_cast<std::int64_t>(i));
    return text;
  }

  std::size_t Read(void* buffer, std::size_t size) override {
    const auto left = static_cast<std::size_t>(std::max<std::int64_t>(FSize - FPosition, 0));
    size = std::min(size, left);
    Pass(size);
    for (std::size_t i = 0; i < size; ++i) static_cast<char*>(buffer)[i] = ByteAt(FPosition++);
    return size;
  }
  void Write(const void* buffer, std::size_t size) override {
    Pass(size);
    for (std::size_t i = 0; i < size; ++i) {
      FWrongBytes += static_cast<const char*>(buffer)[i] != ByteAt(FPosition++);
    }
    FTold = FSize = std::max(FSize, FPosition);
  }
  std::int64_t Position() const override { return FPosition; }
  void Position(std::int64_t position) override { FPosition = position; }
  std::int64_t Size() const override { return FTold; }
  void Size(std::int64_t size) override { FTold = FSize = size; }
  std::string Name() const override { return "the pattern"; }

 private:
  void Pass(std::size_t size) const {
    if (FFailAt >= 0 && FPosition + static_cast<std::int64_t>(size) > FFailAt) {
      throw EStreamError("the pattern breaks off");
    }
  }

  std::int64_t FSize;
  std::int64_t FTold;
  std::int64_t FPosition = 0;
  std::int64_t FFailAt = -1;
  int FWrongBytes = 0;
};

}  // namespace perlayer
