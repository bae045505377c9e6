#include "perlayer/drivers/sqlite/TSqlScope.h"

#include <charconv>

#include "perlayer/platform/Text.h"

namespace perlayer {

std::optional<TColumnType> DeclaredType(std::string_view declaration, int& size) {
  struct TRule {
    std::string_view part;
    TColumnType type;
  };
  // The first rule whose word stands in the declaration.
  static constexpr TRule kRules[] = {
      {"CHAR", TColumnType::text},     {"CLOB", TColumnType::memo},
      {"BLOB", TColumnType::blob},     {"RAW", TColumnType::blob},
      {"LONG", TColumnType::memo},     {"TEXT", TColumnType::memo},
      {"DATE", TColumnType::dateTime}, {"TIMESTAMP", TColumnType::dateTime},
      {"INT", TColumnType::number},    {"NUM", TColumnType::number},
      {"FLOAT", TColumnType::number},  {"REAL", TColumnType::number},
      {"DOUBLE", TColumnType::number}, {"DEC", TColumnType::number},
  };
  size = 0;
  const std::string upper = AsciiUpperCase(declaration);
  for (const TRule& rule : kRules) {
    if (upper.find(rule.part) == std::string::npos) continue;
    const std::size_t open = upper.find('(');
    if (rule.type == TColumnType::text && open != std::string::npos) {
      std::from_chars(upper.data() + open + 1, upper.data() + upper.size(), size);
    }
    return rule.type;
  }
  return std::nullopt;
}

TSqlType SqlTypeOf(TColumnType type) {
  switch (type) {
    case TColumnType::text:
    case TColumnType::memo:
      return TSqlType::text;
    case TColumnType::number:
      return TSqlType::number;
    case TColumnType::dateTime:
      return TSqlType::date;
    case TColumnType::blob:
      return TSqlType::blob;
  }
  return TSqlType::unknown;
}

std::string FileName(std::string_view owner, std::string_view name) {
  std::string result(owner);
  if (!owner.empty()) result += '.';
  return result.append(name);
}

std::string QuotedName(std::string_view name) {
  return '"' + StringReplaceAll(name, "\"", "\"\"") + '"';
}

const std::vector<TSqlColumn>& TSqlScope::ColumnsOf(TTable& table) {
  if (!table.columns) {
    table.columns.emplace();
    if (FSchema != nullptr) table.columns = FSchema->Columns(FileName(table.owner, table.name));
  }
  return *table.columns;
}

const TSqlScope::TTable* TSqlScope::NamedQuery(std::string_view name) const {
  for (const TSqlScope* scope = this; scope != nullptr; scope = scope->FOuter) {
    for (std::size_t i = scope->FNamedQueries.size(); i-- > 0;) {
      if (scope->FNamedQueries[i].name == name) return &scope->FNamedQueries[i];
    }
  }
  return nullptr;
}

TSqlScope::TTable* TSqlScope::Find(std::string_view qualifier) {
  for (TSqlScope* scope = this; scope != nullptr; scope = scope->FOuter) {
    for (TTable& table : scope->FTables) {
      if ((table.alias.empty() ? table.name : table.alias) == qualifier) return &table;
    }
  }
  return nullptr;
}

const TSqlColumn* TSqlScope::Column(std::string_view table, std::string_view column) {
  const auto in = [&](TTable& candidate) -> const TSqlColumn* {
    for (const TSqlColumn& known : ColumnsOf(candidate)) {
      if (SameText(known.name, column)) return &known;
    }
    return nullptr;
  };
  if (!table.empty()) {
    TTable* found = Find(table);
    return found == nullptr ? nullptr : in(*found);
  }
  for (TSqlScope* scope = this; scope != nullptr; scope = scope->FOuter) {
    for (TTable& candidate : scope->FTables) {
      if (const TSqlColumn* known = in(candidate)) return known;
    }
  }
  return nullptr;
}

TSqlType TSqlScope::ColumnType(std::string_view table, std::string_view column) {
  const TSqlColumn* known = Column(table, column);
  return known == nullptr ? TSqlType::unknown : known->type;
}

}  // namespace perlayer
