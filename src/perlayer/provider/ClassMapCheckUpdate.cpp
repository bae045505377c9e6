// What the layer relies on in the statements that write a table.

#include <algorithm>
#include <array>

#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/ClassMapChecks.h"
#include "perlayer/provider/ClassMapLines.h"

namespace perlayer {

namespace {

using TKind = TMapToken::TKind;
using TRange = TMapStatement::TRange;

constexpr std::size_t kNone = std::string::npos;

// The rules that INSERT, MODIFY and DELETE share.
class TStatementRules {
 public:
  TStatementRules(const TMapStatement& sql, const TClassMapQuery* query,
                  TClassMapFindings& findings)
      : FSql(sql),
        FQuery(query),
        FId(query == nullptr ? "" : IdAttribute(*query)),
        FFindings(findings) {}

 protected:
  void Fault(std::size_t offset, const std::string& text) { FFindings.Fault(FSql, offset, text); }
  void Remark(std::size_t offset, const std::string& text) { FFindings.Remark(FSql, offset, text); }

  // The statement begins with these words and a table behind them.
  bool Begins(const std::vector<std::string_view>& words) {
    for (std::size_t i = 0; i < words.size(); ++i) {
      if (FSql.Is(i, words[i])) continue;
      Fault(FSql[std::min(i, FSql.Count() - 1)].begin,
            Format("expected %s OWNER.TABLE at the beginning",
                   JoinText({words.begin(), words.end()}, " ")));
      return false;
    }
    CheckTable(words.size());
    return true;
  }

  void CheckTable(std::size_t at) {
    const auto table = FSql.TableAt(at);
    if (!table || table->owner.empty()) {
      Fault(FSql[std::min(at, FSql.Count() - 1)].begin, "the table must be written OWNER.TABLE");
      return;
    }
    const std::string name = table->FullName();
    if (name != AsciiUpperCase(name)) {
      Fault(table->offset, Format("%s must be written in upper case; the class's table name is "
                                  "taken from here letter by letter",
                                  name));
    }
    if (table->end < FSql.Text().size() && FSql.Text()[table->end] != '\n') {
      Fault(table->offset, Format("the line must end right behind %s; whatever stands there, a "
                                  "blank too, would belong to the name",
                                  name));
    }
  }

  // True when there are no letters RETURNING.
  bool IsNarrowed() {
    const std::size_t at = FSql.Upper().find("RETURNING");
    if (at == kNone) return true;
    const std::string_view name = FSql.NameAround(at);
    Remark(at, Format("%s: the statement runs whole, with the columns that have not changed",
                      SameText(name, "RETURNING")
                          ? "it has RETURNING"
                          : "it has the letters RETURNING in " + std::string(name)));
    return false;
  }

  // No comment between the two: the layer would take it for a part of what stands beside it.
  bool IsFreeOfComments(std::size_t begin, std::size_t end) {
    if (!FSql.HasComment(begin, end)) return true;
    Fault(begin,
          "a comment stands in the list, which is cut at commas only; move it above the "
          "statement's own lines");
    return false;
  }

  // A column that is written: an attribute, and named once. `value` is what it gets.
  void CheckColumn(std::size_t token, TRange value) {
    const std::string name(FSql.Source(token));
    const std::size_t at = FSql[token].begin;
    const bool again = std::any_of(FColumns.begin(), FColumns.end(),
                                   [&](const std::string& other) { return SameText(other, name); });
    FColumns.push_back(name);
    if (again) Fault(at, Format("column %s stands here twice", name));
    if (FQuery == nullptr || again) return;
    if (FindAttribute(*FQuery, name) == nullptr) {
      Fault(at, Format("column %s is no attribute of %s; only fields that are read can be written",
                       name, FQuery->name));
      return;
    }
    const std::string_view parameter =
        value.second == value.first + 1 ? FSql.Parameter(value.first) : std::string_view();
    if (!parameter.empty() && !SameText(parameter, name) &&
        FindAttribute(*FQuery, parameter) != nullptr) {
      Remark(
          FSql[value.first].begin,
          Format("column %s is given %s; it is left out when %s has not changed, whatever %s did",
                 name, FSql.Source(value.first), name, parameter));
    }
  }

