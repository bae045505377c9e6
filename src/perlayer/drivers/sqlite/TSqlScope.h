#pragma once
// What a name in a statement refers to: the tables of the query block it stands in, then those of
// the blocks around it; and of which type the columns are.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "perlayer/corekit/TDriver.h"

namespace perlayer {

// What is known of a value before the statement runs.
enum class TSqlType : std::uint8_t { unknown, null, text, number, date, blob };

struct TSqlColumn {
  std::string name;
  TSqlType type = TSqlType::unknown;
  bool derived = false;  // an expression's, of a query: it converts nothing it is compared with
  bool memo = false;     // a CLOB: its long values are bytes in the file

  bool IsLarge() const { return memo || type == TSqlType::blob; }
};

// The tables of a database, as the translator asks for them.
class TSqlSchema {
 public:
  virtual ~TSqlSchema() = default;
  // The columns of the table or view that is called so in the file ("OMRA.PATIENT"), in their
  // order; none when it does not exist.
  virtual std::vector<TSqlColumn> Columns(const std::string& table) = 0;
};

// The type that a declaration such as "VARCHAR2(50)" stands for, with the size of a text; nothing
// for a declaration that is empty or not known.
std::optional<TColumnType> DeclaredType(std::string_view declaration, int& size);
TSqlType SqlTypeOf(TColumnType type);

class TSqlScope {
 public:
  struct TTable {
    std::string owner;  // empty without one
    std::string name;
    std::string alias;                               // empty without one
    std::optional<std::vector<TSqlColumn>> columns;  // asked for on first need
  };

  // Neither is owned; `schema` may be nullptr: then no column's type is known.
  TSqlScope(TSqlSchema* schema, TSqlScope* outer) : FSchema(schema), FOuter(outer) {}

  void Add(TTable table) { FTables.push_back(std::move(table)); }
  // A query that WITH names for the blocks inside; one that is named later comes first.
  void AddNamedQuery(TTable query) { FNamedQueries.push_back(std::move(query)); }
  const TTable* NamedQuery(std::string_view name) const;  // nullptr when there is none
  // The column in the nearest block that has one of that name; `table` may be empty. nullptr when
  // none is known.
  const TSqlColumn* Column(std::string_view table, std::string_view column);
  TSqlType ColumnType(std::string_view table, std::string_view column);
  // The table that the qualifier "PATIENT" of PATIENT.ID means: by alias, or by name where no alias
  // was given. nullptr when there is none.
  TTable* Find(std::string_view qualifier);
  const std::vector<TSqlColumn>& ColumnsOf(TTable& table);
  std::vector<TTable>& Tables() { return FTables; }  // of this block

 private:
  TSqlSchema* FSchema;
  TSqlScope* FOuter;
  std::vector<TTable> FTables;
  std::vector<TTable> FNamedQueries;
};

// The name in the file: "OMRA.PATIENT", or just the name without an owner.
std::string FileName(std::string_view owner, std::string_view name);
std::string QuotedName(std::string_view name);

}  // namespace perlayer
