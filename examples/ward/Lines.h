#pragma once
// Texts for a terminal. Widths are the places that a text takes there: a mark on a letter takes
// none, a letter of East Asian scripts two.

#include <string>
#include <string_view>
#include <vector>

namespace ward {

// The lines of a message; any of CR, LF and CR LF ends one. Empty lines at the end are left out.
std::vector<std::string> Lines(std::string_view text);

// The words of one line in lines of at most `width`; a word that is longer stands alone.
std::vector<std::string> WrapLine(std::string_view line, std::size_t width);

void PrintLines(const std::vector<std::string>& lines);  // to the standard output

std::size_t DisplayWidth(std::string_view text);

// The text on one line, and nothing in it that moves the cursor or colours the screen: line ends
// are arrows, tabs blanks, other control characters points; what is no UTF-8 is U+FFFD.
std::string OneLine(std::string_view text);

// At most `width` of a text that OneLine gave; what was cut leaves an ellipsis.
std::string CutToWidth(std::string_view text, std::size_t width);

// Both with the separator between them, or the one that is not empty.
std::string JoinFilled(const std::string& a, std::string_view separator, const std::string& b);

}  // namespace ward
