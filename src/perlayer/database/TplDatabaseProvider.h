#pragma once
// TplDatabaseProvider: the transaction manager of the layer, reached through dbProvider(). It makes
// the flat transaction of the session "_QOR" a counted one: StartTransaction, Commit and Rollback
// nest, and only the outermost end reaches the database. An object that ran a statement stands in
// the transaction's list, held, and is told how the transaction ended.
//
// Who writes follows one pattern: StartTransaction, work, Commit; on any exception Rollback with
// the same text, and the exception goes on. A nested Rollback leaves no mark: what was written
// inside it is committed if an outer level commits after all.
//
// Main thread only.

#include <cstdint>
#include <string>
#include <string_view>

#include "perlayer/database/TWriteQueries.h"
#include "perlayer/foundation/TPlBaseObject.h"
#include "perlayer/foundation/TPlDictionary.h"
#include "perlayer/platform/TDateTime.h"
#include "perlayer/platform/TDelegate.h"
#include "perlayer/platform/TObjectHandle.h"

namespace perlayer {

class TIDatabase;
class TplPerObject;

class TplDatabaseProvider : public TPlBaseObject {
  TCLASS(TplDatabaseProvider, TPlBaseObject)
 public:
  using TPlBaseObject::Create;
  void Create();
  void Destroy() override;

  // `text` names the caller, for the trace. Raises "There is no database named '%s'" when the
  // session is not there, and what the database raises; the count is then as before.
  void StartTransaction(std::string_view text);
  // At count 1 runs the hooks, commits, and tells every object of the list. What a hook raises
  // leaves everything open for the caller's Rollback. When the database refuses, the session has
  // rolled back, the count is 0, and "Commiting error: %s" is raised; the objects are told nothing
  // and stay held. At count 0 shows a warning and commits the session all the same.
  void Commit(std::string_view text);
  // At count 1 rolls back and tells every object. Below 1 nothing but the event.
  void Rollback(std::string_view text);
  // Commits the session, whatever the count, which becomes 0. Objects hear nothing.
  void ResetTransactionCountAndCommit();

  // A transaction of the layer, or any uncommitted change of the session.
  bool InTransaction();
  // REQUIRES: a transaction is open.
  bool IsInTransaction(const TplPerObject* obj) const;
  int aiTransactionCount() const { return FTransCount; }
  // The objects of the open transaction, one entry for each statement; nullptr while none is open.
  // Walk it by index: what an object does may lengthen it.
  TPlList* TransactionObjects() const { return FTransactionObjects; }

  void StartTransactionTimer();
  void EndTransactionTimer() { FStartTransactionTime = 0; }
  // Whole seconds since the outermost StartTransaction; 0 while none is open.
  int GetStartTransactionDuration() const;
  // The database's clock, asked anew each time.
  TDateTime GetServerDateTime();
  TDateTime aiServerDateTime() { return GetServerDateTime(); }

  // Runs a statement that writes the row of `obj`, its parameters filled by the object; the object
  // stands in the transaction's list from then on, also when the statement fails. Raises "No active
  // transaction", and what the database raises, which is also logged.
  void PerformSQLStatement(const std::string& sql, TPlBaseObject* obj);

  // Messages that are shown to the user, in one dialog, after the outermost commit.
  TStringList* aiInformationMessagesOnCommit() const {
    return FOnTransCountToZeroInformationMessageList;
  }
  void ShowTrasCountZeroMessages();
  void ClearTrasCountZeroMessages();

  // The hooks before the real end. That of the commit logs what it raises and lets it out, that of
  // the rollback logs and swallows: nothing stops a rollback.
  void OnBeforeTransactionCountZeroCommit(TList* list);
  void OnBeforeTransactionCountZeroRollback(TList* list);
  // Logs and raises "Commiting error: %s".
  [[noreturn]] void ProcessCommitException(const std::exception& e);

  const TNotifyEvent& aiOnBeforeTransactionCountSetToZeroCommit() const {
    return FOnBeforeTransationCountSetToZeroCommit;
  }
  void aiOnBeforeTransactionCountSetToZeroCommit(TNotifyEvent event) {
    FOnBeforeTransationCountSetToZeroCommit = std::move(event);
  }
  const TNotifyEvent& aiOnBeforeTransactionCountSetToZeroRollback() const {
    return FOnBeforeTransationCountSetToZeroRollback;
  }
  void aiOnBeforeTransactionCountSetToZeroRollback(TNotifyEvent event) {
    FOnBeforeTransationCountSetToZeroRollback = std::move(event);
  }
  // nullptr until it has been looked up, and again once it has been freed.
  TIDatabase* aiDatabase() const;
  // The application's sign that a commit which its timers see is the layer's own.
  bool aiIgnoreTimer() const { return FIgnoreTimer; }
  void aiIgnoreTimer(bool ignore) { FIgnoreTimer = ignore; }

 private:
  enum class TTold : std::uint8_t { committed, rolledBack };
  TIDatabase* FindSession();  // nullptr without one
  TIDatabase& Database();     // raises
  static std::string Label(std::string_view text, std::string_view operation, int count) noexcept;
  void Trace(std::string_view text, std::string_view operation, int count) noexcept;
  void CommitOutermost(std::string_view text);
  void RollbackOutermost(std::string_view text);
  void TellObjects(TTold told);
  void EndOutermost();

  TObjectHandle FDatabase;                 // not owned
  TPlList* FTransactionObjects = nullptr;  // owned; holds a reference for each entry
  int FTransCount = 0;
  TStringList* FOnTransCountToZeroInformationMessageList = nullptr;  // owned
  TNotifyEvent FOnBeforeTransationCountSetToZeroCommit;
  TNotifyEvent FOnBeforeTransationCountSetToZeroRollback;
  TDateTime FStartTransactionTime = 0;
  bool FIgnoreTimer = false;
  TWriteQueries FWriteQueries;
};

// The one transaction manager of the loaded layer.
TplDatabaseProvider* dbProvider();

}  // namespace perlayer
