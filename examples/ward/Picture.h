#pragma once
// A picture for the tour: a pulse, as a bitmap in the PBM format (P4: a text header, then a bit for
// each point, rows filled up to whole bytes).

#include <string>
#include <string_view>
#include <vector>

namespace ward {

// `beats` of them, side by side.
std::string DrawPulse(int beats);

// The picture for a terminal, a character for each point, but for what is white up to the right
// edge. Raises for bytes that are no such bitmap.
std::vector<std::string> PictureLines(std::string_view bitmap);

}  // namespace ward
