#pragma once
// TMapStatement: one statement of a class map cut into tokens, for the checks of class maps. The
// layer finds its places in a statement by letters and lines; the tokens tell where those places
// really are. Immutable, safe on every thread.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace perlayer {

struct TMapToken {
  enum class TKind : std::uint8_t { word, quoted, literal, number, parameter, symbol };
  TKind kind = TKind::symbol;
  std::size_t begin = 0;  // in Text()
  std::size_t end = 0;
  int depth = 0;  // parentheses around it; of a parenthesis itself, those around the pair
};

// "OMRA.PATIENT P" of a statement.
struct TMapTable {
  std::string owner;  // empty without one
  std::string name;
  std::string alias;       // empty without one
  std::size_t offset = 0;  // where it begins in the text
  std::size_t end = 0;     // and ends, without the alias
  std::string FullName() const { return owner.empty() ? name : owner + "." + name; }
};

// One column of a select list.
struct TMapColumn {
  std::string name;       // what it is called in the result; empty when only its text tells
  std::string qualifier;  // of a plain column: "P" of P.ID, "OMRA.PATIENT" of OMRA.PATIENT.ID
  std::string column;     // of a plain column; empty for an expression
  bool all = false;       // "*" or "P.*"
  std::size_t offset = 0;
};

class TMapStatement {
 public:
  // `title` is what messages call it; `line` the file's line of its line 0.
  TMapStatement(std::string title, const std::vector<std::string>& lines, int line);

  bool Empty() const { return FTokens.empty(); }
  const std::string& Title() const { return FTitle; }
  const std::string& Text() const { return FText; }  // the lines with LF between them
  const std::string& Upper() const { return FUpper; }
  // What has no end: "a quote", "a comment", "a parenthesis"; empty for a statement that is whole.
  const std::string& OpenEnd() const { return FOpenEnd; }

  // Lines count from 0; FileLine answers the line of the file.
  int LineOf(std::size_t offset) const;
  int FileLine(std::size_t offset) const { return FFirstLine + LineOf(offset); }
  int FirstLine() const { return FFirstLine; }
  // The first token in that line or below it, or Count().
  std::size_t FirstTokenIn(int line) const;

  std::size_t Count() const { return FTokens.size(); }
  const TMapToken& operator[](std::size_t index) const { return FTokens[index]; }
  std::string_view Source(std::size_t index) const;
  // There is a token of that index and it is that word (in upper case here) or symbol.
  bool Is(std::size_t index, std::string_view wordOrSymbol) const;
  bool IsKind(std::size_t index, TMapToken::TKind kind) const;
  // The first such token outside parentheses from `index` on, or Count().
  std::size_t Find(std::string_view wordOrSymbol, std::size_t index = 0) const;
  // The parameter's name without its colon; empty when the token is none.
  std::string_view Parameter(std::size_t index) const;
  bool HasComment(std::size_t begin, std::size_t end) const;
  // The name that the letters at `offset` belong to, for messages.
  std::string_view NameAround(std::size_t offset) const;

  // [OWNER.]NAME that begins with this token, letters joined; nothing when there is none.
  std::optional<TMapTable> TableAt(std::size_t index) const;
  // The pieces between the tokens `first` and `behind`, cut at commas outside further parentheses:
  // first token and the one behind the last. An empty piece has none.
  using TRange = std::pair<std::size_t, std::size_t>;
  std::vector<TRange> Pieces(std::size_t first, std::size_t behind) const;

  // Of a SELECT. REQUIRES: its FROM is the token `from`.
  std::vector<TMapColumn> SelectedColumns(std::size_t from) const;
  // `known` becomes false when FROM holds what is no table, so that not all columns can be told.
  std::vector<TMapTable> TablesOfFrom(std::size_t from, bool& known) const;

 private:
  std::size_t ReadToken(std::size_t at);
  TMapColumn ColumnOf(TRange piece) const;

  std::string FTitle;
  std::string FText;
  std::string FUpper;
  std::string FOpenEnd;
  int FFirstLine;
  std::vector<std::size_t> FLineBegins;
  std::vector<TMapToken> FTokens;
  std::vector<std::pair<std::size_t, std::size_t>> FComments;
};

}  // namespace perlayer
