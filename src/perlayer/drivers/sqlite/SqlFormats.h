#pragma once
// The format models of to_char and to_date.
//
//   dates    YYYY YY RRRR RR MM MON MONTH DD DDD D DY DAY HH24 HH12 HH MI SS Q AM PM, text in
//            double quotes, punctuation; FM in front leaves out leading zeros. Names are those of
//            the format settings.
//   numbers  9 0 . D , G and FM; "." and "," whatever the settings say.
//
// All raise EConvertError that names the part of the model or says that the text does not fit; the
// text itself is not repeated, as it may be a patient's.

#include <string>
#include <string_view>

#include "perlayer/platform/TDateTime.h"

namespace perlayer {

std::string FormatSqlDate(std::string_view model, TDateTime value);
// What the model does not tell is the first day of the current month, at 00:00. The text may end
// before the time of day does.
TDateTime ParseSqlDate(std::string_view model, std::string_view text);

// Rounded to the model's decimals; "#" for every place when the number is too long for it.
std::string FormatSqlNumber(std::string_view model, double value);
// At most the model's digits before and behind the point; blanks around them are allowed.
double ParseSqlNumber(std::string_view model, std::string_view text);
// True for a model of digits rather than of date parts.
bool IsSqlNumberModel(std::string_view model);

}  // namespace perlayer
