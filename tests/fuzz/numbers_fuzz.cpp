// Three texts between bytes 0: a format model, a text to read as a number, and eight bytes to take
// as a double. Numbers come back the same, bit for bit.

#include <cmath>
#include <cstring>

#include "fuzz/Fuzz.h"
#include "perlayer/drivers/sqlite/SqlFormats.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TFormatSettings.h"
#include "perlayer/platform/Text.h"

namespace perlayer {
namespace {

void RequireWhole(double value) {
  TFormatSettings comma;
  comma.DecimalSeparator = ',';
  for (const TFormatSettings& settings : {TFormatSettings(), comma}) {
    const std::string text = FloatToStr(value, settings);
    double again = 0;
    Require(TryStrToFloat(text, again, settings), "what is written can be read", text);
    Require(again == value, "and is the same", text);
  }
}

}  // namespace

bool Takes(std::string_view input) {
  const auto [model, text, bytes] = Pieces<3>(input);
  bool accepted = false;
  double value = 0;
  if (TryStrToFloat(text, value)) {
    accepted = true;
    RequireWhole(value);
  } else {
    Require(!IsNumeric(text) || text.size() > 300, "a numeric text is a number", text);
  }
  if (std::int64_t whole = 0; TryStrToInt(text, whole)) {
    Require(accepted, "an integer is a number", text);
    Require(StrToInt(IntToStr(whole)) == whole, "integers come back", text);
  }
  if (bytes.size() >= sizeof value) {
    double bits = 0;
    std::memcpy(&bits, bytes.data(), sizeof bits);
    if (std::isfinite(bits)) {
      RequireWhole(bits);
      value = bits;
    }
  }
  try {
    if (IsSqlNumberModel(model)) FormatSqlNumber(model, value);
  } catch (const EConvertError&) {
  }
  return accepted;
}

}  // namespace perlayer
