#pragma once
// TSqlTokens: a statement cut into tokens that are then edited in place. Each token keeps where it
// came from; what the translator changes stands beside it: another text (`out`), something put
// right before or behind it, or nothing at all (`hidden`). Wrapping an operand in a function is
// thus an edit of its first and last token, and nested wraps need no copying. Where a clause is
// said in another order (outer joins, ROWNUM), tokens change places before they are edited; their
// number stays, so that places of other clauses stay too.
//
// Render puts the edited tokens together again and remembers which output came from where, so that
// the database's complaints can be told as a line and column of the text the caller wrote.

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "perlayer/corekit/TStatementText.h"

namespace perlayer {

enum class TSqlTokenKind : std::uint8_t { word, quoted, text, number, parameter, symbol };

struct TSqlToken {
  TSqlTokenKind kind = TSqlTokenKind::symbol;
  bool hidden = false;   // left out of the output
  bool settled = false;  // edited already; a later walk passes over it
  std::uint32_t offset = 0;
  std::uint32_t length = 0;
  int parameter = -1;       // which parameter, for kind parameter
  std::size_t partner = 0;  // the other parenthesis, for "(" and ")"
  std::string name;         // words in upper case, quoted names without quotes, symbols themselves
  std::string gap;          // the blanks before it; a comment counts as one blank
  std::string before;
  std::string out;
  std::string after;

  bool Is(std::string_view symbolOrWord) const {
    return (kind == TSqlTokenKind::symbol || kind == TSqlTokenKind::word) && name == symbolOrWord;
  }
  bool IsName() const { return kind == TSqlTokenKind::word || kind == TSqlTokenKind::quoted; }
};

class TSqlTokens {
 public:
  // Raises EDatabaseError, naming line and column, for a quote or comment without end, a
  // parenthesis without partner or a character that stands nowhere in SQL. Keeps a reference to
  // `text`.
  explicit TSqlTokens(const TStatementText& text);

  std::size_t Count() const { return FTokens.size(); }
  // REQUIRES: index < Count()
  TSqlToken& operator[](std::size_t index) {
    assert(index < FTokens.size());
    return FTokens[index];
  }
  const TSqlToken& operator[](std::size_t index) const {
    assert(index < FTokens.size());
    return FTokens[index];
  }
  // True when there is a token of that index and it is that word or symbol.
  bool Is(std::size_t index, std::string_view symbolOrWord) const {
    return index < FTokens.size() && FTokens[index].Is(symbolOrWord);
  }
  void Pop() { FTokens.pop_back(); }

  // True when "(+)" or ROWNUM stands somewhere: most statements need no second look for them.
  bool HasOuterMarks() const { return FHasOuterMarks; }
  bool HasRownum() const { return FHasRownum; }
  // "(+)" begins at that index.
  bool IsOuterMark(std::size_t index) const {
    return Is(index, "(") && Is(index + 1, "+") && Is(index + 2, ")");
  }
  // A query in parentheses begins at that index.
  bool IsSubquery(std::size_t index) const {
    return Is(index, "(") && (Is(index + 1, "SELECT") || Is(index + 1, "WITH"));
  }
  // The first token of that word in [at, end) that stands in no query inside, or `end`.
  std::size_t FindOwn(std::string_view word, std::size_t at, std::size_t end) const;

  // Puts the tokens of [first, first + order.size()) into that order. REQUIRES: `order` is a
  // permutation of them, and no parenthesis leads out of them.
  void Reorder(std::size_t first, const std::vector<std::size_t>& order);

  void Wrap(std::size_t first, std::size_t last, std::string_view before, std::string_view after);
  void Hide(std::size_t first, std::size_t behind) {
    for (std::size_t i = first; i < behind; ++i) FTokens[i].hidden = FTokens[i].settled = true;
  }

  std::string_view Source(std::size_t index) const {
    return std::string_view(FText.Text()).substr(FTokens[index].offset, FTokens[index].length);
  }
  const std::string& StatementText() const { return FText.Text(); }
  // Raises EDatabaseError "line L, column C: message".
  [[noreturn]] void Refuse(std::size_t index, const std::string& message) const;

  // One entry per token of the output: where it begins there, and where in the source.
  using TOrigins = std::vector<std::pair<std::uint32_t, std::uint32_t>>;
  // Appends the tokens [first, behind).
  void Render(std::size_t first, std::size_t behind, std::string& sql, TOrigins& origins) const;

 private:
  void ReadGap(std::size_t& at, std::string& gap);
  void ReadToken(std::size_t& at, std::size_t& place);
  void PairParentheses();

  const TStatementText& FText;
  std::vector<TSqlToken> FTokens;
  bool FHasOuterMarks = false;
  bool FHasRownum = false;
};

// "line L, column C" of an offset; both count from 1, columns in characters.
std::string SqlPlace(std::string_view text, std::size_t offset);

}  // namespace perlayer
