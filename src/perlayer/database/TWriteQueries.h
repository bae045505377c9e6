#pragma once
// TWriteQueries: the queries that run the writes of a transaction. A query is kept with its
// statement prepared, so that a row after the first of its kind finds everything ready; those that
// were used longest ago go. Main thread only.

#include <memory>
#include <string>
#include <vector>

#include "perlayer/corekit/TIQuery.h"

namespace perlayer {

class TWriteQueries {
  struct TKept {
    std::string text;  // as it was asked for
    TOwned<TIQuery> query;
    std::vector<int> fields;  // by parameter: where the field of that name stood last, or -1
    std::vector<TBoundValue> values;
    bool isOut = false;
  };

 public:
  // A query of that statement for the length of a scope; its parameters may have values already.
  class TLease {
   public:
    TLease(TWriteQueries& queries, const std::string& sql);
    ~TLease();
    TLease(const TLease&) = delete;
    TLease& operator=(const TLease&) = delete;

    TIQuery& Query() const { return *FKept->query; }
    // Room for the values of a run, which keeps its memory.
    std::vector<TBoundValue>& Values() const { return FKept->values; }
    // Gives parameters the types of the fields that have their names.
    void TypeParams(const TDataSet& fields);
    // It has run: the query may serve again. Without this it is thrown away.
    void Succeeded() { FSucceeded = true; }

   private:
    TWriteQueries& FQueries;
    const std::shared_ptr<TKept> FKept;
    bool FHasParams = false;  // values stand in the query's parameters
    bool FSucceeded = false;
  };

  // The database has its statements back; the queries stay.
  void ReleaseStatements() noexcept;
  void Clear() { FKept.clear(); }

 private:
  std::shared_ptr<TKept> Take(const std::string& sql);

  std::vector<std::shared_ptr<TKept>> FKept;  // the last used first
};

}  // namespace perlayer
