#include "perlayer/corekit/TIDatabase.h"

#include <algorithm>

#include "perlayer/corekit/ILog.h"
#include "perlayer/corekit/TIQuery.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TLayer.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {
using TDatabaseRegistry = std::vector<TIDatabase*>;  // not owned

TDatabaseRegistry& Registry() { return TLayer::Part<TDatabaseRegistry>(TLayerPart::databases); }
}  // namespace

TIDatabase* FindDatabase(std::string_view name) {
  for (TIDatabase* database : Registry()) {
    if (SameText(database->DatabaseName(), name)) return database;
  }
  return nullptr;
}

void TIDatabase::Create(std::string_view AName, std::unique_ptr<TDriverSession> ASession) {
  if (FindDatabase(AName) != nullptr) {
    throw EComponentError(Format("A database named %s already exists", AName));
  }
  FTrace = New<TStringList>();
  FSession = std::move(ASession);
  FDatabaseName = AName;
  Registry().push_back(this);
}

void TIDatabase::Destroy() {
  for (const TIQuery* query : FPreparedQueries) query->CheckFree();
  while (!FPreparedQueries.empty()) FPreparedQueries.back()->ReleaseStatement();
  if (auto* registry = TLayer::PartIfMade<TDatabaseRegistry>(TLayerPart::databases)) {
    std::erase(*registry, this);
  }
  FSession.reset();
  FreeAndNil(FTrace);
  TComponent::Destroy();
}

void TIDatabase::StartTransaction(std::string_view text) {
  AddTrace(text);
  FSession->Begin();
}

void TIDatabase::Commit(std::string_view text) {
  AddTrace(text);
  const TAlive alive(this);
  try {
    RunEvents(FBeforeCommit, [this](const TNotifyEvent& event) { event(this); });
  } catch (...) {
    if (alive) EndByRollback();
    throw;
  }
  if (alive) EndCommit();
}

void TIDatabase::EndCommit() {
  try {
    FSession->Commit();
  } catch (...) {
    RunGuarded(FAfterRollback, "after rollback");
    throw;
  }
  RunGuarded(FAfterCommit, "after commit");
}

void TIDatabase::EndByRollback() {
  TryFinally([&] { FSession->Rollback(); }, [&] { RunGuarded(FAfterRollback, "after rollback"); });
}

void TIDatabase::Rollback(std::string_view text) {
  AddTrace(text);
  EndByRollback();
}

void TIDatabase::ForceCommit(std::string_view phrase) {
  if (phrase != kForceCommitPhrase) {
    throw EDatabaseError(TDatabaseErrorKind::other, 0,
                         "TIDatabase.ForceCommit: the confirmation phrase is wrong", "");
  }
  AddTrace("TIDatabase.ForceCommit");
  EndCommit();
}

bool TIDatabase::InTransaction() const { return FSession->InTransaction(); }

void TIDatabase::AddTrace(std::span<const std::string_view> pieces) noexcept {
  FTraceRead = false;
  try {
    std::size_t size = 0;
    for (const std::string_view piece : pieces) size += piece.size();
    std::string first;
    const bool isFull = FTraceRing.size() == static_cast<std::size_t>(kTraceLines);
    std::string& line = isFull ? FTraceRing[FTraceNext] : first;
    line.reserve(size);  // or the line that stands there stays
    line.clear();
    for (const std::string_view piece : pieces) line += piece;
    if (!isFull) {
      FTraceRing.push_back(std::move(first));
    } else if (++FTraceNext == FTraceRing.size()) {
      FTraceNext = 0;
    }
  } catch (const std::bad_alloc&) {
  }
}

const TStringList& TIDatabase::TransactionTrace() const {
  if (!FTraceRead) {
    FTrace->Clear();
    const std::size_t count = FTraceRing.size();
    for (std::size_t i = 0; i < count; ++i) FTrace->Add(FTraceRing[(FTraceNext + i) % count]);
    FTraceRead = true;
  }
  return *FTrace;
}

void TIDatabase::RemoveEvent(const TNotifyEvent& event) {
  for (TEvents* events : {&FBeforeCommit, &FAfterCommit, &FAfterRollback}) {
    std::erase(*events, event);
  }
}

// An event may add and remove events, itself among them, and free the database. One that was
// removed is not run any more; one that was added is run from the next time on.
template <class TRun>
void TIDatabase::RunEvents(const TEvents& events, TRun run) {
  const TAlive alive(this);
  const TEvents now = events;
  for (const TNotifyEvent& event : now) {
    if (!alive) return;
    if (std::find(events.begin(), events.end(), event) != events.end()) run(event);
  }
}

// The transaction has ended already: an event that fails is told in the log and the others run.
void TIDatabase::RunGuarded(const TEvents& events, const char* where) {
  const std::string name = FDatabaseName;
  const auto run = [&](const TNotifyEvent& event) {
    try {
      event(this);
    } catch (const std::exception& e) {
      ILog(Format("TIDatabase %s: event %s failed: %s", name, where, e.what()));
    }
  };
  try {
    RunEvents(events, run);
  } catch (const std::bad_alloc& e) {
    ILog(e.what());
  }
}

void TIDatabase::QueryUnprepared(TIQuery* query) noexcept {
  // The latest is the likeliest: a fetch prepares, reads and closes before the next begins.
  const auto found = std::find(FPreparedQueries.rbegin(), FPreparedQueries.rend(), query);
  if (found != FPreparedQueries.rend()) FPreparedQueries.erase(std::next(found).base());
}

}  // namespace perlayer
