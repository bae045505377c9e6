#pragma once
// TSqliteStatementCache: the prepared statements of a session, the most recently used first. One
// that is out is never dropped; beyond the capacity, those not out are, the longest unused first.
// A text whose statement is out is prepared a second time.
//
// Taking a kept statement hashes nothing and allocates nothing: the text brings its hash, and is
// compared only when it is another copy of the same text.

#include <cstddef>
#include <list>
#include <unordered_map>

#include "perlayer/drivers/sqlite/TSqliteStatement.h"

namespace perlayer {

class TSqliteStatementCache {
 public:
  TSqliteStatementCache(TSqliteSession& session, std::size_t capacity)
      : FSession(session), FCapacity(capacity) {}

  TSqliteStatement* Take(const TStatementTextPtr& text, TLargeObjects largeObjects);
  void GiveBack(TSqliteStatement* statement) noexcept;
  // Statements prepared so far are of no use any more: each goes when it is not out.
  void Outdate() noexcept;
  // Calls `action` with each statement, those not out included.
  template <class TAction>
  void ForEach(TAction&& action) {
    for (TEntry& entry : FEntries) action(entry.statement);
  }
  std::size_t Count() const { return FEntries.size(); }

 private:
  struct TEntry {
    TEntry(TSqliteSession& session, const TStatementTextPtr& text, TLargeObjects largeObjects,
           std::shared_ptr<TSqliteStatement::TShared> shared)
        : statement(session, text, largeObjects, std::move(shared)) {}
    TSqliteStatement statement;
    bool out = true;
    bool outdated = false;
  };
  using TEntries = std::list<TEntry>;
  struct TSame {
    std::size_t operator()(std::size_t hash) const noexcept { return hash; }
  };
  using TByHash = std::unordered_multimap<std::size_t, TEntries::iterator, TSame>;

  TByHash::iterator IndexOf(const TSqliteStatement* statement) noexcept;
  void Drop(TByHash::iterator entry) noexcept;
  void Trim() noexcept;

  TSqliteSession& FSession;
  const std::size_t FCapacity;
  TEntries FEntries;  // most recently used first
  TByHash FByHash;
};

}  // namespace perlayer
