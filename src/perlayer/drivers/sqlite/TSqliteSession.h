#pragma once
// TSqliteSession: the driver for one SQLite file, which is made when it does not exist. Several
// sessions, also of several processes, may use one file.
//
// Transactions. Reads outside a transaction see the latest committed state. Begin opens a reading
// transaction: its reads see one state of the file. The first write, with Begin before it or not,
// takes the file's one write permission (waiting for it up to the busy timeout) and sees the latest
// state; so a commit of another client between a transaction's reads and its first write is no
// error. Begin within a transaction changes nothing.
//
// Cursors. A write, Commit and Rollback first read the open cursors of the session to their end, in
// memory; they go on as if nothing had happened. Views of their current row's texts end there too.
//
// Blocks, and statements that return into parameters, are changed back as a whole when they fail. A
// query that takes numbers of a sequence writes them: outside of a writing transaction they are
// committed by themselves, at once. A query FOR UPDATE takes the write permission.
//
// A failure that makes the database give up the whole transaction (a full disk, say) leaves the
// session in a lost transaction: writes and Commit raise until Rollback, so that no half of it is
// committed.
//
// Belongs to the thread that made it; statements that were taken end with the session.

#include <cstddef>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "perlayer/corekit/TDriver.h"
#include "perlayer/drivers/sqlite/SqliteFunctions.h"
#include "perlayer/drivers/sqlite/TSqlScope.h"
#include "perlayer/drivers/sqlite/TSqliteSequences.h"
#include "perlayer/drivers/sqlite/TSqliteStatementCache.h"

struct sqlite3;

namespace perlayer {

class TSqliteLargeObject;

struct TSqliteOptions {
  int busyTimeoutMilliseconds = 5000;
  std::size_t keptStatements = 200;
};

class TSqliteSession final : public TDriverSession, private TSqlSchema {
 public:
  // Raises EDatabaseError, naming the file, when it is no database or cannot be written.
  explicit TSqliteSession(const std::string& fileName, const TSqliteOptions& options = {});
  ~TSqliteSession() override;  // an open transaction is rolled back

  TDriverStatement* Take(const TStatementTextPtr& text) override;
  TDriverStatement* TakeForLargeObjects(const TStatementTextPtr& text) override;
  void GiveBack(TDriverStatement* statement) noexcept override;
  bool Mark() override;
  void Keep(bool opened) override;
  void Undo(bool opened) noexcept override;
  void Begin() override;
  void Commit() override;
  void Rollback() override;
  bool InTransaction() const override { return FTransaction != TTransaction::none; }
  std::string Translated(const TStatementTextPtr& text) override;
  std::vector<TColumnInfo> TableColumns(std::string_view owner, std::string_view table) override;

  const std::string& FileName() const { return FFileName; }
  std::size_t KeptStatements() const { return FCache.Count(); }

 private:
  friend class TSqliteStatement;
  friend class TSqliteLargeObject;
  enum class TTransaction { none, reading, writing, lost };

  // For statements.
  sqlite3* Database() const { return FDatabase.handle; }
  void CheckThread() const;
  void RunBegins() noexcept { FClock.isRead = false; }
  void CursorOpened() noexcept { ++FOpenCursors; }
  void CursorClosed() noexcept { --FOpenCursors; }
  // Before each write. Waits for the write permission that long, -1 for as long as every write
  // does. Returns true when it opened the transaction.
  bool BeginWrite(const std::string& statement, int waitMilliseconds = -1);
  void StatementFailed(bool openedTransaction) noexcept;
  // Around a statement of which all has to go when it fails, within an open transaction.
  void MarkStatement(const std::string& statement);
  void KeepStatement(const std::string& statement);
  void UndoStatement() noexcept;
  // Around a query that takes numbers of sequences; what the first answers the others are told.
  TTransaction BeginNumbers(const std::string& statement);
  void EndNumbers(TTransaction before, const std::string& statement);
  void NumbersFailed(TTransaction before) noexcept;
  TSqliteSequences& Sequences() { return FSequences; }
  void SchemaChanged() noexcept;
  // Raised by each change of tables that this session makes or rolls back.
  std::uint64_t SchemaVersion() const { return FSchemaVersion; }

  // For large objects. Each is closed before every other use of the file that it would stand in the
  // way of, and opens itself again.
  void Add(TSqliteLargeObject* object) { FLargeObjects.push_back(object); }
  void Remove(const TSqliteLargeObject* object) noexcept { std::erase(FLargeObjects, object); }
  void CloseLargeObjects() noexcept;
  // How many transactions have ended.
  std::uint64_t TransactionsEnded() const { return FTransactionsEnded; }

  std::vector<TSqlColumn> Columns(const std::string& table) override;
  // Calls take(name, type, size) for each column; the type is nothing when its declaration tells
  // none. Answers the database's code.
  template <class TTake>
  int ForEachColumn(const std::string& table, TTake&& take);

  void Open();
  void UseWriteAheadLog();
  void Run(const char* sql, const std::string& statement = {});
  void ReadCursorsAhead();
  void EndTransaction() noexcept;

  struct THandle {
    sqlite3* handle = nullptr;
    ~THandle();
  };

  const std::string FFileName;
  const std::thread::id FThread = std::this_thread::get_id();
  const int FBusyTimeout;
  THandle FDatabase;
  TSqliteSequences FSequences;   // goes before the handle
  TSqliteStatementCache FCache;  // goes before the handle
  TTransaction FTransaction = TTransaction::none;
  int FOpenCursors = 0;
  std::uint64_t FTransactionsEnded = 0;
  std::vector<TSqliteLargeObject*> FLargeObjects;  // those that somebody holds
  bool FSchemaChanged = false;                     // in the open transaction
  std::uint64_t FSchemaVersion = 0;
  TSqliteClock FClock;
};

}  // namespace perlayer
