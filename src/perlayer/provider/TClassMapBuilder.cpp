#include "perlayer/provider/TClassMapBuilder.h"

#include <algorithm>

#include "perlayer/platform/Format.h"
#include "perlayer/provider/ClassMapLines.h"

namespace perlayer {

namespace {

bool IsBlank(std::string_view line) { return Indentation(line).size() == line.size(); }

std::vector<std::string> StatementLines(std::string_view text) {
  std::vector<std::string_view> lines = TextLines(text);
  if (lines.size() > 1 && IsBlank(lines.front())) lines.erase(lines.begin());
  if (lines.size() > 1 && IsBlank(lines.back())) lines.pop_back();
  const auto first = std::find_if(lines.begin(), lines.end(), IsSql);
  const std::string_view indentation = first == lines.end() ? "" : Indentation(*first);
  std::vector<std::string> result;
  result.reserve(lines.size());
  for (const auto line : lines) result.emplace_back(Unindented(line, indentation));
  return result;
}

}  // namespace

TClassMapBuilder::TClassMapBuilder(std::string_view name) { FDefinition.name = name; }

TClassMapBuilder& TClassMapBuilder::Query(std::string_view name, std::string_view caption) {
  auto& query = FDefinition.queries.emplace_back();
  query.name = name;
  query.caption = caption;
  FInUpdate = false;
  return *this;
}

TClassMapBuilder& TClassMapBuilder::Sql(std::string_view text) {
  LastQuery("Sql").sql = StatementLines(text);
  return *this;
}

TClassMapBuilder& TClassMapBuilder::Field(std::string_view name, TClassMapFieldType type, int size,
                                          std::string_view label) {
  auto& field = LastQuery(name).fields.emplace_back();
  field.name = name;
  field.type = type;
  field.size = size;
  field.label = label;
  return *this;
}

TClassMapBuilder& TClassMapBuilder::String(std::string_view name, int size,
                                           std::string_view label) {
  return Field(name, TClassMapFieldType::string, size, label);
}

TClassMapBuilder& TClassMapBuilder::Memo(std::string_view name, std::string_view label) {
  return Field(name, TClassMapFieldType::memo, 0, label);
}

TClassMapBuilder& TClassMapBuilder::Float(std::string_view name, std::string_view label) {
  return Field(name, TClassMapFieldType::floating, 0, label);
}

TClassMapBuilder& TClassMapBuilder::Integer(std::string_view name, std::string_view label) {
  return Field(name, TClassMapFieldType::integer, 0, label);
}

TClassMapBuilder& TClassMapBuilder::DateTime(std::string_view name, std::string_view label) {
  return Field(name, TClassMapFieldType::dateTime, 0, label);
}

TClassMapBuilder& TClassMapBuilder::Blob(std::string_view name, std::string_view label) {
  return Field(name, TClassMapFieldType::blob, 0, label);
}

TClassMapBuilder& TClassMapBuilder::Required() {
  LastField("Required").required = true;
  return *this;
}

TClassMapBuilder& TClassMapBuilder::CodeList(std::string_view code) {
  LastField("CodeList").codeList = code;
  return *this;
}

TClassMapBuilder& TClassMapBuilder::Calculated() {
  LastField("Calculated").calculated = true;
  return *this;
}

TClassMapBuilder& TClassMapBuilder::Update(std::string_view name) {
  FDefinition.updateSqls.emplace_back().name = name;
  FInUpdate = true;
  return *this;
}

TClassMapBuilder& TClassMapBuilder::Insert(std::string_view text) {
  LastUpdate("Insert").insertSql = StatementLines(text);
  return *this;
}

TClassMapBuilder& TClassMapBuilder::Modify(std::string_view text) {
  LastUpdate("Modify").modifySql = StatementLines(text);
  return *this;
}

TClassMapBuilder& TClassMapBuilder::Delete(std::string_view text) {
  LastUpdate("Delete").deleteSql = StatementLines(text);
  return *this;
}

TClassMapDefinition TClassMapBuilder::Build() const {
  CheckClassMap(FDefinition);
  return FDefinition;
}

TClassMapQuery& TClassMapBuilder::LastQuery(std::string_view wanted) {
  if (FInUpdate || FDefinition.queries.empty()) RaiseMisplaced(wanted, "Query");
  return FDefinition.queries.back();
}

TClassMapField& TClassMapBuilder::LastField(std::string_view wanted) {
  auto& fields = LastQuery(wanted).fields;
  if (fields.empty()) RaiseMisplaced(wanted, "a field");
  return fields.back();
}

TClassMapUpdateSql& TClassMapBuilder::LastUpdate(std::string_view wanted) {
  if (!FInUpdate) RaiseMisplaced(wanted, "Update");
  return FDefinition.updateSqls.back();
}

void TClassMapBuilder::RaiseMisplaced(std::string_view wanted, std::string_view needed) const {
  RaiseExpected("class map " + FDefinition.name, Format("%s before %s", needed, wanted), "none");
}

}  // namespace perlayer
