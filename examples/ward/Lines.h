#pragma once
// Texts for a terminal.

#include <string>
#include <string_view>
#include <vector>

namespace ward {

// The lines of a message; any of CR, LF and CR LF ends one. Empty lines at the end are left out.
std::vector<std::string> Lines(std::string_view text);

// The words of one line in lines of at most `width` characters; a word that is longer stands alone.
std::vector<std::string> WrapLine(std::string_view line, std::size_t width);

}  // namespace ward
