// The statements of TplProvider that write rows, and large objects. Their texts are cut by the
// places of key words, as class maps promise to write them; nothing parses SQL.

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "perlayer/corekit/StringLists.h"
#include "perlayer/corekit/TIQuery.h"
#include "perlayer/corekit/TIUpdateSQL.h"
#include "perlayer/database/TISQLHelper.h"
#include "perlayer/object/TplPerObject.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TStream.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/TcmpClassMap.h"
#include "perlayer/provider/TplProvider.h"

namespace perlayer {

namespace {

constexpr std::string_view kBegin = "BEGIN";

// The stretches that the parentheses of an INSERT bound: up to the first "(", the columns, from ")"
// to the next "(", the values, and the rest up to a further parenthesis.
std::array<std::string_view, 5> InsertParts(std::string_view text) {
  std::array<std::string_view, 5> parts;
  std::size_t part = 0;
  std::size_t begin = 0;
  for (std::size_t at = 0; at < text.size() && part < parts.size(); ++at) {
    if (text[at] != '(' && text[at] != ')') continue;
    const std::size_t end = text[at] == '(' ? at + 1 : at;
    parts[part++] = text.substr(begin, end - begin);
    begin = end;
  }
  if (part < parts.size()) parts[part] = text.substr(begin);
  return parts;
}

// Frees nothing that it is not given: the list of update SQL is the caller's, its items the map's.
TIUpdateSQL* UpdateSQL(const TOwned<TList>& list, int index) {
  return static_cast<TIUpdateSQL*>(list->Items(index));
}

}  // namespace

TOwned<TList> TplProvider::UpdateSQLList() {
  TOwned<TList> list(aiClassMap()->GetUpdateSQLList(FQueryName));
  if (list->Count() == 0) throw Exception("No UpdateSQL for " + FQueryName);
  return list;
}

void TplProvider::GetSQLStatements() {
  const TOwned<TList> list = UpdateSQLList();
  const std::string id = GetIDAttrName();
  const auto modify = [&](int index) {
    return RemoveIdFieldFromModifyStatement(UpdateSQL(list, index)->Text(TIUpdateSQL::usModify),
                                            id);
  };
  std::string insertSql;
  std::string modifySql;
  std::string deleteSql;
  if (list->Count() == 1) {
    insertSql = UpdateSQL(list, 0)->Text(TIUpdateSQL::usInsert);
    modifySql = modify(0);
    deleteSql = UpdateSQL(list, 0)->Text(TIUpdateSQL::usDelete);
  } else {
    insertSql = modifySql = deleteSql = "begin\r\n";
    for (int i = 0; i < list->Count(); ++i) {
      insertSql += UpdateSQL(list, i)->Text(TIUpdateSQL::usInsert) + ";\r\n";
      modifySql += modify(i) + ";\r\n";
    }
    for (int i = list->Count() - 1; i >= 0; --i) {
      deleteSql += UpdateSQL(list, i)->Text(TIUpdateSQL::usDelete) + ";\r\n";
    }
    for (std::string* statement : {&insertSql, &modifySql, &deleteSql}) *statement += "end ;\r\n";
  }
  // A text that has not changed stays where it is: it may be about to run.
  const auto keep = [](std::string& statement, std::string& sql) {
    if (statement != sql) statement = std::move(sql);
  };
  keep(fInsertStatement, insertSql);
  keep(fModifyStatement, modifySql);
  keep(fDeleteStatement, deleteSql);
}

const std::string& TplProvider::GetInsertStatement() {
  if (fInsertStatement.empty()) GetSQLStatements();
  return fInsertStatement;
}

const std::string& TplProvider::GetModifyStatement() {
  if (fModifyStatement.empty()) GetSQLStatements();
  return fModifyStatement;
}

const std::string& TplProvider::GetDeleteStatement() {
  if (fDeleteStatement.empty()) GetSQLStatements();
  return fDeleteStatement;
}

std::string TplProvider::GetSelectStatement() { return ClassMapQuery()->SQLText(); }

std::string TplProvider::GetSelectStatementWithoutParameters() {
  try {
    const TOwned<TStringList> lines = Make<TStringList>();
    lines->Assign(*ClassMapQuery()->SQL());
    int parameters = 3;
    for (int i = 0; i < lines->Count(); ++i) {
      if (AsciiUpperCase(lines->Strings(i).substr(0, 5)) == "WHERE") parameters = i + 1;
    }
    lines->Delete(parameters);
    return StringList2StringSep(*lines, "\r\n");
  } catch (const std::exception&) {
    throw Exception(
        "TplProvider.GetSelectStatementWithoutParameters: SQL stavek ni v običajni obliki (iščem "
        "\"where\")!");
  }
}

std::string TplProvider::RemoveIdFieldFromModifyStatement(const std::string& ASQL,
                                                          const std::string& AIdAttrName) {
  std::string sql = ASQL;
  if (ASQL.empty() || AIdAttrName.empty()) return sql;
  std::size_t begin = sql.find(AIdAttrName);
  const std::size_t parameter = sql.find(":" + AIdAttrName);
  if (parameter == std::string::npos || begin >= parameter) return sql;
  std::size_t end = parameter + 1 + AIdAttrName.size();
  if (const std::size_t comma = sql.find(',', end); comma != std::string::npos) end = comma + 1;
  if (sql.substr(begin, end - begin).find(',') == std::string::npos) {
    // It was the last assignment: the comma ahead of it goes instead.
    if (const std::size_t comma = sql.substr(0, begin).rfind(','); comma != std::string::npos) {
      sql.erase(comma, 1);
      --begin;
      --end;
    }
  }
  return sql.erase(begin, end - begin);
}

bool TplProvider::AllowedToOptimizeQuery(const std::string& ASQL) {
  return AsciiUpperCase(ASQL).find("RETURNING") == std::string::npos;
}

void TplProvider::GetSQLStatementsList(const std::string& ACombinedSQLStatement,
                                       TStringList& ASQLList) {
  const std::string upper = AsciiUpperCase(ACombinedSQLStatement);
  const std::size_t begin = upper.find(kBegin);
  const std::size_t end = upper.find("END");
  std::string statements;
  if (begin != std::string::npos && end != std::string::npos && end > begin + kBegin.size()) {
    const std::size_t first = begin + kBegin.size() + 1;
    statements = ACombinedSQLStatement.substr(first, end - first);
  }
  String2StringListSep(statements, ";", ASQLList);
  if (ASQLList.Count() > 0) ASQLList.Delete(ASQLList.Count() - 1);
}

// A statement cut at the places where it is narrowed: `head`, the items that stay, `middle`, the
// values of those, `tail`. Depends on nothing but the text.
struct TplProvider::TCutStatement {
  struct TItem {
    std::string name;  // of the attribute
    std::string text;
    std::string value;  // of an INSERT
  };
  std::string text;
  bool isCut = false;  // false: it stays as it is
  std::string head;
  std::vector<TItem> items;
  std::size_t values = 0;
  std::string middle;
  std::string tail;
};

struct TplProvider::TCutText {
  TIProviderOptimization kind;
  std::string text;
  bool isFixed = false;  // it returns values
  bool isBlock = false;
  std::vector<TCutStatement> statements;
};

TplProvider::TCutStatement TplProvider::CutInsert(const std::string& ASQL) {
  TCutStatement cut;
  cut.text = ASQL;
  if (!AllowedToOptimizeQuery(ASQL)) return cut;
  const auto parts = InsertParts(ASQL);
  const std::vector<std::string> columns = SplitText(parts[1], ",");
  const std::vector<std::string> values = SplitText(parts[3], ",");
  cut.isCut = true;
  cut.head = parts[0];
  cut.middle = parts[2];
  cut.tail = parts[4];
  cut.values = values.size();
  for (std::size_t i = 0; i < columns.size(); ++i) {
    cut.items.push_back(
        {std::string(Trim(columns[i])), columns[i], i < values.size() ? values[i] : std::string()});
  }
  return cut;
}

TplProvider::TCutStatement TplProvider::CutModify(const std::string& ASQL) {
  TCutStatement cut;
  cut.text = ASQL;
  if (!AllowedToOptimizeQuery(ASQL)) return cut;
  const std::string upper = AsciiUpperCase(ASQL);
  const std::size_t set = upper.find("SET");
  if (set == std::string::npos) return cut;
  const std::size_t begin = set + 3;
  const std::size_t where = upper.find("WHERE", begin);
  if (where == std::string::npos) return cut;
  cut.isCut = true;
  cut.head = ASQL.substr(0, begin) + " ";
  cut.tail = " " + ASQL.substr(where);
  for (std::string& assignment : SplitText(ASQL.substr(begin, where - begin), ",")) {
    std::string name(Trim(std::string_view(assignment).substr(0, assignment.find('='))));
    cut.items.push_back({std::move(name), std::move(assignment), {}});
  }
  cut.values = cut.items.size();
  return cut;
}

// The cuts of the texts that were used last are kept: those of a class, and not the many of one
// whose every row has a text of its own.
std::shared_ptr<const TplProvider::TCutText> TplProvider::Cut(TIProviderOptimization kind,
                                                              const std::string& ASQL) {
  constexpr std::size_t kKept = 8;
  const auto known = std::find_if(FCutTexts.begin(), FCutTexts.end(), [&](const auto& kept) {
    return kept->kind == kind && kept->text == ASQL;
  });
  if (known != FCutTexts.end()) {
    std::rotate(FCutTexts.begin(), known, known + 1);
    return FCutTexts.front();
  }
  auto cut = std::make_shared<TCutText>();
  cut->kind = kind;
  cut->text = ASQL;
  cut->isFixed = !AllowedToOptimizeQuery(ASQL);
  cut->isBlock = AsciiUpperCase(ASQL.substr(0, kBegin.size())) == kBegin;
  const auto add = [&](const std::string& sql) {
    cut->statements.push_back(kind == TIProviderOptimization::poSQLInsert ? CutInsert(sql)
                                                                          : CutModify(sql));
  };
  if (cut->isBlock) {
    const TOwned<TStringList> list = Make<TStringList>();
    GetSQLStatementsList(ASQL, *list);
    for (int i = 0; i < list->Count(); ++i) add(list->Strings(i));
  } else {
    add(ASQL);
  }
  if (FCutTexts.size() == kKept) FCutTexts.pop_back();
  FCutTexts.insert(FCutTexts.begin(), cut);
  return cut;
}

std::string TplProvider::NarrowStatement(const TCutStatement& cut, TplPerObject* AplPerObject) {
  if (!cut.isCut) return cut.text;
  if (cut.values != cut.items.size()) {
    throw Exception(Format("%s: the INSERT statement has %d columns and %d values", ClassName(),
                           static_cast<int>(cut.items.size()), static_cast<int>(cut.values)));
  }
  std::string result;
  std::string values;
  bool isChanged = false;
  const auto join = [&](std::string& list, const std::string& text) {
    if (isChanged) list += ", ";
    list += text;
  };
  result.reserve(cut.text.size() + 2);
  result = cut.head;
  for (const TCutStatement::TItem& item : cut.items) {
    if (!AplPerObject->data.AttributeModified(item.name)) continue;
    join(result, item.text);
    join(values, item.value);
    isChanged = true;
  }
  if (!isChanged) return "";
  result += cut.middle;
  if (!cut.middle.empty()) result += values;
  result += cut.tail;
  return result;
}

std::string TplProvider::Narrowed(TIProviderOptimization kind, const std::string& ASQL,
                                  TplPerObject* AplPerObject) {
  if (!GetOptimizationSet().has(kind) || AplPerObject->data.DisableOptimizingUpdateQueries()) {
    return ASQL;
  }
  const auto cut = Cut(kind, ASQL);
  if (cut->isFixed) return ASQL;
  if (!cut->isBlock) {
    std::string narrowed = NarrowStatement(cut->statements.front(), AplPerObject);
    return narrowed.empty() ? ASQL : narrowed;
  }
  std::vector<std::string> statements;
  for (const TCutStatement& statement : cut->statements) {
    std::string narrowed = NarrowStatement(statement, AplPerObject);
    if (!narrowed.empty()) statements.push_back(std::move(narrowed));
  }
  return statements.empty() ? ASQL : "begin " + JoinText(statements, "; ") + " ; end ;";
}

std::string TplProvider::GetOptimizedInsertStatementForBo(const std::string& ASQL,
                                                          TplPerObject* AplPerObject) {
  return Narrowed(TIProviderOptimization::poSQLInsert, ASQL, AplPerObject);
}

std::string TplProvider::GetOptimizedModifyStatementForBo(const std::string& ASQL,
                                                          TplPerObject* AplPerObject) {
  return Narrowed(TIProviderOptimization::poSQLModify, ASQL, AplPerObject);
}

std::string TplProvider::OptimizeInsertStatement(TplPerObject* AplPerObject,
                                                 const std::string& ASQL) {
  if (!GetOptimizationSet().has(TIProviderOptimization::poSQLInsert)) return ASQL;
  return NarrowStatement(CutInsert(ASQL), AplPerObject);
}

std::string TplProvider::OptimizeModifyStatement(TplPerObject* AplPerObject,
                                                 const std::string& ASQL) {
  if (!GetOptimizationSet().has(TIProviderOptimization::poSQLModify)) return ASQL;
  return NarrowStatement(CutModify(ASQL), AplPerObject);
}

// --- large objects ---

std::string TplProvider::QualifiedTableName() { return FsTableOwner + "." + GetTableName(); }

void TplProvider::SaveBlob(const std::string& AGID, const std::string& ABlobFieldName,
                           TStream* AData) {
  TISQLHelper::SaveBlob(QualifiedTableName(), ABlobFieldName, GetIDAttrName(), AGID, AData);
}

void TplProvider::SaveClob(const std::string& AGID, const std::string& AClobFieldName,
                           std::string AData) {
  TISQLHelper::SaveClob(QualifiedTableName(), AClobFieldName, GetIDAttrName(), AGID,
                        std::move(AData));
}

bool TplProvider::LoadBlob(const std::string& AGID, const std::string& ABlobFieldName,
                           TStream* AData) {
  TISQLHelper::LoadBlob(QualifiedTableName(), ABlobFieldName, GetIDAttrName(), AGID, AData);
  return AData->Size() > 0;
}

std::string TplProvider::LoadClob(const std::string& AGID, const std::string& AClobFieldName) {
  return TISQLHelper::LoadClob(QualifiedTableName(), AClobFieldName, GetIDAttrName(), AGID);
}

}  // namespace perlayer
