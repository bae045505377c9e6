#pragma once
// TSqlTranslator: says a statement written in Oracle's SQL in SQLite's, once per text. What is said
// how, and what cannot be said, stands in docs/sql.md.
//
// A block (BEGIN ... END) becomes several statements of the database, its steps; everything else
// becomes one.

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "perlayer/drivers/sqlite/TSqlConditions.h"
#include "perlayer/drivers/sqlite/TSqlExpressions.h"
#include "perlayer/drivers/sqlite/TSqlScope.h"
#include "perlayer/drivers/sqlite/TSqlSequences.h"
#include "perlayer/drivers/sqlite/TSqlTokens.h"

namespace perlayer {

// A column of large objects, by its name in the file.
struct TSqlLargeColumn {
  std::string table;
  std::string column;
  bool isText = false;
};

// What a statement gives of large objects: their values, or the number of the row they stand in.
enum class TLargeObjects : std::uint8_t { values, places };

struct TSqlTranslation {
  // One statement of the database.
  struct TStep {
    std::size_t offset = 0;  // in sql
    std::size_t length = 0;
    std::size_t source = 0;              // where it begins in the source
    std::vector<int> returns;            // the parameters that take the columns of its row
    std::vector<std::string> sequences;  // from which it takes numbers
    // The parameters that take places of large objects, all in the row that it changes.
    std::vector<std::pair<int, TSqlLargeColumn>> largeObjects;
  };

  std::string sql;
  std::vector<TStep> steps;
  TSqlTokens::TOrigins origins;
  bool changesSchema = false;
  std::string sequence;  // the one that it creates or drops
  // FOR UPDATE: it takes the write permission, and how long it waits for it.
  bool locks = false;
  int waitMilliseconds = -1;  // as long as every write does
  // Types of the select list's expressions that are no plain columns, by column name.
  std::vector<std::pair<std::string, TSqlType>> expressions;
  // Parameters whose being bound as text or number changes the translation.
  TSqlNumberBinds bindsThatMatter = 0;
  // The columns that give a place instead of a value, by their names in the result.
  std::vector<std::pair<std::string, TSqlLargeColumn>> largeColumns;

  // Where in the source the token stands that is at `offset` of sql.
  std::size_t SourceOffset(std::size_t offset) const;
};

class TSqlTranslator : private TSqlSubqueries {
 public:
  // `schema` tells the columns' types and may be nullptr. Keeps references.
  TSqlTranslator(const TStatementText& text, TSqlSchema* schema, TSqlNumberBinds numberBinds = 0,
                 TLargeObjects largeObjects = TLargeObjects::values);

  // Raises EDatabaseError, naming construct, line and column, for what cannot be said. To be called
  // once.
  TSqlTranslation Translate();

 private:
  void RefuseUnknown(std::size_t first);
  void Block();
  void Step(std::size_t first, std::size_t end);
  void Statement(std::size_t at);

  void Insert(std::size_t at);
  void Update(std::size_t at);
  void Delete(std::size_t at);
  // Takes RETURNING ... INTO off the statement's end; to be said once the table is known.
  TSqlRange TakeReturning(std::size_t at);
  void Returning(TSqlRange returning, const TSqlScope::TTable& table);
  void TakePlaces(const std::vector<TSqlRange>& returned, TSqlScope& scope,
                  const TSqlScope::TTable& table);
  void Where(std::size_t at, TSqlScope& scope, const TSqlScope::TTable& table);

  void Definition(std::size_t at);
  void CreateTable(std::size_t at, std::size_t end, const TSqlScope::TTable& table);
  TSqlColumn NewColumn(std::size_t name) const;
  void NotNullKeys(const std::vector<TSqlRange>& definitions);
  void ColumnDefinition(TSqlCursor& cursor, std::size_t name);

  void ForUpdate(std::size_t at);
  // What is wanted of a query's columns: nothing, their types, names and types for the query around
  // it, or to be named as the caller of the statement sees them.
  enum class TColumns : std::uint8_t { unnamed, typed, named, shown };
  // Returns the columns, of an unnamed one the first only.
  using TQueryColumns = std::vector<TSqlColumn>;
  using TTargets = std::vector<TSqlType>;
  TQueryColumns Query(TSqlRange query, TSqlScope* outer, TColumns wanted);
  std::size_t With(TSqlRange query, TSqlScope& scope);
  TQueryColumns SelectPart(TSqlRange part, TSqlScope* outer, TColumns wanted, bool single,
                           const TTargets* targets);
  void FillTypes(TQueryColumns& columns, const TQueryColumns& later, TColumns wanted);
  TSqlClauses Clauses(std::size_t at, std::size_t end) const;
  TQueryColumns SelectList(TSqlCursor& cursor, TColumns wanted, const TTargets* targets);
  std::string NameItem(const TSqlOperand& item, const TSqlCursor& cursor);
  void AppendStar(std::size_t star, TSqlScope& scope, TQueryColumns& columns) const;
  std::string Place(const TSqlScope::TTable& table, const TSqlColumn& column,
                    const std::string& shown);
  void PlacesOfStar(const TSqlOperand& item, std::size_t star, TSqlScope& scope);
  void PlaceOfColumn(const TSqlOperand& item, const TSqlCursor& cursor, const std::string& shown);
  bool ShowsDual(const TSqlClauses& clauses) const;
  void DerivedTable(std::size_t& at, std::size_t end, TSqlScope& scope);
  void From(std::size_t at, std::size_t end, TSqlScope& scope);
  TSqlType Subquery(std::size_t open, TSqlScope& scope) override;

  // Reads [OWNER.]NAME into one name of the file; returns it and moves `at` behind it.
  TSqlScope::TTable TableName(std::size_t& at);
  // The same with an alias behind it, for which `as` ("AS " or nothing) is put.
  TSqlScope::TTable TableWithAlias(std::size_t& at, std::size_t end, const char* as);
  // The first of the words in [at, end), outside of parentheses; or `end`.
  std::size_t Find(std::size_t at, std::size_t end,
                   std::initializer_list<std::string_view> words) const;

  TSqlSchema* FSchema;
  TSqlTokens FTokens;
  TSqlSequences FSequences;
  TSqlExpressions FExpressions;
  TSqlTranslation FResult;
  std::size_t FEnd = 0;  // of the statement that is being translated
  TSqlTranslation::TStep FStep;
  int FDepth = 0;
  const TTargets* FTargets = nullptr;  // of the columns that the query read next is written to
  const TLargeObjects FLargeObjects;
  bool FShowsPlaces = false;  // the select list that is read does
};

// The translation by itself, without knowledge of any table; for people to read.
std::string TranslateSql(std::string_view statement);

}  // namespace perlayer
