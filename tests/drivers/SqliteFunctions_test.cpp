// Expressions of text functions built at random, evaluated by the database and by the rules written
// down plainly here: a text is a list of characters, and NULL when it is empty.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "perlayer/drivers/sqlite/TSqliteSession.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Text.h"
#include "support/TempDir.h"

namespace perlayer {
namespace {

using TChars = std::vector<std::string>;

struct TTerm {
  std::string sql;
  TChars value;  // empty: NULL
};
struct TCount {
  std::string sql;
  std::optional<int> value;
};

std::string Joined(const TChars& text) { return JoinText({text.begin(), text.end()}, ""); }

class TRandomTerms {
 public:
  explicit TRandomTerms(unsigned seed) : FRandom(seed) {}

  int Pick(int below) { return static_cast<int>(FRandom() % static_cast<unsigned>(below)); }

  TTerm Text(int depth) {
    if (depth <= 0) return Literal();
    const TTerm a = Text(depth - 1);
    switch (Pick(11)) {
      case 0: {
        const TTerm b = Text(depth - 1);
        return {"(" + a.sql + " || " + b.sql + ")", Plus(a.value, b.value)};
      }
      case 1:
        return Substr(a, depth);
      case 2:
        return Pad(a, depth);
      case 3:
        return TrimSet(a);
      case 4:
        return Replace(a);
      case 5:
        return Translate(a);
      case 6: {
        const TTerm b = Text(depth - 1);
        const TTerm c = Literal();
        return Pick(2) == 0 ? TTerm{"nvl(" + a.sql + "," + b.sql + ")", Or(a.value, b.value)}
                            : TTerm{"nvl2(" + a.sql + ", " + b.sql + ", " + c.sql + ")",
                                    a.value.empty() ? c.value : b.value};
      }
      case 7: {
        const TTerm s = Literal(), r = Text(depth - 1), t = Literal(), u = Literal();
        return {"decode(" + a.sql + "," + s.sql + ", '' || " + r.sql + "," + t.sql + "," + u.sql +
                    "," + r.sql + ")",
                a.value == s.value   ? r.value
                : a.value == t.value ? u.value
                                     : r.value};
      }
      case 8: {
        const TTerm b = Text(depth - 1);
        const bool differ = a.value.empty() || b.value.empty() || a.value != b.value;
        return {"nullif(" + a.sql + ", " + b.sql + ")", differ ? a.value : TChars()};
      }
      case 9: {
        const TTerm b = Text(depth - 1);
        const bool greatest = Pick(2) == 0;
        const bool isA = (Joined(a.value) > Joined(b.value)) == greatest;
        const bool isNull = a.value.empty() || b.value.empty();
        return {(greatest ? "greatest(" : "least(") + a.sql + ", " + b.sql + ")", isNull ? TChars()
                                                                                  : isA  ? a.value
                                                                                         : b.value};
      }
      default: {
        TChars lower = a.value;
        for (std::string& c : lower) c = c == "B" ? "b" : c == "Ž" ? "ž" : c;
        return {"lower(" + a.sql + ")", lower};
      }
    }
  }

 private:
  TTerm Literal() {
    static const char* const kCharacters[] = {"a", "B", "č", "Ž", " ", "''", "€"};
    TTerm term;
    for (int i = Pick(6); i > 0; --i) {
      const char* const c = kCharacters[Pick(std::size(kCharacters))];
      term.sql += c;
      term.value.emplace_back(std::string(c) == "''" ? "'" : c);
    }
    term.sql = term.value.empty() && Pick(2) == 0 ? "null" : "'" + term.sql + "'";
    return term;
  }

