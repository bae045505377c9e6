#pragma once
// TSqlExpressions: reads the expressions of a statement by precedence and edits what SQLite says
// otherwise: NULL as an empty text in "||", numbers compared with texts, texts compared with dates,
// division, functions. An operand is a run of tokens with the type that could be told; whatever is
// not understood is passed over as it stands and left to the database to judge.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "perlayer/drivers/sqlite/TSqlScope.h"
#include "perlayer/drivers/sqlite/TSqlSequences.h"
#include "perlayer/drivers/sqlite/TSqlTokens.h"

namespace perlayer {

// Tokens [at, end) that are still to be read, and what names in them refer to.
struct TSqlCursor {
  std::size_t at;
  std::size_t end;
  TSqlScope& scope;
};

struct TSqlOperand {
  std::size_t first = 0;
  std::size_t behind = 0;  // first == behind: nothing was there
  TSqlType type = TSqlType::unknown;
  bool column = false;  // a plain column, whose declared affinity converts what it is compared with
  int parameter = -1;   // a parameter by itself
  bool derived = false;  // a column of a query, which converts nothing
  bool memo = false;     // a column of CLOBs, some of which may be bytes in the file

  bool IsEmpty() const { return first == behind; }
};

// Which parameters are bound as numbers, one bit each; parameters from 64 on count as texts.
using TSqlNumberBinds = std::uint64_t;

// Reads a query in parentheses inside an expression.
class TSqlSubqueries {
 public:
  virtual ~TSqlSubqueries() = default;
  // `open` is the parenthesis. Returns the type of the query's first column.
  virtual TSqlType Subquery(std::size_t open, TSqlScope& scope) = 0;
};

class TSqlExpressions {
 public:
  static constexpr int kAnyLevel = 0;

  TSqlExpressions(TSqlTokens& tokens, TSqlSubqueries& subqueries, TSqlSequences& sequences,
                  TSqlNumberBinds numberBinds)
      : FTokens(tokens),
        FSubqueries(subqueries),
        FSequences(sequences),
        FNumberBinds(numberBinds) {}

  // Reads one expression whose operators bind more tightly than `level`; moves the cursor behind
  // it, or not at all when none begins there.
  TSqlOperand Parse(TSqlCursor& cursor, int level = kAnyLevel);
  // Reads all that is left, expressions and what stands between them.
  void Walk(TSqlCursor& cursor);
  // Makes `value` fit a column of that type.
  void Assign(TSqlType column, const TSqlOperand& value);
  // Makes `value`, whatever it is, one of that type; leaves it as it is for an unknown one.
  void Convert(TSqlType type, const TSqlOperand& value);
  // Makes a date a text and leaves everything else.
  void WriteDate(const TSqlOperand& value);
  // Makes a long CLOB, which is bytes in the file, the text that it is.
  void WriteMemo(const TSqlOperand& value);

  // Parameters whose being text or number changes the translation.
  TSqlNumberBinds BindsThatMatter() const { return FBindsThatMatter; }

 private:
  void Order(TSqlCursor& cursor);
  TSqlOperand Prefix(TSqlCursor& cursor);
  TSqlOperand Name(TSqlCursor& cursor);
  TSqlOperand Function(TSqlCursor& cursor);
  TSqlOperand Parentheses(TSqlCursor& cursor);
  TSqlOperand Case(TSqlCursor& cursor);
  TSqlOperand DateLiteral(TSqlCursor& cursor);
  TSqlOperand IntervalLiteral(TSqlCursor& cursor);
  TSqlOperand Concatenation(TSqlCursor& cursor, const TSqlOperand& first);
  TSqlOperand Arithmetic(TSqlCursor& cursor, const TSqlOperand& left, int level);
  TSqlOperand Comparison(TSqlCursor& cursor, const TSqlOperand& left, int level);
  TSqlOperand Predicate(TSqlCursor& cursor, const TSqlOperand& left, int level);
  std::vector<TSqlOperand> List(TSqlCursor& cursor);

  // Makes the operands, which are compared with the first of them, comparable.
  void Coerce(const std::vector<TSqlOperand>& operands);
  bool IsBoundAsNumber(const TSqlOperand& operand) const;
  bool IsText(const TSqlOperand& operand) const;
  void NoteBind(const TSqlOperand& operand);
  void Wrap(const TSqlOperand& operand, std::string_view function);

  TSqlTokens& FTokens;
  TSqlSubqueries& FSubqueries;
  TSqlSequences& FSequences;
  TSqlNumberBinds FNumberBinds;
  TSqlNumberBinds FBindsThatMatter = 0;
  int FDepth = 0;
};

// True for a word that is part of the language, so that it names neither column nor table.
bool IsSqlKeyword(const TSqlToken& token);
// SYSDATE and its like.
bool IsSqlClock(const TSqlToken& token);
// The name as it is written into the translation: a word in upper case, quoted where the database
// would take it for a word of its own.
std::string SqlName(const TSqlToken& token);

}  // namespace perlayer
