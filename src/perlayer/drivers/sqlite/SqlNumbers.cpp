#include "perlayer/drivers/sqlite/SqlNumbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <string>

namespace perlayer {

namespace {

// A number above 0 as 0.DIGITS times ten to the exponent, the shortest that reads back the same:
// what a person sees is what is rounded.
struct TDecimal {
  std::string digits;
  int exponent = 0;

  explicit TDecimal(double value) {
    char text[40];
    const auto written =
        std::to_chars(text, text + sizeof text, value, std::chars_format::scientific);
    const char* const e = std::find<const char*>(text, written.ptr, 'e');
    std::copy_if<const char*>(text, e, std::back_inserter(digits), [](char c) { return c != '.'; });
    std::from_chars(e + (e[1] == '+' ? 2 : 1), written.ptr, exponent);
    ++exponent;
  }
  double Value() const {
    const std::string text = "0." + digits + 'e' + std::to_string(exponent);
    double value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
  }
  int Decimals() const { return std::max(0, static_cast<int>(digits.size()) - exponent); }
};

}  // namespace

double RoundSqlNumber(double value, std::int64_t decimals, bool nearest) {
  if (value == 0 || !std::isfinite(value)) return value;
  TDecimal decimal(std::abs(value));
  const std::int64_t keep = decimal.exponent + std::clamp<std::int64_t>(decimals, -400, 400);
  if (keep >= static_cast<std::int64_t>(decimal.digits.size())) return value;
  if (keep < 0) return 0;
  const auto kept = static_cast<std::size_t>(keep);
  const bool up = nearest && decimal.digits[kept] >= '5';
  decimal.digits.resize(kept);
  decimal.digits.insert(0, 1, '0');  // room for a carry
  ++decimal.exponent;
  if (up) {
    std::size_t at = kept;
    while (decimal.digits[at] == '9') decimal.digits[at--] = '0';
    ++decimal.digits[at];
  }
  return std::copysign(decimal.Value(), value);
}

double SqlMod(double value, double divisor) {
  if (divisor == 0 || value == 0 || !std::isfinite(value) || !std::isfinite(divisor)) return value;
  const double most = std::max(std::abs(value), std::abs(divisor));
  const int decimals =
      std::max(TDecimal(std::abs(value)).Decimals(), TDecimal(std::abs(divisor)).Decimals());
  const double scale = std::pow(10.0, decimals);
  if (decimals == 0 || most * scale > 1e15) return std::fmod(value, divisor);
  return std::fmod(std::round(value * scale), std::round(divisor * scale)) / scale;
}

}  // namespace perlayer
