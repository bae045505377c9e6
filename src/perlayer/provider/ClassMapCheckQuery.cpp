// What the layer relies on in the query of a class.

#include <algorithm>

#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/ClassMapChecks.h"
#include "perlayer/provider/ClassMapLines.h"
#include "perlayer/provider/TIGetTableOwner.h"

namespace perlayer {

namespace {

using TKind = TMapToken::TKind;

constexpr std::size_t kNone = std::string::npos;

class TQueryRules {
 public:
  TQueryRules(const TClassMapQuery& query, TClassMapFindings& findings)
      : FQuery(query), FId(IdAttribute(query)), FSql(SelectOf(query)), FFindings(findings) {}

  void Run() {
    CheckFields();
    if (!FFindings.IsWhole(FSql)) return;
    if (!FSql.Is(0, "SELECT")) {
      FFindings.Fault(FSql, FSql[0].begin,
                      "a query begins with SELECT, this one with " + Quoted(FSql.Source(0)));
      return;
    }
    FFrom = FSql.Find("FROM");
    FWhere = FSql.Find("WHERE");
    CheckLines();
    if (FFrom < FSql.Count()) {
      CheckOwner();
      if (!FId.empty()) CheckColumns();
    }
    CheckParameters();
    TellView();
  }

 private:
  void Fault(std::size_t offset, const std::string& text) { FFindings.Fault(FSql, offset, text); }
  void FaultInLine(int line, const std::string& text) {
    FFindings.Fault(FSql.FirstLine() + line, FSql.Title() + ": " + text);
  }
  int LineOfToken(std::size_t index) const { return FSql.LineOf(FSql[index].begin); }

  void CheckFields() {
    if (FId.empty()) {
      FFindings.Fault(
          FQuery.line,
          FQuery.name + " has no field that is read; the first one is the ID of the class");
    }
    for (const TClassMapField& field : FQuery.fields) {
      const std::string name = FQuery.name + ": field " + field.name;
      if (field.type == TClassMapFieldType::integer) {
        FFindings.Fault(
            field.line,
            name + " is an integer, which reads as Unassigned without a value; declare it float");
      }
      if (!field.calculated) CheckLetters(field, name);
    }
  }

  std::string IdName() const { return FId.empty() ? "ID" : FId; }  // for messages

  // FROM in a name is a fault of the select list, and told there.
  void CheckLetters(const TClassMapField& field, const std::string& name) {
    static constexpr std::pair<std::string_view, std::string_view> kLetters[] = {
        {"WHERE", "a statement that is given whole is cut there, and so is a modify"},
        {"LIKE", "in a condition no value from there on is bound"},
        {"SET", "a modify is cut there unless it comes behind the word SET"}};
    const std::string upper = AsciiUpperCase(field.name);
    for (const auto& [letters, effect] : kLetters) {
      if (upper.find(letters) == kNone) continue;
      FFindings.Remark(field.line, Format("%s has the letters %s: %s", name, letters, effect));
    }
  }

  // --- lines ---

  void CheckLines() {
    const int select = LineOfToken(0);
    if (select > 0) {
      FaultInLine(
          0,
          "the select list must be the first line; take out the blank and comment lines above it");
    }
    if (FFrom == FSql.Count()) {
      Fault(FSql[0].begin, "there is no FROM");
      return;
    }
    const int from = LineOfToken(FFrom);
    if (from == select) {
      Fault(FSql[FFrom].begin,
            "FROM must begin the line below the select list; a list fetch may replace either line");
    } else if (LineOfToken(FFrom - 1) > select) {
      FaultInLine(
          select + 1,
          "the select list goes on here; it must be one line, which a list fetch may replace");
    } else if (from > select + 1) {
      FaultInLine(select + 1,
                  "FROM must stand here, right below the select list; take out the blank and "
                  "comment lines");
    }
    if (FWhere == FSql.Count()) {
      CheckNoWhere();
      return;
    }
    const int where = LineOfToken(FWhere);
    if (FWhere > 0 && LineOfToken(FWhere - 1) > from) {
      Fault(FSql[FSql.FirstTokenIn(from + 1)].begin,
            "FROM goes on here; all tables and joins must be one line, which a list fetch may "
            "replace");
    }
    CheckWhereLine(where);
    CheckOtherWhereLines(where);
    CheckCondition(where);
  }

  void CheckNoWhere() {
    FaultInLine(static_cast<int>(FQuery.sql.size()) - 1,
                Format("there is no WHERE; a line with that word alone, and one with ID = :%s, "
                       "must end the query",
                       IdName()));
  }