  TCount Count(int depth) {
    if (Pick(3) > 0) {
      const int value = Pick(14) - 6;
      return {std::to_string(value) + (value != 0 && Pick(3) == 0 ? ".7" : ""), value};
    }
    const TTerm a = Text(depth - 1);
    const int size = static_cast<int>(a.value.size());
    if (Pick(2) == 0) {
      return {"length(" + a.sql + ")", size == 0 ? std::nullopt : std::optional(size)};
    }
    const TTerm b = Literal();
    const TCount start = Count(0);
    const int nth = 1 + Pick(2);
    TCount result{
        "instr(" + a.sql + ", " + b.sql + ", " + start.sql + "," + std::to_string(nth) + ")",
        std::nullopt};
    if (a.value.empty() || b.value.empty() || !start.value) return result;
    result.value = 0;
    const int from = *start.value > 0 ? *start.value - 1 : size + *start.value;
    const int step = *start.value > 0 ? 1 : -1;
    int found = 0;
    for (int i = from; *start.value != 0 && i >= 0 && i < size; i += step) {
      if (Slice(a.value, i, static_cast<int>(b.value.size())) != b.value) continue;
      if (++found < nth) continue;
      result.value = i + 1;
      break;
    }
    return result;
  }

  TTerm Substr(const TTerm& a, int depth) {
    const TCount first = Count(depth), count = Count(depth);
    const bool toEnd = Pick(2) == 0;
    const std::string sql =
        "substr(" + a.sql + ", " + first.sql + (toEnd ? "" : ", " + count.sql) + ")";
    if (!first.value || (!toEnd && !count.value)) return {sql, {}};
    const int size = static_cast<int>(a.value.size());
    const int begin = *first.value < 0 ? size + *first.value : std::max(*first.value - 1, 0);
    return {sql, begin < 0 ? TChars() : Slice(a.value, begin, toEnd ? size : *count.value)};
  }

  TTerm Pad(const TTerm& a, int depth) {
    const TCount width = Count(depth);
    const TTerm pad = Literal();
    const bool left = Pick(2) == 0;
    const std::string sql = (left ? "lpad(" : "rpad(") + a.sql + ", " + width.sql + ", " + pad.sql;
    TTerm term{sql + ")", {}};
    if (a.value.empty() || pad.value.empty() || !width.value) return term;
    TChars padding;
    for (int i = 0; i < *width.value - static_cast<int>(a.value.size()); ++i) {
      padding.push_back(pad.value[static_cast<std::size_t>(i) % pad.value.size()]);
    }
    const TChars kept = Slice(a.value, 0, *width.value);
    term.value = left ? Plus(padding, kept) : Plus(kept, padding);
    return term;
  }

  TTerm TrimSet(const TTerm& a) {
    const TTerm set = Literal();
    TChars left = a.value;
    const auto inSet = [&](const std::string& c) {
      return std::find(set.value.begin(), set.value.end(), c) != set.value.end();
    };
    const bool isLeft = Pick(2) == 0;
    while (!left.empty() && inSet(isLeft ? left.front() : left.back())) {
      left.erase(isLeft ? left.begin() : left.end() - 1);
    }
    return {(isLeft ? "ltrim(" : "rtrim(") + a.sql + ", " + set.sql + ")",
            set.value.empty() ? TChars() : left};
  }

  TTerm Replace(const TTerm& a) {
    const TTerm from = Literal(), to = Literal();
    TChars result;
    for (int i = 0; i < static_cast<int>(a.value.size());) {
      const int size = static_cast<int>(from.value.size());
      const bool found = size > 0 && Slice(a.value, i, size) == from.value;
      result = Plus(result, found ? to.value : Slice(a.value, i, 1));
      i += found ? size : 1;
    }
    return {"replace(" + a.sql + ", " + from.sql + ", " + to.sql + ")", result};
  }

  TTerm Translate(const TTerm& a) {
    const TTerm from = Literal(), to = Literal();
    TTerm term{"translate(" + a.sql + ", " + from.sql + ", " + to.sql + ")", {}};
    if (from.value.empty() || to.value.empty()) return term;
    for (const std::string& c : a.value) {
      const auto at = static_cast<std::size_t>(std::find(from.value.begin(), from.value.end(), c) -
                                               from.value.begin());
      if (at == from.value.size()) {
        term.value.push_back(c);
      } else if (at < to.value.size()) {
        term.value.push_back(to.value[at]);
      }
    }
    return term;
  }

  static TChars Slice(const TChars& text, int first, int count) {
    TChars result;
    for (int i = first; i < first + count && i < static_cast<int>(text.size()); ++i) {
      result.push_back(text[static_cast<std::size_t>(i)]);
    }
    return result;
  }
  static TChars Plus(TChars a, const TChars& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
  }
  static const TChars& Or(const TChars& a, const TChars& b) { return a.empty() ? b : a; }

