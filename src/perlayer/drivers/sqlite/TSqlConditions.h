#pragma once
// A query block's clauses, its WHERE clause as the conditions that AND joins, and a new order of
// tokens: what translations need that move conditions elsewhere.

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "perlayer/drivers/sqlite/TSqlTokens.h"

namespace perlayer {

struct TSqlRange {
  std::size_t first = 0;
  std::size_t behind = 0;
};

// The clauses of one query block, as places of their tokens. A clause that is not there begins
// where the next one does.
struct TSqlClauses {
  std::size_t select = 0;
  std::size_t from = 0;
  std::size_t where = 0;
  std::size_t whereEnd = 0;  // GROUP BY, HAVING or ORDER BY, or the end
  std::size_t end = 0;
};

// The conditions of [first, behind) in their order; a single one when OR joins them. Conditions
// that stand in parentheses together count one by one.
std::vector<TSqlRange> SplitConditions(const TSqlTokens& tokens, TSqlRange all);
// Without the parentheses around the whole of it.
TSqlRange WithoutParentheses(const TSqlTokens& tokens, TSqlRange range);
// The parts that stand between commas.
std::vector<TSqlRange> SplitAtCommas(const TSqlTokens& tokens, TSqlRange all);

// Collects a new order for a run of tokens. Each token is put once at most; what is left over makes
// room for what the translation needs more, and the rest of it is hidden.
class TSqlNewOrder {
 public:
  TSqlNewOrder(TSqlTokens& tokens, TSqlRange all)
      : FTokens(tokens), FAll(all), FUsed(all.behind - all.first) {}

  // Puts what stands there, with a blank before it unless it may stand close.
  void Put(TSqlRange range, bool apart = true);
  void Put(std::size_t token) { Put(TSqlRange{token, token + 1}); }
  // Puts a word of the language.
  void PutWord(std::string_view word, std::string_view out);
  // Puts a text that is no more looked at.
  void PutText(std::string_view out, std::string_view gap = " ");
  // REQUIRES: not more was put than there are tokens.
  void Apply();

 private:
  TSqlTokens& FTokens;
  const TSqlRange FAll;
  std::vector<bool> FUsed;
  std::vector<std::size_t> FOrder;  // from FAll.behind on: FNew
  std::vector<TSqlToken> FNew;
};

}  // namespace perlayer
