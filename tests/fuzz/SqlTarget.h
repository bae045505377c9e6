#pragma once
// For the targets that translate statements: an open database with two tables in memory.

#include <sqlite3.h>

#include <string>

#include "fuzz/Fuzz.h"
#include "perlayer/corekit/EDatabaseError.h"
#include "perlayer/drivers/sqlite/SqliteFunctions.h"
#include "perlayer/drivers/sqlite/TSqlTranslator.h"

namespace perlayer {

class TMemoryDatabase {
 public:
  TMemoryDatabase() {
    sqlite3_open(":memory:", &FDatabase);
    RegisterSqliteFunctions(FDatabase, &FClock);
    Require(
        sqlite3_exec(FDatabase,
                     "CREATE TABLE \"OMRA.PATIENT\" (ID NUMBER PRIMARY KEY, LAST VARCHAR2(60), "
                     "CODE VARCHAR2(20), BORN DATE, WEIGHT NUMBER, NOTES CLOB);"
                     "CREATE TABLE \"OMRA.VISIT\" (ID NUMBER PRIMARY KEY, PATIENT_ID NUMBER, "
                     "STARTED DATE);"
                     "CREATE TABLE T (A, B, C, X, Y, Z);"
                     "INSERT INTO \"OMRA.PATIENT\" VALUES (1, 'Novak', '5', 44953, 70.5, NULL), "
                     "(2, 'Žnidaršič', NULL, -1.25, NULL, 'x');"
                     "INSERT INTO \"OMRA.VISIT\" VALUES (7, 1, 44953.75), (8, 1, NULL);"
                     "INSERT INTO T VALUES (1, 'a', NULL, 2.5, '7', 'b c')",
                     nullptr, nullptr, nullptr) == SQLITE_OK,
        "the tables are made", sqlite3_errmsg(FDatabase));
    sqlite3_db_config(FDatabase, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
    sqlite3_db_config(FDatabase, SQLITE_DBCONFIG_DQS_DDL, 0, nullptr);
    // A query over endless rows is no fault of the translation.
    sqlite3_limit(FDatabase, SQLITE_LIMIT_LENGTH, 1'000'000);
    sqlite3_progress_handler(
        FDatabase, 2000, [](void*) { return 1; }, nullptr);
  }
  ~TMemoryDatabase() { sqlite3_close_v2(FDatabase); }
  TMemoryDatabase(const TMemoryDatabase&) = delete;
  TMemoryDatabase& operator=(const TMemoryDatabase&) = delete;

  void Try(const TSqlTranslation& translation) {
    for (const TSqlTranslation::TStep& step : translation.steps) {
      Try(translation.sql.substr(step.offset, step.length));
    }
  }
  // Prepares the statement and, when it only reads, runs it on some texts and numbers, all of which
  // may fail; nothing is ever changed.
  void Try(const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    const char* rest = nullptr;
    if (sqlite3_prepare_v2(FDatabase, sql.c_str(), static_cast<int>(sql.size()) + 1, &statement,
                           &rest) != SQLITE_OK ||
        statement == nullptr) {
      return;
    }
    Require(Trimmed(rest).empty(), "a translation is one statement", sql);
    if (sqlite3_stmt_readonly(statement) != 0) {
      FClock.isRead = false;
      for (int i = sqlite3_bind_parameter_count(statement); i > 0; i -= 2) {
        sqlite3_bind_text(statement, i, "27.1.2023", -1, SQLITE_STATIC);
        sqlite3_bind_double(statement, i - 1, -2.5);
      }
      for (int row = 0; row < 5 && sqlite3_step(statement) == SQLITE_ROW; ++row) {
      }
    }
    sqlite3_finalize(statement);
  }

 private:
  static std::string_view Trimmed(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(" \t\r\n;");
    return begin == text.npos ? std::string_view() : text.substr(begin);
  }

  sqlite3* FDatabase = nullptr;
  TSqliteClock FClock;
};

// A refusal repeats the statement apart from its message, so that callers may leave it out.
inline void RequireRefusal(const EDatabaseError& e, std::string_view statement) {
  Require(e.Statement() == statement, "a refusal carries the statement", e.Message());
  Require(e.Message().size() > statement.size(), "a refusal says why", e.Message());
}

}  // namespace perlayer