  std::mt19937 FRandom;
};

class SqliteFunctionsTest : public testing::Test {
 protected:
  // The row of the statement, its cells separated by "|".
  std::string Row(const std::string& sql) {
    const auto text = std::make_shared<TStatementText>(sql);
    TDriverStatement* const statement = FSession.Take(text);
    return TryFinally(
        [&] {
          std::string row;
          if (!statement->Step()) return row;
          const int count = static_cast<int>(statement->Layout()->columns.size());
          for (int i = 0; i < count; ++i) {
            TCell cell;
            statement->Cell(i, cell);
            row += cell.AsText() + '|';
          }
          return row;
        },
        [&] { FSession.GiveBack(statement); });
  }

  TTempDir FDir;
  TSqliteSession FSession{FDir.File("functions.db")};
};

TEST_F(SqliteFunctionsTest, TextsAreWhatTheRulesSay) {
  const unsigned seed = 4711;
  TRandomTerms random(seed);
  int texts = 0;
  for (int round = 0; round < 400; ++round) {
    std::string sql = "select ";
    std::string expected;
    for (int i = 0; i < 8; ++i) {
      const TTerm term = random.Text(1 + random.Pick(3));
      sql += (i == 0 ? "" : ", ") + term.sql + " as c" + std::to_string(i);
      expected += Joined(term.value) + '|';
      texts += term.value.empty() ? 0 : 1;
    }
    ASSERT_EQ(Row(sql + " from dual"), expected) << "seed " << seed << ": " << sql;
  }
  EXPECT_GT(texts, 1000);  // not all are NULL
}

TEST_F(SqliteFunctionsTest, BrokenCallsEndInARowOrAnError) {
  const std::vector<std::string> pieces = SplitText(
      "(;);,;decode(;trim(leading ; from ;cast(; as varchar2(;extract(year from ;"
      "listagg(;) within group (order by ;interval '1' day;date ';sysdate; - ; / ;round("
      ";greatest(;chr(;1e9;;;;;;;;;;;;;;;;",
      ";");  // empty ones cut
  const unsigned seed = 4712;
  TRandomTerms random(seed);
  int rows = 0;
  for (int round = 0; round < 3000; ++round) {
    std::string sql = random.Text(2).sql;
    for (int i = random.Pick(2); i >= 0; --i) {
      const auto at = static_cast<std::size_t>(random.Pick(static_cast<int>(sql.size()) + 1));
      const auto piece = static_cast<std::size_t>(random.Pick(static_cast<int>(pieces.size())));
      sql.replace(at, static_cast<std::size_t>(random.Pick(8)), pieces[piece]);
    }
    SCOPED_TRACE("seed " + std::to_string(seed) + ": " + sql);
    try {
      Row("select " + sql + " from dual");
      ++rows;
    } catch (const EDatabaseError& e) {
      ASSERT_FALSE(e.Message().empty());
    }
  }
  EXPECT_GT(rows, 300);
}

TEST_F(SqliteFunctionsTest, NumbersAreRoundedAsDecimals) {
  std::mt19937 random(4711);
  for (int i = 0; i < 1000; ++i) {
    const int thousandths = static_cast<int>(random() % 2000001) - 1000000;
    const int decimals = static_cast<int>(random() % 6) - 3;
    const int unit = static_cast<int>(std::pow(10, 3 - decimals));
    const int size = std::abs(thousandths);
    const int sign = thousandths < 0 ? -1 : 1;
    const int divisor = static_cast<int>(random() % 999) + 1;
    const auto number = [](int value) { return FloatToStr(value / 1000.0); };
    const std::string value = number(thousandths);
    const std::string arguments = "(" + value + "," + std::to_string(decimals) + ")";
    ASSERT_EQ(Row("select round" + arguments + ", trunc" + arguments + ", mod(" + value + ", " +
                  number(divisor) + ") m from dual"),
              number((size + unit / 2) / unit * unit * sign) + '|' +
                  number(size / unit * unit * sign) + '|' + number(thousandths % divisor) + '|')
        << arguments << " " << divisor;
  }
}

}  // namespace
}  // namespace perlayer
