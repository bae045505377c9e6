// The statements of TplProvider that write rows, and large objects. Their texts are cut by the
// places of key words, as class maps promise to write them; nothing parses SQL.

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
  fInsertStatement = std::move(insertSql);
  fModifyStatement = std::move(modifySql);
  fDeleteStatement = std::move(deleteSql);
}

std::string TplProvider::GetInsertStatement() {
  if (fInsertStatement.empty()) GetSQLStatements();
  return fInsertStatement;
}

std::string TplProvider::GetModifyStatement() {
  if (fModifyStatement.empty()) GetSQLStatements();
  return fModifyStatement;
}

std::string TplProvider::GetDeleteStatement() {
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

template <class TNarrow>
std::string TplProvider::Narrowed(const std::string& ASQL, TplPerObject* AplPerObject,
                                  TIProviderOptimization optimization, TNarrow narrow) {
  if (!GetOptimizationSet().has(optimization) || !AllowedToOptimizeQuery(ASQL) ||
      AplPerObject->data.DisableOptimizingUpdateQueries()) {
    return ASQL;
  }
  if (AsciiUpperCase(ASQL.substr(0, kBegin.size())) != kBegin) {
    const std::string narrowed = narrow(ASQL);
    return narrowed.empty() ? ASQL : narrowed;
  }
  const TOwned<TStringList> list = Make<TStringList>();
  GetSQLStatementsList(ASQL, *list);
  std::vector<std::string> statements;
  for (int i = 0; i < list->Count(); ++i) {
    std::string narrowed = narrow(list->Strings(i));
    if (!narrowed.empty()) statements.push_back(std::move(narrowed));
  }
  return statements.empty() ? ASQL : "begin " + JoinText(statements, "; ") + " ; end ;";
}

std::string TplProvider::GetOptimizedInsertStatementForBo(const std::string& ASQL,
                                                          TplPerObject* AplPerObject) {
  return Narrowed(
      ASQL, AplPerObject, TIProviderOptimization::poSQLInsert,
      [&](const std::string& sql) { return OptimizeInsertStatement(AplPerObject, sql); });
}

std::string TplProvider::GetOptimizedModifyStatementForBo(const std::string& ASQL,
                                                          TplPerObject* AplPerObject) {
  return Narrowed(
      ASQL, AplPerObject, TIProviderOptimization::poSQLModify,
      [&](const std::string& sql) { return OptimizeModifyStatement(AplPerObject, sql); });
}

std::string TplProvider::OptimizeInsertStatement(TplPerObject* AplPerObject,
                                                 const std::string& ASQL) {
  if (!GetOptimizationSet().has(TIProviderOptimization::poSQLInsert) ||
      !AllowedToOptimizeQuery(ASQL)) {
    return ASQL;
  }
  const auto parts = InsertParts(ASQL);
  const std::vector<std::string> columns = SplitText(parts[1], ",");
  const std::vector<std::string> values = SplitText(parts[3], ",");
  if (columns.size() != values.size()) {
    throw Exception(Format("%s: the INSERT statement has %d columns and %d values", ClassName(),
                           static_cast<int>(columns.size()), static_cast<int>(values.size())));
  }
  std::vector<std::string> changed;
  std::vector<std::string> changedValues;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (!AplPerObject->data.AttributeModified(Trim(columns[i]))) continue;
    changed.push_back(columns[i]);
    changedValues.push_back(values[i]);
  }
  if (changed.empty()) return "";
  return std::string(parts[0]) + JoinText(changed, ", ") + std::string(parts[2]) +
         JoinText(changedValues, ", ") + std::string(parts[4]);
}

std::string TplProvider::OptimizeModifyStatement(TplPerObject* AplPerObject,
                                                 const std::string& ASQL) {
  if (!GetOptimizationSet().has(TIProviderOptimization::poSQLModify) ||
      !AllowedToOptimizeQuery(ASQL)) {
    return ASQL;
  }
  const std::string upper = AsciiUpperCase(ASQL);
  const std::size_t set = upper.find("SET");
  if (set == std::string::npos) return ASQL;
  const std::size_t begin = set + 3;
  const std::size_t where = upper.find("WHERE", begin);
  if (where == std::string::npos) return ASQL;
  std::vector<std::string> changed;
  for (std::string& assignment : SplitText(ASQL.substr(begin, where - begin), ",")) {
    const std::string_view name =
        Trim(std::string_view(assignment).substr(0, assignment.find('=')));
    if (AplPerObject->data.AttributeModified(name)) changed.push_back(std::move(assignment));
  }
  if (changed.empty()) return "";
  return ASQL.substr(0, begin) + " " + JoinText(changed, ", ") + " " + ASQL.substr(where);
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