  // Each is an attribute, or OLD_ and one. What RETURNING fills is none of ours.
  void CheckParameters() {
    if (FQuery == nullptr) return;
    const std::size_t behind = FSql.Find("RETURNING");
    std::vector<std::string_view> told;
    for (std::size_t i = 0; i < behind; ++i) {
      const std::string_view name = FSql.Parameter(i);
      if (name.empty() || FindAttribute(*FQuery, name) != nullptr) continue;
      if (StartsText("OLD_", name) && FindAttribute(*FQuery, name.substr(4)) != nullptr) continue;
      if (std::find(told.begin(), told.end(), name) != told.end()) continue;
      told.push_back(name);
      Fault(FSql[i].begin, Format("nothing sets the parameter %s; %s has no such attribute",
                                  FSql.Source(i), FQuery->name));
    }
  }

  // Whether WHERE keeps the statement to the object's own row.
  void CheckCondition(std::size_t where) {
    if (where == FSql.Count()) {
      Fault(FSql[0].begin, "there is no WHERE, so it would write every row of the table");
      return;
    }
    if (FId.empty()) return;
    for (std::size_t i = where; i < FSql.Count(); ++i) {
      const std::string_view name = FSql.Parameter(i);
      if (SameText(name, FId) || SameText(name, "OLD_" + FId)) return;
    }
    Fault(
        FSql[where].begin,
        Format("the condition does not say :%s, so it is not kept to the row of the object", FId));
  }

  const TMapStatement& FSql;
  const TClassMapQuery* const FQuery;
  const std::string FId;
  TClassMapFindings& FFindings;
  std::vector<std::string> FColumns;
};

class TInsertRules : public TStatementRules {
 public:
  using TStatementRules::TStatementRules;

  void Run() {
    if (Begins({"INSERT", "INTO"}) && IsNarrowed()) CheckLists();
    CheckParameters();
  }

 private:
  // The layer counts parentheses wherever they stand: in texts and comments too.
  bool FindLists(std::array<std::size_t, 4>& places) {
    static constexpr std::string_view kShape = "()()";
    const std::string& text = FSql.Text();
    std::size_t count = 0;
    for (std::size_t at = text.find_first_of("()"); at != kNone;
         at = text.find_first_of("()", at + 1)) {
      if (count == kShape.size() || text[at] != kShape[count]) {
        Fault(at,
              "there are parentheses besides those around the columns and around the values, at "
              "which the statement is cut; let the database compute it in a default or a trigger");
        return false;
      }
      places[count++] = at;
    }
    if (count < kShape.size()) {
      Fault(FSql[0].begin, "the shape must be insert into TABLE (columns) values (values)");
      return false;
    }
    return true;
  }

  std::size_t TokenAt(std::size_t offset) const {
    std::size_t i = 0;
    while (i < FSql.Count() && FSql[i].begin < offset) ++i;
    return i;
  }

