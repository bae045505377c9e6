#pragma once
// How dates, times and numbers are written and read: one process-wide record. FrozenFormatSettings
// is the copy that stored values use: it is taken when the first row is loaded and stays, so that
// an application that changes its display settings later reads back what it stored.
// Main thread only.

#include <array>
#include <string>

namespace perlayer {

struct TFormatSettings {
  std::string ShortDateFormat = "dd.mm.yyyy";
  std::string LongTimeFormat = "hh:nn:ss";
  std::string ShortTimeFormat = "hh:nn";
  char DateSeparator = '.';
  char TimeSeparator = ':';
  char DecimalSeparator = '.';
  // A year of two digits lies in the hundred years that begin this many years before the current
  // one; 0: in the current century.
  int TwoDigitYearCenturyWindow = 50;
  std::array<std::string, 12> ShortMonthNames = {"jan", "feb", "mar", "apr", "maj", "jun",
                                                 "jul", "avg", "sep", "okt", "nov", "dec"};
  std::array<std::string, 12> LongMonthNames = {"januar",    "februar", "marec",    "april",
                                                "maj",       "junij",   "julij",    "avgust",
                                                "september", "oktober", "november", "december"};
  std::array<std::string, 7> ShortDayNames = {"ned", "pon", "tor", "sre", "čet", "pet", "sob"};
  std::array<std::string, 7> LongDayNames = {"nedelja", "ponedeljek", "torek", "sreda",
                                             "četrtek", "petek",      "sobota"};
};

TFormatSettings& FormatSettings();
// The settings of stored values; the first call takes the copy.
const TFormatSettings& FrozenFormatSettings();

}  // namespace perlayer
