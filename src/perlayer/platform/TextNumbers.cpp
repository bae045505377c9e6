// Text.h: numbers as text and back. The standard's to_chars and from_chars know no locale.

#include <algorithm>
#include <charconv>
#include <cmath>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TFormatSettings.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

// Reads the whole of `text`, which from_chars would accept without the plus sign that it does not
// know. Words ("nan", "inf") are no numbers here.
template <class TNumber>
bool Read(std::string_view text, TNumber& value) {
  if (!text.empty() && text[0] == '+') {
    text.remove_prefix(1);
    if (!text.empty() && text[0] == '-') return false;
  }
  const std::size_t first = text.find_first_not_of('-');
  if (first == text.npos || (text[first] != '.' && (text[first] < '0' || text[first] > '9'))) {
    return false;
  }
  TNumber result{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), result);
  if (error != std::errc() || end != text.data() + text.size()) return false;
  value = result;
  return true;
}

// Reads what most numbers are, digits with a point among them or none, faster. So many digits are
// exact in a double, as are the powers of ten, and one division of the two rounds like the number.
// False for anything else.
bool ReadPlain(std::string_view text, double& value) {
  constexpr std::size_t kExactDigits = 15;
  static constexpr double kPowers[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                       1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  const bool negative = text.starts_with('-');
  if (negative) text.remove_prefix(1);
  if (text.size() > kExactDigits + 1) return false;  // the one is the point
  std::int64_t digits = 0;
  std::size_t at = 0;
  const auto readDigits = [&] {
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
      digits = digits * 10 + (text[at] - '0');
    }
  };
  readDigits();
  std::size_t count = at, decimals = 0;
  if (at < text.size() && text[at] == '.') {
    ++at;
    readDigits();
    decimals = at - count - 1;
    count += decimals;
  }
  if (at < text.size() || count == 0 || count > kExactDigits) return false;
  double magnitude = static_cast<double>(digits);
  if (decimals > 0) magnitude /= kPowers[decimals];
  value = negative ? -magnitude : magnitude;
  return true;
}

// [[gnu::noinline]]: what most numbers need should not save registers for it.
[[gnu::noinline]] bool ReadAny(std::string_view text, double& value,
                               const TFormatSettings& settings) {
  const char separator = settings.DecimalSeparator;
  text = Trim(text);
  if (separator == '.' || text.find_first_of(std::string{'.', separator}) == text.npos) {
    return Read(text, value);
  }
  if (text.find('.') != text.npos) return false;
  std::string withPoint(text);
  std::replace(withPoint.begin(), withPoint.end(), separator, '.');
  return Read(std::string_view(withPoint), value);
}

}  // namespace

std::string IntToStr(std::int64_t value) { return std::to_string(value); }

bool TryStrToInt(std::string_view text, std::int64_t& value) { return Read(Trim(text), value); }

std::int64_t StrToInt(std::string_view text) {
  std::int64_t value = 0;
  if (TryStrToInt(text, value)) return value;
  throw EConvertError("'" + std::string(text) + "' is not a valid integer value");
}

std::int64_t StrToIntDef(std::string_view text, std::int64_t otherwise) {
  TryStrToInt(text, otherwise);
  return otherwise;
}

char* WriteFloat(char (&buffer)[kFloatRoom], double value) {
  const double magnitude = std::fabs(value);
  std::to_chars_result written{};
  if (magnitude < 1e15 && value == std::trunc(value)) {
    written = std::to_chars(buffer, buffer + kFloatRoom, static_cast<std::int64_t>(value));
  } else if (magnitude >= 1e-5 && magnitude < 1e17) {
    written = std::to_chars(buffer, buffer + kFloatRoom, value, std::chars_format::fixed);
  } else {
    written = std::to_chars(buffer, buffer + kFloatRoom, value, std::chars_format::scientific);
  }
  return written.ptr;
}

void AppendFloat(std::string& text, double value) {
  char buffer[kFloatRoom];
  text.append(buffer, WriteFloat(buffer, value));
}

std::string FloatToStr(double value, const TFormatSettings& settings) {
  std::string text;
  AppendFloat(text, value);
  if (settings.DecimalSeparator != '.') {
    std::replace(text.begin(), text.end(), '.', settings.DecimalSeparator);
  }
  return text;
}

bool TryStrToFloat(std::string_view text, double& value, const TFormatSettings& settings) {
  return (settings.DecimalSeparator == '.' && ReadPlain(text, value)) ||
         ReadAny(text, value, settings);
}

double StrToFloat(std::string_view text, const TFormatSettings& settings) {
  double value = 0;
  if (TryStrToFloat(text, value, settings)) return value;
  throw EConvertError("'" + std::string(text) + "' is not a valid floating point value");
}

std::string FloatToStr(double value) { return FloatToStr(value, FormatSettings()); }
double StrToFloat(std::string_view text) { return StrToFloat(text, FormatSettings()); }
bool TryStrToFloat(std::string_view text, double& value) {
  return TryStrToFloat(text, value, FormatSettings());
}

}  // namespace perlayer
