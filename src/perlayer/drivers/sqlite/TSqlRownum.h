#pragma once
// TSqlRownum: says ROWNUM, the number that a row gets once it has passed the WHERE clause and
// before it is grouped or sorted.
//
// As a value it is row_number() OVER (). As a condition of its own, compared with a value, it tells
// how many rows of the block there are: a LIMIT, which has to work before DISTINCT, GROUP BY and
// ORDER BY do. Where the block has one of them it becomes a block inside,
//
//   select X from T where ROWNUM <= 5 order by X
//     =>  SELECT * FROM (select X from T LIMIT 5) order by 1
//
// or, of a single table, its rows are told by their keys:
//
//   delete from T where ROWNUM <= 5  =>  delete FROM T WHERE T._rowid_ IN (SELECT ... LIMIT 5)

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "perlayer/drivers/sqlite/TSqlConditions.h"
#include "perlayer/drivers/sqlite/TSqlTokens.h"

namespace perlayer {

class TSqlRownum {
 public:
  explicit TSqlRownum(TSqlTokens& tokens) : FTokens(tokens) {}

  // Edits one block of a query, before anything else of it is edited. `part`: the block is one of
  // several that UNION or the like joins. `inner`: it stands in another statement.
  void Query(const TSqlClauses& clauses, bool part, bool inner);
  // The WHERE clause of an UPDATE or DELETE of the table: its name as it is written into the
  // translation, and what its columns are qualified with.
  void Write(const TSqlClauses& clauses, const std::string& table, const std::string& qualifier);

 private:
  struct TLimit {
    TSqlRange value;
    std::string operation;  // of "ROWNUM operation value"
  };

  bool ReadConditions(const TSqlClauses& clauses);
  bool ReadLimit(TSqlRange condition);
  // Puts the conditions and, behind them, the limit; `before` in front of all, `after` behind.
  void PutLimit(const TSqlClauses& clauses, const std::string& before, const std::string& after);
  bool SortByResult(const TSqlClauses& clauses);
  std::string PlaceInResult(TSqlRange term, const TSqlClauses& clauses) const;
  std::string SingleTable(const TSqlClauses& clauses, std::string& qualifier) const;
  bool HasAggregates(const TSqlClauses& clauses) const;

  TSqlTokens& FTokens;
  std::vector<TSqlRange> FRest;
  std::vector<TLimit> FLimits;
};

// How many whole numbers from 1 on satisfy "number operation value", before the first that does
// not. `operation` is one of = < <= > >= <>.
std::int64_t RowLimit(std::string_view operation, double value);

}  // namespace perlayer