  void CheckLists() {
    std::array<std::size_t, 4> places{};
    if (!FindLists(places)) return;
    const std::size_t columns = TokenAt(places[0]), columnsEnd = TokenAt(places[1]);
    const std::size_t values = TokenAt(places[2]), valuesEnd = TokenAt(places[3]);
    const auto table = FSql.TableAt(2);
    const std::size_t behindTable = !table ? 0 : table->owner.empty() ? 3 : 5;
    if (columns != behindTable || !FSql.Is(columnsEnd + 1, "VALUES") || values != columnsEnd + 2 ||
        valuesEnd + 1 != FSql.Count()) {
      Fault(FSql[0].begin,
            "the shape must be insert into TABLE (columns) values (values), with nothing else");
      return;
    }
    if (!IsFreeOfComments(places[0], places[1]) || !IsFreeOfComments(places[2], places[3])) return;
    // A comma within a text would be cut as well.
    const auto text = std::string_view(FSql.Text());
    const auto commas = [&](std::size_t from, std::size_t to) {
      return static_cast<std::size_t>(std::count(text.begin() + static_cast<std::ptrdiff_t>(from),
                                                 text.begin() + static_cast<std::ptrdiff_t>(to),
                                                 ','));
    };
    const auto names = FSql.Pieces(columns + 1, columnsEnd),
               given = FSql.Pieces(values + 1, valuesEnd);
    if (commas(places[2], places[3]) + 1 != given.size()) {
      Fault(places[2], "a value has a comma of its own, at which the list is cut");
      return;
    }
    if (names.size() != given.size()) {
      Fault(places[2], Format("there are %d columns and %d values", names.size(), given.size()));
      return;
    }
    for (std::size_t i = 0; i < names.size(); ++i) {
      const auto [first, behind] = names[i];
      if (behind != first + 1 || !FSql.IsKind(first, TKind::word) ||
          given[i].first == given[i].second) {
        Fault(behind == first ? places[0] : FSql[first].begin,
              Format("column %d of the list must be a name, and have a value", i + 1));
        return;
      }
      CheckColumn(first, given[i]);
    }
  }
};

class TModifyRules : public TStatementRules {
 public:
  using TStatementRules::TStatementRules;

  void Run() {
    if (Begins({"UPDATE"})) {
      const std::size_t set = FSql.Find("SET");
      const std::size_t where = FSql.Find("WHERE");
      CheckCondition(where);
      if (set == FSql.Count() || where < set) {
        Fault(FSql[0].begin, "there is no SET");
      } else if (where < FSql.Count()) {
        CheckSet(set, where);
      }
    }
    CheckParameters();
  }

 private:
  void CheckSet(std::size_t set, std::size_t where) {
    const bool narrowed = IsNarrowed();
    if (narrowed && (!IsFirst("SET", set) || !IsFirst("WHERE", where))) return;
    const auto pieces = FSql.Pieces(set + 1, where);
    CheckId(pieces[0]);
    if (!narrowed || !IsFreeOfComments(FSql[set].begin, FSql[where].begin)) return;
    if (!HasPlainCommas(pieces, set, where)) return;
    for (const auto& [first, behind] : pieces) {
      if (behind < first + 3 || !FSql.IsKind(first, TKind::word) || !FSql.Is(first + 1, "=")) {
        Fault(FSql[std::min(first, where)].begin,
              "expected assignments like A = :A, with commas between them");
        return;
      }
      CheckColumn(first, {first + 2, behind});
    }
    if (pieces.size() == 1) {
      Fault(
          FSql[set].begin,
          "it assigns the ID only, which is cut out; without another column take the modify away");
    }
  }

  // The letters are sought, not the word.
  bool IsFirst(std::string_view word, std::size_t token) {
    const std::size_t at = FSql.Upper().find(word);
    if (at == FSql[token].begin) return true;
    Fault(at, Format("the letters %s of %s stand ahead of %s and are taken for it", word,
                     FSql.NameAround(at), word));
    return false;
  }

  // The assignment of the ID is cut out from the first place of the ID's letters.
  void CheckId(TRange first) {
    if (FId.empty()) return;
    const auto [at, behind] = first;
    const bool assigned = behind == at + 3 && FSql.Source(at) == FId && FSql.Is(at + 1, "=") &&
                          FSql.Parameter(at + 2) == FId;
    if (!assigned) {
      Fault(FSql[std::min(at, FSql.Count() - 1)].begin,
            Format("the first assignment must be %s = :%s, letter for letter; it is cut out, and "
                   "without it the condition would lose its ID",
                   FId, FId));
      return;
    }
    const std::size_t letters = FSql.Text().find(FId);
    if (letters == FSql[at].begin) return;
    Fault(letters, Format("the letters %s of %s stand ahead of the assignment of the ID, and it "
                          "would be cut out from there",
                          FId, FSql.NameAround(letters)));
  }