  void CheckWhereLine(int where) {
    const std::string& line = FQuery.sql[static_cast<std::size_t>(where)];
    const std::size_t first = FSql.FirstTokenIn(where);
    if (first != FWhere) {
      Fault(FSql[FWhere].begin,
            "WHERE must begin a line of its own, where the condition below it can be replaced");
    } else if (!Indentation(line).empty()) {
      Fault(FSql[FWhere].begin,
            "WHERE must not be indented more than the line of SELECT; it is sought at the "
            "beginning of a line");
    } else {
      FWhereBeginsLine = true;
    }
  }

  // The layer takes the first line that begins with these letters, in one place the last.
  void CheckOtherWhereLines(int where) {
    for (int i = 0; i < static_cast<int>(FQuery.sql.size()); ++i) {
      const std::string upper =
          AsciiUpperCase(FQuery.sql[static_cast<std::size_t>(i)].substr(0, 5));
      if (i != where && (upper == "WHERE" || (upper == "START" && i < where))) {
        FaultInLine(i, Format("this line begins with the letters %s and is taken for the line of "
                              "WHERE; put something ahead of them",
                              upper));
      }
    }
  }

  void CheckCondition(int where) {
    const int lines = static_cast<int>(FQuery.sql.size());
    if (FWhere + 1 < FSql.Count() && LineOfToken(FWhere + 1) == where) {
      Fault(FSql[FWhere + 1].begin,
            "the condition must stand in the line below WHERE, which other conditions replace");
      return;
    }
    if (FWhere + 1 == FSql.Count()) {
      FaultInLine(where,
                  Format("there is no condition below WHERE; it must be ID = :%s", IdName()));
      return;
    }
    if (LineOfToken(FWhere + 1) > where + 1) {
      FaultInLine(where + 1,
                  "the condition on the ID must stand here, right below WHERE; take out the blank "
                  "and comment lines");
      return;
    }
    const std::size_t next = FSql.FirstTokenIn(where + 2);
    if (next < FSql.Count()) {
      const bool order = FSql.Is(next, "ORDER");
      Fault(FSql[next].begin,
            order ? "nothing may follow the condition on the ID; lists are ordered by whoever "
                    "fetches them"
                  : "nothing may follow the line below WHERE: other conditions replace that one "
                    "only, and \"AND ...\" is appended to the last line");
      return;
    }
    if (where + 2 < lines) {
      FaultInLine(where + 2,
                  "nothing may follow the condition on the ID, no blank or comment line either: "
                  "\"AND ...\" is appended to the last line");
    }
    CheckIdCondition();
  }

  // [P.]ID = :ID
  void CheckIdCondition() {
    std::size_t at = FWhere + 1;
    const std::size_t begin = FSql[at].begin;
    const std::size_t last = FSql.Count() - 1;
    while (FSql.IsKind(at, TKind::word) && FSql.Is(at + 1, ".")) at += 2;
    const bool shape = FSql.IsKind(at, TKind::word) && FSql.Is(at + 1, "=") && at + 2 == last &&
                       FSql.IsKind(last, TKind::parameter);
    if (!shape) {
      Fault(begin, Format("the last line must be the condition on the ID and nothing else, its "
                          "parameter last (ID = :%s); other conditions replace the line, so a join "
                          "condition belongs into FROM",
                          IdName()));
    } else if (!FId.empty() && !SameText(FSql.Parameter(last), FId)) {
      Fault(begin, Format("the parameter of the last line must be called :%s after the ID "
                          "attribute, by which it is set; it is :%s",
                          FId, FSql.Parameter(last)));
    } else {
      FIdCondition = true;
    }
  }

  void CheckParameters() {
    for (std::size_t i = 0; i < FSql.Count() && i < FWhere; ++i) {
      if (!FSql.IsKind(i, TKind::parameter)) continue;
      Fault(
          FSql[i].begin,
          Format(
              "nothing sets the parameter %s; the only one of a query is that of its ID condition",
              FSql.Source(i)));
    }
  }

  // --- FROM and the select list ---

