#pragma once
// Text is UTF-8 in std::string. Three kinds of comparison are kept apart:
//   bytes            std::string's own operators; unsigned
//   names and keys   CompareText, SameText: simple case folding, code point by code point
//   SQL keywords     AsciiUpperCase: ASCII only, same length, so that positions carry over
//
// All functions are pure and safe on every thread, but for those that read the format settings: the
// float texts without a settings argument, which belong to the main thread. Malformed UTF-8 is
// never an error: a stray byte counts as a character of its own, has no case and comes out as it
// went in.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace perlayer {

struct TFormatSettings;

// ASCII letters only; the result has the length of the argument.
std::string AsciiUpperCase(std::string_view text);
// Unicode simple case mapping: one character for each, so that sharp s has no upper case.
std::string UpperCase(std::string_view text);
// The same where the caller has room for as many bytes; false for a text that is not all ASCII,
// after writing some of it.
bool UpperCaseOfAscii(std::string_view text, char* result);
std::string LowerCase(std::string_view text);
// Simple case folding: texts that differ only in case have equal folds.
std::string FoldCase(std::string_view text);
char32_t FoldCodePoint(char32_t c);

// Below 0, 0 or above 0, by folded code points. SameText is CompareText == 0.
int CompareText(std::string_view a, std::string_view b);
bool SameText(std::string_view a, std::string_view b);
// True when the first characters of `text` are `prefix`, in any case.
bool StartsText(std::string_view prefix, std::string_view text);

// The beginning of the text's key, at most `size` bytes of it, to `key`; returns how many. Keys
// compare, as unsigned bytes, as CompareText compares their texts. No key holds the byte 0 but for
// a character 0.
std::size_t FoldedKey(std::string_view text, char* key, std::size_t size);

// Reads one code point at `position` and moves behind it. A byte that begins no character reads as
// kStrayByte plus the byte, which no code point is, and AppendUtf8 writes that back as the byte.
// REQUIRES: position < text.size()
inline constexpr char32_t kStrayByte = 0x110000;
char32_t DecodeUtf8(std::string_view text, std::size_t& position);
// What is neither a code point nor a stray byte becomes U+FFFD.
void AppendUtf8(std::string& text, char32_t c);
// Code points in `text`.
std::size_t Utf8Length(std::string_view text);
// The longest beginning of at most `bytes` bytes that does not split a character.
std::string_view CutToBytes(std::string_view text, std::size_t bytes);

// Without the characters from 0 to 32 at both ends, or at one.
std::string_view Trim(std::string_view text);
std::string_view TrimLeft(std::string_view text);
std::string_view TrimRight(std::string_view text);

std::string StringReplaceAll(std::string_view text, std::string_view from, std::string_view to);

// Pieces between separators; "a,,b" has three. An empty text has none.
std::vector<std::string> SplitText(std::string_view text, std::string_view separator);
std::string JoinText(const std::vector<std::string>& parts, std::string_view separator);

// Blanks in front (IPadL) or behind (IPadR) up to `width` code points; a longer text is cut to it.
std::string IPadL(std::string_view text, std::size_t width, char pad = ' ');
std::string IPadR(std::string_view text, std::size_t width, char pad = ' ');

// True when nothing but blanks (characters from 0 to 32) stands in the text.
bool Empty(std::string_view text);
// At least one digit, with optional sign and one decimal point, nothing else.
bool IsNumeric(std::string_view text);
// True when `part` stands in `text`, bytes compared exactly.
bool StringInSet(std::string_view part, std::string_view text);
// "A=1;B=2": the value of `name` (any case, blanks around it ignored) between `separator`s; the
// first one counts; empty when absent.
std::string GetValueFromString(std::string_view text, std::string_view separator,
                               std::string_view name);
// "Janez Novak Horvat": the first word, and what follows it, trimmed.
std::string FirstName(std::string_view fullName);
std::string LastName(std::string_view fullName);

// Numbers. Text to number raises EConvertError with the text when it is none or does not fit;
// blanks around it are allowed. FloatToStr gives the shortest text that reads back as the same
// number, in plain decimal notation for magnitudes from 1e-5 to below 1e17 ("1000000", "0.1",
// "1e+20"); zero has no sign. "nan" and "inf" are written but not read.
//
// Floats use the decimal separator of the settings that are passed, else of FormatSettings(); both
// notations are read, and no thousands separator.
std::string IntToStr(std::int64_t value);
std::int64_t StrToInt(std::string_view text);
bool TryStrToInt(std::string_view text, std::int64_t& value);  // no number: false, value untouched
std::int64_t StrToIntDef(std::string_view text, std::int64_t otherwise);
std::string FloatToStr(double value);
std::string FloatToStr(double value, const TFormatSettings& settings);
double StrToFloat(std::string_view text);
double StrToFloat(std::string_view text, const TFormatSettings& settings);
bool TryStrToFloat(std::string_view text, double& value);  // no number: false, value untouched
bool TryStrToFloat(std::string_view text, double& value, const TFormatSettings& settings);
// Writes FloatToStr(value) with separator '.' behind `text`, without a temporary.
void AppendFloat(std::string& text, double value);
// The same into a buffer, which has room for 17 digits behind up to 4 zeros, a sign, a point and an
// exponent; returns the end.
inline constexpr std::size_t kFloatRoom = 40;
char* WriteFloat(char (&buffer)[kFloatRoom], double value);

}  // namespace perlayer
