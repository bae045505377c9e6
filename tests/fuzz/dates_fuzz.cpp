// Three texts between bytes 0: a pattern or format model, a text to read as a date, and eight bytes
// to take as a number of days. Dates that are read, or can be taken apart, come back the same.

#include <cmath>
#include <cstring>

#include "fuzz/Fuzz.h"
#include "perlayer/drivers/sqlite/SqlFormats.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TDateTime.h"
#include "perlayer/platform/TFormatSettings.h"

namespace perlayer {
namespace {

// What `read` makes of the text, if that is a date.
template <class TRead>
bool Reads(TRead read, TDateTime& value) {
  try {
    value = read();
    return true;
  } catch (const EConvertError&) {
    return false;
  }
}

void RequireWhole(TDateTime value) {
  TDateParts date;
  TTimeParts time;
  DecodeDateTime(value, date, time);
  const TDateTime whole = EncodeDateTime(date, time);
  TDateParts dateAgain;
  TTimeParts timeAgain;
  DecodeDateTime(whole, dateAgain, timeAgain);
  const std::string text = FormatDateTime("dd.mm.yyyy hh:nn:ss.zzz", value);
  Require(date == dateAgain && time == timeAgain, "parts come back", text);
  Require(std::fabs(DatePart(value) - DatePart(whole)) == 0, "the day comes back", text);
  TDateTime read = 0;
  Require(TryStrToDateTime(text, read), "what is written can be read", text);
  Require(FormatDateTime("dd.mm.yyyy hh:nn:ss.zzz", read) == text, "and is the same", text);
  const std::string iso = FormatDateTime("yyyy-mm-dd\"T\"hh:nn:ss.zzz", value);
  Require(FormatDateTime("dd.mm.yyyy hh:nn:ss.zzz", ISO8601ToDateTime(iso)) == text,
          "ISO 8601 is the same", iso);
  Require(DayOfWeek(value) >= 1 && DayOfWeek(value) <= 7, "a day of the week", text);
}

}  // namespace

bool Takes(std::string_view input) {
  const auto pieces = Pieces<3>(input);
  const std::string_view pattern = pieces[0], text = pieces[1], bytes = pieces[2];
  TFormatSettings settings;
  settings.ShortDateFormat = pattern;

  bool accepted = false;
  TDateTime value = 0;
  const auto read = [&](auto reader) {
    if (!Reads(reader, value)) return;
    accepted = true;
    RequireWhole(value);
  };
  read([&] { return StrToDateTime(text); });
  read([&] { return StrToDate(text); });
  read([&] { return StrToTime(text); });
  read([&] { return ISO8601ToDateTime(text); });
  read([&] { return StrToDateTime(text, settings); });
  read([&] { return ParseSqlDate(pattern, text); });

  if (bytes.size() >= sizeof value) {
    std::memcpy(&value, bytes.data(), sizeof value);
    if (TDateTime day = 0; Reads([&] { return DatePart(value); }, day)) RequireWhole(value);
  }
  try {
    FormatDateTime(pattern, value);
    FormatSqlDate(pattern, value);
  } catch (const EConvertError&) {
  }
  return accepted;
}

}  // namespace perlayer