  void CheckOwner() {
    const std::size_t letters = FSql.Upper().find("FROM");
    if (letters != FSql[FFrom].begin) {
      Fault(letters, Format("the letters FROM of %s stand ahead of FROM and are taken for it; call "
                            "the column otherwise",
                            FSql.NameAround(letters)));
      return;
    }
    const auto table = FSql.TableAt(FFrom + 1);
    if (!table || table->owner.empty()) {
      const std::size_t at = FFrom + 1 < FSql.Count() ? FFrom + 1 : FFrom;
      Fault(FSql[at].begin,
            "the first table must be written OWNER.TABLE; it gives the owner of the class's table");
      return;
    }
    std::string owner, name;
    TIGetTableOwner::GetOwnerFromSelect(FSql.Text(), owner, name);
    if (!SameText(owner, table->owner) || !SameText(name, table->name)) {
      Fault(table->offset,
            Format("a blank, a comma or a line end must stand behind %s; it is read as %s.%s",
                   table->FullName(), owner, name));
    }
  }

  void CheckColumns() {
    const auto columns = FSql.SelectedColumns(FFrom);
    bool all = false;
    for (auto column = columns.begin(); column != columns.end(); ++column) {
      if (column->all) {
        all = true;
        FFindings.Remark(
            FSql, column->offset,
            "the select list has *, so that columns and attributes cannot be compared");
      } else if (column->name.empty()) {
        FFindings.Remark(FSql, column->offset,
                         "a column of the select list has no name and can be no attribute; give it "
                         "one behind it");
      } else {
        const bool again = std::any_of(columns.begin(), column, [&](const TMapColumn& other) {
          return SameText(other.name, column->name);
        });
        CheckColumn(*column, again);
      }
    }
    if (all) return;
    for (const TClassMapField& field : FQuery.fields) {
      const bool selected =
          std::any_of(columns.begin(), columns.end(),
                      [&](const TMapColumn& column) { return SameText(column.name, field.name); });
      if (selected == !field.calculated) continue;
      FFindings.Fault(
          field.line,
          Format(field.calculated
                     ? "%s: field %s is a column of the select list and cannot be calculated too"
                     : "%s: field %s is no column of the select list; add it there or declare the "
                       "field calculated",
                 FQuery.name, field.name));
    }
  }

  void CheckColumn(const TMapColumn& column, bool again) {
    if (again) {
      Fault(
          column.offset,
          Format("the select list has two columns called %s; only the first is read", column.name));
      return;
    }
    const bool known =
        std::any_of(FQuery.fields.begin(), FQuery.fields.end(),
                    [&](const auto& field) { return SameText(field.name, column.name); });
    if (known) return;
    FFindings.Remark(
        FSql, column.offset,
        Format("column %s of the select list is no field, so objects do not keep it", column.name));
  }

  // --- views ---

  void TellView() {
    const std::string obstacle = ViewObstacle();
    FFindings.Remark(FQuery.line, obstacle.empty()
                                      ? FQuery.name + " can carry a view"
                                      : FQuery.name + " cannot carry a view: " + obstacle);
  }

  // A view joins the first two lines to one and relies on WHERE, filter and order behind it.
  std::string ViewObstacle() const {
    const auto first = [&](std::string_view letters) {
      const auto line =
          std::find_if(FQuery.sql.begin(), FQuery.sql.end(), [&](const std::string& text) {
            return IsSql(text) && AsciiUpperCase(text).find(letters) != kNone;
          });
      return static_cast<int>(line - FQuery.sql.begin());
    };
    if (FFrom == FSql.Count() || FWhere == FSql.Count()) return "it needs FROM and WHERE";
    if (LineOfToken(0) != 0 || first("FROM") != 1 || LineOfToken(FFrom) != 1) {
      return "the select list must be the first line and FROM the second, the letters FROM in none "
             "ahead of it";
    }
    if (AsciiUpperCase(FQuery.sql[1]).find("SELECT") != kNone) {
      return "the letters SELECT stand in the line of FROM";
    }
    const int where = first("WHERE");
    if (where < 2) return "the letters WHERE stand ahead of WHERE";
    if (where > 2 || LineOfToken(FWhere) != 2 || !FWhereBeginsLine) {
      return "WHERE must be the third line, right below FROM, with no blank or comment line "
             "between them";
    }
    if (!FIdCondition || FQuery.sql.size() != 4) {
      return "nothing but the condition on the ID may stand below WHERE";
    }
    return "";
  }

  const TClassMapQuery& FQuery;
  const std::string FId;
  const TMapStatement FSql;
  TClassMapFindings& FFindings;
  std::size_t FFrom = 0;
  std::size_t FWhere = 0;
  bool FWhereBeginsLine = false;
  bool FIdCondition = false;
};

}  // namespace

void CheckQueryRules(const TClassMapQuery& query, TClassMapFindings& findings) {
  TQueryRules(query, findings).Run();
}

}  // namespace perlayer
