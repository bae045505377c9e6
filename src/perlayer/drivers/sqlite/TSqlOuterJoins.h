#pragma once
// TSqlOuterJoins: says the outer joins that are marked by (+) in a WHERE clause as LEFT JOINs.
//
//   from A, B, C                        from A LEFT JOIN B ON A.ID = B.A_ID AND B.KIND = 1
//   where A.ID = B.A_ID (+)      =>            LEFT JOIN C ON B.ID = C.B_ID
//     and B.KIND (+) = 1                where A.X = 2
//     and B.ID = C.B_ID (+)
//     and A.X = 2
//
// A table with marked conditions is joined behind all tables that they name, by those conditions;
// the rest of the clause stays. A table that is named in the conditions by itself, with constants
// only, is joined to nothing: its marks say nothing then. Where tables change places, "*" becomes
// "A.*, B.*, ..." so that the columns stay as they were.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "perlayer/drivers/sqlite/TSqlConditions.h"
#include "perlayer/drivers/sqlite/TSqlScope.h"
#include "perlayer/drivers/sqlite/TSqlTokens.h"

namespace perlayer {

class TSqlOuterJoins {
 public:
  // `schema` tells whose a column without table is; may be nullptr.
  TSqlOuterJoins(TSqlTokens& tokens, TSqlSchema* schema) : FTokens(tokens), FSchema(schema) {}

  // Rewrites FROM and WHERE of one block, before anything else of them is edited. Raises
  // EDatabaseError for marks that have no meaning.
  void Rewrite(const TSqlClauses& clauses);
  // Refuses a mark in [at, end): one that stands where none is understood.
  void RefuseMarks(std::size_t at, std::size_t end) const;

 private:
  struct TCondition {
    TSqlRange range;
    bool marked;
  };
  struct TTable {
    TSqlRange range;
    std::string owner, name, alias;
    std::optional<std::vector<TSqlColumn>> columns;  // asked for on first need
    std::vector<TCondition> conditions;              // marked for this table
    std::uint64_t needs = 0;                         // the tables that they name, one bit each
  };

  std::size_t FindMark(std::size_t at, std::size_t end) const;
  void ReadTables(TSqlRange from);
  void ReadCondition(TSqlRange condition);
  void CheckCondition(TSqlRange condition, std::size_t mark) const;
  int TableOf(std::size_t first, std::size_t behind);
  const std::vector<TSqlColumn>& ColumnsOf(TTable& table);
  std::vector<std::size_t> Order() const;
  void Put(const TCondition& condition, TSqlNewOrder& tokens) const;
  void SpellStars(const TSqlClauses& clauses);

  TSqlTokens& FTokens;
  TSqlSchema* FSchema;
  std::vector<TTable> FTables;
  std::vector<TCondition> FRest;  // what stays in the WHERE clause
};

}  // namespace perlayer
