#pragma once
// What the fuzz targets share. A target is one file that defines Takes; a failed Require, a crash,
// a sanitizer's report, an exception that escapes or an object left behind ends the run.
//
// Every target runs in one layer, loaded once, under a clock that stands still.

#include <array>
#include <string>
#include <string_view>

namespace perlayer {

// Works on one input. Whether it was accepted rather than refused: the share of accepted inputs is
// printed when the run ends.
bool Takes(std::string_view input);

// Prints the property, and what is wrong, and aborts unless the condition holds.
void Require(bool condition, const char* property, std::string_view found = {});

// Cuts the input at its first bytes 0 into N texts; the last takes what is left, and those behind
// it are empty.
template <std::size_t N>
std::array<std::string_view, N> Pieces(std::string_view input) {
  std::array<std::string_view, N> pieces;
  for (std::size_t i = 0; i < N; ++i) {
    const std::size_t end = i + 1 < N ? input.find('\0') : input.npos;
    pieces[i] = input.substr(0, end);
    if (end == input.npos) break;
    input.remove_prefix(end + 1);
  }
  return pieces;
}

}  // namespace perlayer
