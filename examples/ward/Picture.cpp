#include "Picture.h"

#include <array>
#include <cstdio>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"

namespace ward {

using namespace perlayer;

namespace {

// One beat: for each column the highest and the lowest row that is black.
struct TColumn {
  int top;
  int bottom;
};
constexpr std::array<TColumn, 16> kBeat = {{{5, 5},
                                            {5, 5},
                                            {4, 5},
                                            {4, 4},
                                            {4, 5},
                                            {5, 5},
                                            {5, 6},
                                            {0, 6},
                                            {0, 8},
                                            {5, 8},
                                            {5, 5},
                                            {4, 5},
                                            {3, 4},
                                            {3, 4},
                                            {4, 5},
                                            {5, 5}}};
constexpr int kHeight = 9;
constexpr int kBits = 8;

constexpr unsigned Bit(int x) { return 0x80u >> (x % kBits); }

}  // namespace

std::string DrawPulse(int beats) {
  const int width = beats * static_cast<int>(kBeat.size());
  std::string bitmap = Format("P4\n%d %d\n", width, kHeight);
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < width; x += kBits) {
      unsigned byte = 0;
      for (int i = x; i < x + kBits; ++i) {
        const TColumn& column = kBeat[static_cast<std::size_t>(i) % kBeat.size()];
        if (y >= column.top && y <= column.bottom) byte |= Bit(i);
      }
      bitmap += static_cast<char>(byte);
    }
  }
  return bitmap;
}

std::vector<std::string> PictureLines(std::string_view bitmap) {
  static constexpr int kLargest = 10000;
  int width = 0;
  int height = 0;
  int begin = 0;
  const std::string header(bitmap.substr(0, 32));
  const bool isBitmap = std::sscanf(header.c_str(), "P4 %5d %5d%n", &width, &height, &begin) == 2 &&
                        width > 0 && width <= kLargest && height > 0 && height <= kLargest;
  const auto rowSize = static_cast<std::size_t>((width + kBits - 1) / kBits);
  if (!isBitmap || bitmap.size() != static_cast<std::size_t>(begin) + 1 +
                                        rowSize * static_cast<std::size_t>(height)) {
    throw Exception("expected a bitmap of the PBM format, found something else");
  }
  bitmap.remove_prefix(static_cast<std::size_t>(begin) + 1);
  std::vector<std::string> lines;
  for (int y = 0; y < height; ++y) {
    const std::string_view row = bitmap.substr(static_cast<std::size_t>(y) * rowSize, rowSize);
    std::string line;
    for (int x = 0; x < width; ++x) {
      const auto byte = static_cast<unsigned char>(row[static_cast<std::size_t>(x / kBits)]);
      line += (byte & Bit(x)) != 0 ? '#' : ' ';
    }
    lines.emplace_back(TrimRight(line));
  }
  return lines;
}

}  // namespace ward
