#pragma once
// TSqlTranslator: says a statement written in Oracle's SQL in SQLite's, once per text. What is said
// how, and what cannot be said, stands in docs/sql.md.

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "perlayer/drivers/sqlite/TSqlExpressions.h"
#include "perlayer/drivers/sqlite/TSqlScope.h"
#include "perlayer/drivers/sqlite/TSqlTokens.h"

namespace perlayer {

struct TSqlTranslation {
  std::string sql;
  TSqlTokens::TOrigins origins;
  bool changesSchema = false;
  // Types of the select list's expressions that are no plain columns, by column name.
  std::vector<std::pair<std::string, TSqlType>> expressions;
  // Parameters whose being bound as text or number changes the translation.
  TSqlNumberBinds bindsThatMatter = 0;

  // Where in the source the token stands that is at `offset` of sql.
  std::size_t SourceOffset(std::size_t offset) const;
};

class TSqlTranslator : private TSqlSubqueries {
 public:
  // `schema` tells the columns' types and may be nullptr. Keeps references.
  TSqlTranslator(const TStatementText& text, TSqlSchema* schema, TSqlNumberBinds numberBinds = 0);

  // Raises EDatabaseError, naming construct, line and column, for what cannot be said. To be called
  // once.
  TSqlTranslation Translate();

 private:
  void RefuseUnknown();
  void Statement(std::size_t at);
  void Insert(std::size_t at);
  void Update(std::size_t at);
  void Delete(std::size_t at);
  void Definition(std::size_t at);
  void CreateTable(std::size_t at, std::size_t end);
  void ColumnDefinition(TSqlCursor& cursor);

  TSqlType Query(std::size_t at, std::size_t end, TSqlScope* outer, bool outermost);
  TSqlType SelectPart(std::size_t at, std::size_t end, TSqlScope* outer, bool outermost);
  TSqlType SelectList(TSqlCursor& cursor, bool outermost);
  void NameItem(const TSqlOperand& item, TSqlCursor& cursor);
  void From(std::size_t at, std::size_t end, TSqlScope& scope);
  TSqlType Subquery(std::size_t open, TSqlScope& scope) override;

  // Reads [OWNER.]NAME into one name of the file; returns it and moves `at` behind it.
  TSqlScope::TTable TableName(std::size_t& at);
  // The same with an alias behind it, for which `as` ("AS " or nothing) is put.
  TSqlScope::TTable TableWithAlias(std::size_t& at, std::size_t end, const char* as);
  std::size_t Find(std::size_t at, std::size_t end, std::initializer_list<std::string_view> words);

  TSqlSchema* FSchema;
  TSqlTokens FTokens;
  TSqlExpressions FExpressions;
  TSqlTranslation FResult;
  int FDepth = 0;
};

// The translation by itself, without knowledge of any table; for people to read.
std::string TranslateSql(std::string_view statement);

}  // namespace perlayer