  bool HasPlainCommas(const std::vector<TRange>& pieces, std::size_t set, std::size_t where) {
    const std::string& text = FSql.Text();
    std::size_t piece = 0;
    for (std::size_t at = text.find(',', FSql[set].begin); at < FSql[where].begin;
         at = text.find(',', at + 1)) {
      const std::size_t token = piece < pieces.size() ? pieces[piece++].second : FSql.Count();
      if (token < where && FSql[token].begin == at) continue;
      Fault(at,
            "a right-hand side has a comma of its own, at which the assignments are cut; let the "
            "database compute it");
      return false;
    }
    return true;
  }
};

class TDeleteRules : public TStatementRules {
 public:
  using TStatementRules::TStatementRules;

  void Run() {
    const bool from = FSql.Is(1, "FROM");
    if (Begins(from ? std::vector<std::string_view>{"DELETE", "FROM"}
                    : std::vector<std::string_view>{"DELETE"})) {
      CheckCondition(FSql.Find("WHERE"));
    }
    CheckParameters();
  }
};

// The statements of several updates run as one block, which is cut at semicolons and ends at the
// first letters END.
void CheckBlockRules(const TMapStatement& sql, TClassMapFindings& findings) {
  const std::string& upper = sql.Upper();
  if (const std::size_t at = upper.find("END"); at != kNone) {
    findings.Fault(sql, at,
                   Format("the letters END of %s end the block that this class's updates run as; "
                          "call it otherwise",
                          sql.NameAround(at)));
  }
  if (const std::size_t at = upper.find(';'); at != kNone) {
    findings.Fault(sql, at,
                   "a semicolon cuts the block that this class's updates run as; take it out");
  }
  const std::size_t lastLine = upper.rfind('\n') == kNone ? 0 : upper.rfind('\n') + 1;
  if (upper.find("--", lastLine) != kNone && sql.HasComment(lastLine, upper.size())) {
    findings.Fault(sql, lastLine,
                   "a comment in the last line takes in what comes behind it in the block that "
                   "this class's updates run as");
  }
}

// Of a statement that begins as it should; otherwise empty.
std::string TableOf(const TMapStatement& sql) {
  std::size_t at = 1;
  if (sql.Is(0, "INSERT") ? sql.Is(1, "INTO") : sql.Is(0, "DELETE") && sql.Is(1, "FROM")) ++at;
  if (at == 1 && !sql.Is(0, "UPDATE") && !sql.Is(0, "DELETE")) return "";
  const auto table = sql.TableAt(at);
  return table ? AsciiUpperCase(table->FullName()) : "";
}

}  // namespace

void CheckUpdateRules(const TClassMapUpdateSql& update, const TClassMapQuery* query, bool several,
                      TClassMapFindings& findings) {
  const std::array<TMapStatement, 3> statements = {InsertOf(update), ModifyOf(update),
                                                   DeleteOf(update)};
  if (findings.IsWhole(statements[0])) TInsertRules(statements[0], query, findings).Run();
  if (findings.IsWhole(statements[1])) TModifyRules(statements[1], query, findings).Run();
  if (findings.IsWhole(statements[2])) TDeleteRules(statements[2], query, findings).Run();
  std::string known;
  for (const TMapStatement& sql : statements) {
    if (sql.Empty()) continue;
    if (several) CheckBlockRules(sql, findings);
    const std::string table = TableOf(sql);
    if (known.empty()) known = table;
    if (table.empty() || table == known) continue;
    findings.Fault(
        sql, 0,
        Format("it writes %s, and the statements above %s; each table has an update of its own",
               table, known));
  }
}

}  // namespace perlayer
