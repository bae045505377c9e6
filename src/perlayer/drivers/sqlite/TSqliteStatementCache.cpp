#include "perlayer/drivers/sqlite/TSqliteStatementCache.h"

namespace perlayer {

TSqliteStatement* TSqliteStatementCache::Take(const TStatementTextPtr& text,
                                              TLargeObjects largeObjects) {
  std::shared_ptr<TSqliteStatement::TShared> shared;
  const auto [first, last] = FByHash.equal_range(text->Hash());
  for (auto found = first; found != last; ++found) {
    TEntry& entry = *found->second;
    const TStatementTextPtr& kept = entry.statement.Text();
    if (entry.outdated || entry.statement.LargeObjects() != largeObjects ||
        (kept != text && kept->Text() != text->Text())) {
      continue;
    }
    if (!entry.out) {
      entry.out = true;
      FEntries.splice(FEntries.begin(), FEntries, found->second);
      return &entry.statement;
    }
    shared = entry.statement.Shared();
  }
  FEntries.emplace_front(FSession, text, largeObjects, std::move(shared));
  try {
    FByHash.emplace(text->Hash(), FEntries.begin());
  } catch (...) {
    FEntries.pop_front();
    throw;
  }
  Trim();
  return &FEntries.front().statement;
}

void TSqliteStatementCache::GiveBack(TSqliteStatement* statement) noexcept {
  statement->Reset();
  const auto entry = IndexOf(statement);
  if (entry == FByHash.end()) return;
  entry->second->out = false;
  if (entry->second->outdated) {
    Drop(entry);
  } else if (FEntries.size() > FCapacity) {
    Trim();
  }
}

void TSqliteStatementCache::Outdate() noexcept {
  for (auto entry = FByHash.begin(); entry != FByHash.end();) {
    const auto current = entry++;
    current->second->outdated = true;
    if (!current->second->out) Drop(current);
  }
}

TSqliteStatementCache::TByHash::iterator TSqliteStatementCache::IndexOf(
    const TSqliteStatement* statement) noexcept {
  auto [first, last] = FByHash.equal_range(statement->Text()->Hash());
  while (first != last && &first->second->statement != statement) ++first;
  return first == last ? FByHash.end() : first;
}

void TSqliteStatementCache::Drop(TByHash::iterator entry) noexcept {
  const auto place = entry->second;
  FByHash.erase(entry);
  FEntries.erase(place);
}

void TSqliteStatementCache::Trim() noexcept {
  for (auto at = FEntries.end(); FEntries.size() > FCapacity && at != FEntries.begin();) {
    --at;
    if (at->out) continue;
    const auto entry = IndexOf(&at->statement);
    ++at;
    Drop(entry);
  }
}

}  // namespace perlayer
