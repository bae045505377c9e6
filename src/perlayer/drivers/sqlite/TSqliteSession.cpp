#include "perlayer/drivers/sqlite/TSqliteSession.h"

#include <sqlite3.h>

#include <cassert>
#include <string_view>

#include "perlayer/drivers/sqlite/SqliteErrors.h"
#include "perlayer/drivers/sqlite/SqliteRaw.h"
#include "perlayer/drivers/sqlite/TSqlTranslator.h"
#include "perlayer/drivers/sqlite/TSqliteLargeObject.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

TSqliteSession::THandle::~THandle() { sqlite3_close(handle); }

TSqliteSession::TSqliteSession(const std::string& fileName, const TSqliteOptions& options)
    : FFileName(fileName),
      FBusyTimeout(options.busyTimeoutMilliseconds),
      FCache(*this, options.keptStatements) {
  Open();
}

TSqliteSession::~TSqliteSession() {
  for (TSqliteLargeObject* object : FLargeObjects) object->SessionEnds();
}

void TSqliteSession::Open() {
  // One thread uses the connection: its own mutex would only cost.
  constexpr int kFlags =
      SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
  if (FFileName.empty() || FFileName[0] == ':' || FFileName.find('\0') != std::string::npos) {
    throw EDatabaseError(TDatabaseErrorKind::other, SQLITE_CANTOPEN,
                         "\"" + FFileName + "\" is no name of a database file", "");
  }
  const int code = sqlite3_open_v2(FFileName.c_str(), &FDatabase.handle, kFlags, nullptr);
  if (code != SQLITE_OK) throw SqliteError(Database(), code, "", FFileName);
  sqlite3_busy_timeout(Database(), FBusyTimeout);
  // A name in double quotes is a name, never a text.
  sqlite3_db_config(Database(), SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
  sqlite3_db_config(Database(), SQLITE_DBCONFIG_DQS_DDL, 0, nullptr);
  UseWriteAheadLog();
  Run("PRAGMA foreign_keys = ON");
  Run("PRAGMA case_sensitive_like = ON");
  RegisterSqliteFunctions(Database(), &FClock);
  FSequences.Register(Database());
}

// The first thing that reads the file, and writes to it: here a file that is no database, and one
// that cannot be written, come to light.
void TSqliteSession::UseWriteAheadLog() {
  if (sqlite3_db_readonly(Database(), "main") == 1) {
    throw EDatabaseError(TDatabaseErrorKind::other, SQLITE_READONLY,
                         FFileName + ": the file is write-protected", "");
  }
  int code = SQLITE_OK;
  const TRawStatement statement = PrepareRaw(Database(), "PRAGMA journal_mode = WAL", code);
  if (code == SQLITE_OK) code = sqlite3_step(statement.get());
  if (code != SQLITE_ROW) throw SqliteError(Database(), code, "", FFileName);
  const auto* mode = reinterpret_cast<const char*>(sqlite3_column_text(statement.get(), 0));
  if (mode == nullptr || std::string_view(mode) != "wal") {
    throw EDatabaseError(TDatabaseErrorKind::other, SQLITE_CANTOPEN,
                         FFileName + ": several clients cannot use a file in this place", "");
  }
}

void TSqliteSession::CheckThread() const {
  assert(std::this_thread::get_id() == FThread && "a session belongs to the thread that made it");
}

void TSqliteSession::Run(const char* sql, const std::string& statement) {
  const int code = sqlite3_exec(Database(), sql, nullptr, nullptr, nullptr);
  if (code != SQLITE_OK) throw SqliteError(Database(), code, statement, sql);
}

TDriverStatement* TSqliteSession::Take(const TStatementTextPtr& text) {
  CheckThread();
  return FCache.Take(text, TLargeObjects::values);
}

TDriverStatement* TSqliteSession::TakeForLargeObjects(const TStatementTextPtr& text) {
  CheckThread();
  return FCache.Take(text, TLargeObjects::places);
}

void TSqliteSession::GiveBack(TDriverStatement* statement) noexcept {
  CheckThread();
  FCache.GiveBack(static_cast<TSqliteStatement*>(statement));
}

std::string TSqliteSession::Translated(const TStatementTextPtr& text) {
  CheckThread();
  return TSqlTranslator(*text, this).Translate().sql;
}

template <class TTake>
int TSqliteSession::ForEachColumn(const std::string& table, TTake&& take) {
  int code = SQLITE_OK;
  // A statement over it tells views as well as tables.
  const TRawStatement all = PrepareRaw(Database(), "SELECT * FROM " + QuotedName(table), code);
  if (code != SQLITE_OK) return code;
  for (int i = 0; i < sqlite3_column_count(all.get()); ++i) {
    const char* name = sqlite3_column_name(all.get(), i);
    const char* declared = sqlite3_column_decltype(all.get(), i);
    int size = 0;
    const auto type = DeclaredType(declared == nullptr ? "" : declared, size);
    take(name == nullptr ? "" : name, type, size);
  }
  return SQLITE_OK;
}

std::vector<TSqlColumn> TSqliteSession::Columns(const std::string& table) {
  std::vector<TSqlColumn> columns;
  // A failure means no columns: the statement that is being translated will tell it.
  ForEachColumn(table, [&](const char* name, std::optional<TColumnType> type, int) {
    columns.push_back(
        {name, type ? SqlTypeOf(*type) : TSqlType::unknown, false, type == TColumnType::memo});
  });
  return columns;
}

std::vector<TColumnInfo> TSqliteSession::TableColumns(std::string_view owner,
                                                      std::string_view table) {
  CheckThread();
  std::vector<TColumnInfo> columns;
  const std::string name = perlayer::FileName(UpperCase(owner), UpperCase(table));
  const int code =
      ForEachColumn(name, [&](const char* column, std::optional<TColumnType> type, int size) {
        columns.push_back({column, type.value_or(TColumnType::text), size});
      });
  const bool noTable = (code & 0xff) == SQLITE_ERROR;
  if (code != SQLITE_OK && !noTable) throw SqliteError(Database(), code, "", name);
  return columns;
}

void TSqliteSession::ReadCursorsAhead() {
  if (FOpenCursors == 0) return;
  FCache.ForEach([](TSqliteStatement& statement) {
    if (statement.IsOpen()) statement.ReadAhead();
  });
}

void TSqliteSession::Begin() {
  CheckThread();
  if (FTransaction != TTransaction::none) return;
  Run("BEGIN");
  FTransaction = TTransaction::reading;
}

bool TSqliteSession::BeginWrite(const std::string& statement, int waitMilliseconds) {
  if (FTransaction == TTransaction::lost) {
    throw EDatabaseError(TDatabaseErrorKind::other, SQLITE_ABORT_ROLLBACK,
                         "the transaction was given up after an earlier failure; roll it back",
                         statement);
  }
  // Later writes too: a cursor gives the rows as they were when it was opened.
  ReadCursorsAhead();
  CloseLargeObjects();
  if (FTransaction == TTransaction::writing) return false;
  const bool opens = FTransaction == TTransaction::none;
  if (!opens)
    Run("COMMIT", statement);  // of reads alone: their state of the file may be old by now
  try {
    if (waitMilliseconds >= 0) sqlite3_busy_timeout(Database(), waitMilliseconds);
    TryFinally([&] { Run("BEGIN IMMEDIATE", statement); },
               [&] { sqlite3_busy_timeout(Database(), FBusyTimeout); });
  } catch (const EDatabaseError&) {
    // The explicit transaction goes on; nothing was written in it.
    if (!opens && sqlite3_exec(Database(), "BEGIN", nullptr, nullptr, nullptr) != SQLITE_OK) {
      FTransaction = TTransaction::lost;
    }
    throw;
  }
  FTransaction = TTransaction::writing;
  return opens;
}

void TSqliteSession::StatementFailed(bool openedTransaction) noexcept {
  if (openedTransaction) {
    EndTransaction();
  } else if (FTransaction != TTransaction::none && sqlite3_get_autocommit(Database()) != 0) {
    FTransaction = TTransaction::lost;
  }
}

void TSqliteSession::CloseLargeObjects() noexcept {
  for (TSqliteLargeObject* object : FLargeObjects) object->Close();
}

bool TSqliteSession::Mark() {
  CheckThread();
  if (BeginWrite("")) return true;
  MarkStatement("");
  return false;
}

void TSqliteSession::Keep(bool opened) {
  CheckThread();
  CloseLargeObjects();
  if (!opened) KeepStatement("");
}

void TSqliteSession::Undo(bool opened) noexcept {
  CloseLargeObjects();
  if (opened) {
    EndTransaction();
  } else {
    UndoStatement();
    StatementFailed(false);
  }
}

void TSqliteSession::MarkStatement(const std::string& statement) {
  Run("SAVEPOINT perlayer_statement", statement);
}

void TSqliteSession::KeepStatement(const std::string& statement) {
  Run("RELEASE perlayer_statement", statement);
}

void TSqliteSession::UndoStatement() noexcept {
  if (sqlite3_get_autocommit(Database()) != 0) return;  // all of it is gone already
  const int code =
      sqlite3_exec(Database(), "ROLLBACK TO perlayer_statement; RELEASE perlayer_statement",
                   nullptr, nullptr, nullptr);
  if (code != SQLITE_OK) FTransaction = TTransaction::lost;
}

TSqliteSession::TTransaction TSqliteSession::BeginNumbers(const std::string& statement) {
  const TTransaction before = FTransaction;
  BeginWrite(statement);
  return before;
}

void TSqliteSession::EndNumbers(TTransaction before, const std::string& statement) {
  if (before == TTransaction::writing) return;
  Run("COMMIT", statement);
  FTransaction = TTransaction::none;
  FSequences.Committed();
  if (before != TTransaction::reading) return;
  Run("BEGIN", statement);
  FTransaction = TTransaction::reading;
}

void TSqliteSession::NumbersFailed(TTransaction before) noexcept {
  if (before == TTransaction::writing) {
    StatementFailed(false);
    return;
  }
  EndTransaction();
  if (before == TTransaction::reading && FTransaction == TTransaction::none) {
    const int code = sqlite3_exec(Database(), "BEGIN", nullptr, nullptr, nullptr);
    FTransaction = code == SQLITE_OK ? TTransaction::reading : TTransaction::lost;
  }
}

// Rolls back what is open. Should even that fail, the session is left as one that has lost its
// transaction.
void TSqliteSession::EndTransaction() noexcept {
  CloseLargeObjects();
  ++FTransactionsEnded;
  if (sqlite3_get_autocommit(Database()) == 0) {
    sqlite3_exec(Database(), "ROLLBACK", nullptr, nullptr, nullptr);
  }
  FTransaction = sqlite3_get_autocommit(Database()) != 0 ? TTransaction::none : TTransaction::lost;
  if (FSchemaChanged) SchemaChanged();
  FSchemaChanged = false;
  if (FTransaction != TTransaction::none) return;
  sqlite3_busy_timeout(Database(), 0);  // nobody waits for the end of a rollback
  FSequences.RolledBack();
  sqlite3_busy_timeout(Database(), FBusyTimeout);
}

void TSqliteSession::SchemaChanged() noexcept {
  FSchemaChanged = true;
  ++FSchemaVersion;
  FCache.Outdate();
}

void TSqliteSession::Commit() {
  CheckThread();
  if (FTransaction == TTransaction::none) return;
  try {
    if (FTransaction == TTransaction::lost) {
      throw EDatabaseError(TDatabaseErrorKind::other, SQLITE_ABORT_ROLLBACK,
                           "the transaction was given up after an earlier failure", "");
    }
    ReadCursorsAhead();
    CloseLargeObjects();
    const int code = sqlite3_exec(Database(), "COMMIT", nullptr, nullptr, nullptr);
    if (code != SQLITE_OK) {
      // Whether the log has reached the disk, nobody knows after an I/O error.
      const bool unknown = FTransaction == TTransaction::writing && (code & 0xff) == SQLITE_IOERR;
      throw SqliteError(unknown ? TDatabaseErrorKind::outcomeUnknown : SqliteErrorKind(code),
                        Database(), code, "", "COMMIT");
    }
  } catch (...) {
    EndTransaction();
    throw;
  }
  FTransaction = TTransaction::none;
  ++FTransactionsEnded;
  FSchemaChanged = false;
  FSequences.Committed();
}

void TSqliteSession::Rollback() {
  CheckThread();
  if (FTransaction == TTransaction::none) return;
  TryFinally([&] { ReadCursorsAhead(); }, [&] { EndTransaction(); });
}

}  // namespace perlayer
