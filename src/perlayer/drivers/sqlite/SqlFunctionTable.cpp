#include "perlayer/drivers/sqlite/SqlFunctionTable.h"

#include <algorithm>
#include <iterator>

namespace perlayer {

namespace {

using enum TSqlCallKind;

constexpr int kMany = 127;  // the most that the database's functions take
constexpr auto kSame = TSqlType::unknown;
constexpr auto kText = TSqlType::text;
constexpr auto kNumber = TSqlType::number;
constexpr auto kDate = TSqlType::date;

// Sorted by name.
constexpr TSqlFunction kFunctions[] = {
    {"ABS", plain, 1, 1, kNumber},
    {"ADD_MONTHS", plain, 2, 2, kDate},
    {"ASCII", text, 1, 1, kNumber},
    {"AVG", sum, 1, 1, kNumber},
    {"BITAND"},
    {"CAST", cast},
    {"CEIL", plain, 1, 1, kNumber},
    {"CHR", plain, 1, 1, kText},
    {"COALESCE", alike, 2, kMany, kSame},
    {"CONCAT", text, 2, 2, kText},
    {"CONVERT"},
    {"CORR"},
    {"COUNT", aggregate, 1, 1, kNumber},
    {"CUME_DIST", plain, 0, 0, kNumber},
    {"DECODE", decode, 3, 255},
    {"DENSE_RANK", plain, 0, 0, kNumber},
    {"DUMP"},
    {"EXP", plain, 1, 1, kNumber},
    {"EXTRACT", extract},
    {"FIRST_VALUE", aggregate, 1, 1, kSame},
    {"FLOOR", plain, 1, 1, kNumber},
    {"GREATEST", alike, 1, kMany, kSame, "max"},
    {"GROUPING"},
    {"INITCAP", text, 1, 1, kText},
    {"INSTR", text, 2, 4, kNumber},
    {"INSTRB"},
    {"LAG", aggregate, 1, 3, kSame},
    {"LAST_DAY", plain, 1, 1, kDate},
    {"LAST_VALUE", aggregate, 1, 1, kSame},
    {"LEAD", aggregate, 1, 3, kSame},
    {"LEAST", alike, 1, kMany, kSame, "min"},
    {"LENGTH", text, 1, 1, kNumber},
    {"LENGTHB", text, 1, 1, kNumber},
    {"LISTAGG", listAgg, 1, 2, kText},
    {"LN", plain, 1, 1, kNumber},
    {"LNNVL"},
    {"LOG", plain, 2, 2, kNumber},
    {"LOWER", text, 1, 1, kText},
    {"LPAD", text, 2, 3, kText},
    {"LTRIM", text, 1, 2, kText},
    {"MAX", aggregate, 1, 1, kSame},
    {"MEDIAN"},
    {"MIN", aggregate, 1, 1, kSame},
    {"MOD", plain, 2, 2, kNumber},
    {"MONTHS_BETWEEN", plain, 2, 2, kNumber},
    {"NEW_TIME"},
    {"NEXT_DAY", plain, 2, 2, kDate},
    {"NLSSORT"},
    {"NLS_INITCAP"},
    {"NLS_LOWER"},
    {"NLS_UPPER"},
    {"NTH_VALUE", aggregate, 2, 2, kSame},
    {"NTILE", plain, 1, 1, kNumber},
    {"NULLIF", alike, 2, 2, kSame},
    {"NUMTODSINTERVAL", plain, 2, 2, kNumber},
    {"NUMTOYMINTERVAL"},
    {"NVL", alike, 2, 2, kSame, "ifnull"},
    {"NVL2", nvl2, 3, 3, kSame, "iif"},
    {"ORA_HASH"},
    {"PERCENTILE_CONT"},
    {"PERCENTILE_DISC"},
    {"PERCENT_RANK", plain, 0, 0, kNumber},
    {"POWER", plain, 2, 2, kNumber},
    {"RANK", plain, 0, 0, kNumber},
    {"RATIO_TO_REPORT"},
    {"REGEXP_COUNT"},
    {"REGEXP_INSTR"},
    {"REGEXP_LIKE"},
    {"REGEXP_REPLACE"},
    {"REGEXP_SUBSTR"},
    {"REMAINDER"},
    {"REPLACE", text, 2, 3, kText},
    {"ROUND", rounding, 1, 2, kNumber, "date_round"},
    {"ROW_NUMBER", plain, 0, 0, kNumber},
    {"RPAD", text, 2, 3, kText},
    {"RTRIM", text, 1, 2, kText},
    {"SIGN", plain, 1, 1, kNumber},
    {"SOUNDEX"},
    {"SQRT", plain, 1, 1, kNumber},
    {"STDDEV"},
    {"SUBSTR", text, 2, 3, kText},
    {"SUBSTRB"},
    {"SUM", sum, 1, 1, kNumber},
    {"SYS_CONNECT_BY_PATH"},
    {"SYS_CONTEXT"},
    {"SYS_GUID"},
    {"TO_CHAR", toChar, 1, 2, kText},
    {"TO_DATE", plain, 1, 2, kDate},
    {"TO_DSINTERVAL"},
    {"TO_NUMBER", plain, 1, 2, kNumber},
    {"TO_TIMESTAMP", plain, 1, 2, kDate, "to_date"},
    {"TO_TIMESTAMP_TZ"},
    {"TO_YMINTERVAL"},
    {"TRANSLATE", text, 3, 3, kText},
    {"TRIM", trim, 1, 1, kText},
    {"TRUNC", rounding, 1, 2, kNumber, "date_trunc"},
    {"TZ_OFFSET"},
    {"UPPER", text, 1, 1, kText},
    {"USERENV"},
    {"VARIANCE"},
    {"VSIZE"},
    {"WM_CONCAT"},
    {"XMLAGG"},
    {"XMLELEMENT"},
};

}  // namespace

const TSqlFunction* FindSqlFunction(std::string_view name) {
  const auto found = std::lower_bound(
      std::begin(kFunctions), std::end(kFunctions), name,
      [](const TSqlFunction& function, std::string_view n) { return function.name < n; });
  return found != std::end(kFunctions) && found->name == name ? found : nullptr;
}

static_assert(std::is_sorted(std::begin(kFunctions), std::end(kFunctions),
                             [](const TSqlFunction& a, const TSqlFunction& b) {
                               return a.name < b.name;
                             }));

}  // namespace perlayer
