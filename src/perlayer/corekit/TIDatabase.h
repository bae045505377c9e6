#pragma once
// TIDatabase: one named database session of the application, found by name. It opens and ends the
// session's transaction, and tells whoever asked to be told.
//
// Main thread only, like the driver session that it owns.

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "perlayer/corekit/TComponent.h"
#include "perlayer/corekit/TDriver.h"
#include "perlayer/platform/TDelegate.h"
#include "perlayer/platform/TStringList.h"

namespace perlayer {

class TIQuery;

class TIDatabase : public TComponent {
  TCLASS(TIDatabase, TComponent)
 public:
  // The phrase without which ForceCommit refuses.
  static constexpr std::string_view kForceCommitPhrase = "Potrjujem to dejanje!!";
  // The trace keeps that many lines, the newest.
  static constexpr int kTraceLines = 1000;

  using TComponent::Create;
  // Registers under the name; raises EComponentError when another database has it.
  void Create(std::string_view AName, std::unique_ptr<TDriverSession> ASession);
  // Closes the queries that are open on it, rolls back what is open and leaves the registry.
  // Raises, and has done nothing, while a row of one of them is filtered or calculated.
  void Destroy() override;

  const std::string& DatabaseName() const { return FDatabaseName; }
  TDriverSession& Session() const { return *FSession; }

  // `text` labels the trace. Opens the session's transaction; one that a write opened by itself is
  // carried on.
  void StartTransaction(std::string_view text);
  // Runs the before-commit events, commits, runs the after-commit events. An exception of a
  // before-commit event or of the database leaves the session rolled back, runs the after-rollback
  // events and goes on. What an after-commit event raises is logged: the commit has happened.
  void Commit(std::string_view text);
  void Rollback(std::string_view text);
  // Commits without asking the before-commit events. Raises unless the phrase is right.
  void ForceCommit(std::string_view phrase);
  // The session's own view: an explicit transaction or an uncommitted write, whoever made it.
  bool InTransaction() const;

  // The list is brought up to date by this call.
  const TStringList& TransactionTrace() const;
  // A line that there is no memory for is left out: no transaction fails for its label.
  void AddTrace(std::string_view line) noexcept { AddTrace(std::span(&line, 1)); }
  void AddTrace(std::span<const std::string_view> pieces) noexcept;  // of one line

  // Work that the application has begun on this session and not ended; zero means that a forced
  // commit takes nothing of its own with it.
  int PendingWork() const { return FPendingWork; }
  void BeginWork() { ++FPendingWork; }
  void EndWork() { --FPendingWork; }

  // An event may add and remove events: one that was removed is not run any more, one that was
  // added is run from the next time on.
  void AddBeforeCommit(TNotifyEvent event) { FBeforeCommit.push_back(std::move(event)); }
  void AddAfterCommit(TNotifyEvent event) { FAfterCommit.push_back(std::move(event)); }
  void AddAfterRollback(TNotifyEvent event) { FAfterRollback.push_back(std::move(event)); }
  // Takes the event out of all three lists.
  void RemoveEvent(const TNotifyEvent& event);

 private:
  friend class TIQuery;
  using TEvents = std::vector<TNotifyEvent>;
  void EndCommit();
  void EndByRollback();
  template <class TRun>
  void RunEvents(const TEvents& events, TRun run);
  void RunGuarded(const TEvents& events, const char* where);
  void QueryPrepared(TIQuery* query) { FPreparedQueries.push_back(query); }
  void QueryUnprepared(TIQuery* query) noexcept;

  std::string FDatabaseName;
  std::unique_ptr<TDriverSession> FSession;
  std::vector<std::string> FTraceRing;  // kTraceLines at the most
  std::size_t FTraceNext = 0;           // where the next line goes once the ring is full
  TStringList* FTrace = nullptr;        // owned; the ring as it is read
  mutable bool FTraceRead = true;       // FTrace is what the ring is
  TEvents FBeforeCommit;
  TEvents FAfterCommit;
  TEvents FAfterRollback;
  std::vector<TIQuery*> FPreparedQueries;  // not owned; each holds a statement of FSession
  int FPendingWork = 0;
};

// The database registered under that name (any case), or nullptr.
TIDatabase* FindDatabase(std::string_view name);

}  // namespace perlayer
