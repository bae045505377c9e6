#pragma once
// The lines of class maps, as the builder, the check and the file format all see them.

#include <string>
#include <string_view>
#include <vector>

namespace perlayer {

// "expected EXPECTED, found FOUND".
std::string ExpectedText(std::string_view expected, std::string_view found);
// "PLACE: " and that text as EClassMapError.
[[noreturn]] void RaiseExpected(std::string_view place, std::string_view expected,
                                std::string_view found);
// In double quotes, cut to a length that a message bears.
std::string Quoted(std::string_view text);

// Lines end with LF or CR LF; text behind the last end is a line too.
std::vector<std::string_view> TextLines(std::string_view text);
// What of one line is no UTF-8 text or is a control character other than TAB; empty when nothing
// is.
std::string LineFault(std::string_view line);

// The blanks and TABs at the beginning.
std::string_view Indentation(std::string_view line);
// False for a blank line and for one that is only a "--" comment.
bool IsSql(std::string_view line);
bool HasSql(const std::vector<std::string>& lines);
// The line without that indentation, or without as much of it as the line has.
std::string_view Unindented(std::string_view line, std::string_view indentation);

}  // namespace perlayer
