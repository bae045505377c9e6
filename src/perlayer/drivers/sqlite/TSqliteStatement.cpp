#include "perlayer/drivers/sqlite/TSqliteStatement.h"

#include <sqlite3.h>

#include <cassert>
#include <cmath>

#include "perlayer/drivers/sqlite/SqliteErrors.h"
#include "perlayer/drivers/sqlite/TSqliteSession.h"
#include "perlayer/platform/Exception.h"

namespace perlayer {

TSqliteStatement::TSqliteStatement(TSqliteSession& session, TStatementTextPtr text,
                                   std::shared_ptr<TShared> shared)
    : FSession(session),
      FText(std::move(text)),
      FShared(std::move(shared)),
      FBinds(FText->Parameters().size()) {
  if (FShared == nullptr) {
    FShared = std::make_shared<TShared>();
    FShared->translation = TSqlTranslator(*FText, &FSession).Translate();
  }
  Prepare(FShared->translation);
}

TSqliteStatement::~TSqliteStatement() {
  Reset();
  sqlite3_finalize(FStatement);  // its answer is that of the last step, told already
}

void TSqliteStatement::Prepare(const TSqlTranslation& translation) {
  sqlite3* const database = FSession.Database();
  sqlite3_stmt* prepared = nullptr;
  const int code = sqlite3_prepare_v3(database, translation.sql.c_str(),
                                      static_cast<int>(translation.sql.size()) + 1,
                                      SQLITE_PREPARE_PERSISTENT, &prepared, nullptr);
  if (code != SQLITE_OK) {
    const int offset = sqlite3_error_offset(database);
    std::string place;
    if (offset >= 0) {
      place = SqlPlace(FText->Text(), translation.SourceOffset(static_cast<std::size_t>(offset)));
    }
    throw SqliteError(database, code, FText->Text(), place);
  }
  sqlite3_finalize(FStatement);
  FStatement = prepared;
  FReadOnly = sqlite3_stmt_readonly(FStatement) != 0;
}

void TSqliteStatement::BindNull(int parameter) { Bind(parameter, {}); }

void TSqliteStatement::BindText(int parameter, std::string_view text) {
  if (text.empty()) {
    Bind(parameter, {});
  } else {
    Bind(parameter, {TBindKind::text, 0, 0, text.data(), text.size()});
  }
}

void TSqliteStatement::BindNumber(int parameter, double value) {
  Bind(parameter, {TBindKind::number, 0, value, nullptr, 0});
}

void TSqliteStatement::BindBlob(int parameter, std::span<const std::byte> bytes) {
  Bind(parameter,
       {TBindKind::blob, 0, 0, reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

void TSqliteStatement::Bind(int parameter, const TBind& bind) {
  const auto index = static_cast<std::size_t>(parameter);
  Assert(index < FBinds.size(), "TSqliteStatement: there is no such parameter");
  Assert(FRun != TRun::row, "TSqliteStatement: a parameter was bound during a run");
  if (FRun == TRun::ended) Reset();
  FBinds[index] = bind;
  FBinds[index].run = FRunNumber;
  Apply(index);
}

void TSqliteStatement::Apply(std::size_t parameter) {
  static constexpr double kExact = 9007199254740992.0;  // whole numbers below are exact
  const TBind& bind = FBinds[parameter];
  const int position = static_cast<int>(parameter) + 1;
  int code = SQLITE_OK;
  switch (bind.kind) {
    case TBindKind::null:
      code = sqlite3_bind_null(FStatement, position);
      break;
    case TBindKind::text:
      code = sqlite3_bind_text64(FStatement, position, bind.data, bind.size, SQLITE_STATIC,
                                 SQLITE_UTF8);
      break;
    case TBindKind::number:
      // A whole number goes as one, so that a column of texts takes "5" and not "5.0".
      if (std::abs(bind.number) < kExact) {
        const auto whole = static_cast<sqlite3_int64>(bind.number);
        if (static_cast<double>(whole) == bind.number) {
          code = sqlite3_bind_int64(FStatement, position, whole);
          break;
        }
      }
      code = sqlite3_bind_double(FStatement, position, bind.number);
      break;
    case TBindKind::blob:
      code = bind.size == 0
                 ? sqlite3_bind_zeroblob(FStatement, position, 0)
                 : sqlite3_bind_blob64(FStatement, position, bind.data, bind.size, SQLITE_STATIC);
      break;
  }
  if (code != SQLITE_OK) throw SqliteError(FSession.Database(), code, FText->Text());
}

void TSqliteStatement::PrepareForBinds() {
  TSqlNumberBinds numbers = 0;
  for (std::size_t i = 0; i < FBinds.size() && i < 64; ++i) {
    const TSqlNumberBinds bit = TSqlNumberBinds{1} << i;
    // NULL is either: it goes with what the statement is prepared for.
    const bool isNumber = FBinds[i].kind == TBindKind::number ||
                          (FBinds[i].kind == TBindKind::null && (FNumberBinds & bit) != 0);
    if (isNumber) numbers |= bit;
  }
  numbers &= FShared->translation.bindsThatMatter;
  if (numbers == FNumberBinds) return;
  if (numbers == 0) {
    Prepare(FShared->translation);
  } else {
    Prepare(TSqlTranslator(*FText, &FSession, numbers).Translate());
  }
  FNumberBinds = numbers;
  for (std::size_t i = 0; i < FBinds.size(); ++i) Apply(i);
}

void TSqliteStatement::Start() {
  FSession.CheckThread();
  FSession.RunBegins();
  for (std::size_t i = 0; i < FBinds.size(); ++i) {
    if (FBinds[i].run == FRunNumber || FBinds[i].kind == TBindKind::null) continue;
    FBinds[i] = {};  // the memory of an earlier run's bind may be gone
    Apply(i);
  }
  if (FShared->translation.bindsThatMatter != 0) PrepareForBinds();
  FRowsAffected = 0;
  FOpenedTransaction = !FReadOnly && FSession.BeginWrite(FText->Text());
}

bool TSqliteStatement::Step() {
  if (FRun == TRun::idle) {
    Start();
  } else if (FRun == TRun::ended) {
    return false;
  }
  if (FRows != nullptr) {
    try {
      if (FRows->Next()) return true;
    } catch (...) {
      Reset();
      throw;
    }
    FRows.reset();
    FRun = TRun::ended;
    return false;
  }
  const int code = sqlite3_step(FStatement);
  if (code == SQLITE_ROW) {
    if (FRun == TRun::idle) FSession.CursorOpened();
    FRun = TRun::row;
    return true;
  }
  if (code != SQLITE_DONE) Fail(code);
  return End();
}

bool TSqliteStatement::End() {
  if (!FReadOnly) {
    if (FShared->translation.changesSchema) {
      FSession.SchemaChanged();
    } else {
      FRowsAffected = sqlite3_changes64(FSession.Database());
    }
  }
  if (FRun == TRun::row) FSession.CursorClosed();
  FRun = TRun::ended;
  sqlite3_reset(FStatement);  // the read ends here, not with the caller's Reset
  return false;
}

void TSqliteStatement::Fail(int code) {
  // The words are the connection's and last until its next call.
  const EDatabaseError error = SqliteError(FSession.Database(), code, FText->Text());
  if (FRun == TRun::idle) sqlite3_reset(FStatement);
  Reset();
  FSession.StatementFailed(FOpenedTransaction);
  throw error;
}

void TSqliteStatement::Reset() noexcept {
  if (IsOpen()) {
    FSession.CursorClosed();
    sqlite3_reset(FStatement);
  }
  FRows.reset();
  FRun = TRun::idle;
  ++FRunNumber;
}

void TSqliteStatement::ReadAhead() {
  assert(IsOpen());
  auto rows = std::make_unique<TSqliteRows>(FStatement);
  if (rows->EndCode() != SQLITE_DONE) {
    rows->FailAtEnd(
        std::make_exception_ptr(SqliteError(FSession.Database(), rows->EndCode(), FText->Text())));
  }
  sqlite3_reset(FStatement);
  FRows = std::move(rows);
  FSession.CursorClosed();
}

std::shared_ptr<const TColumnLayout> TSqliteStatement::Layout() {
  const auto count = static_cast<std::size_t>(sqlite3_column_count(FStatement));
  // Another client may have added a column to a table that is selected with "*".
  if (FShared->layout == nullptr || FShared->layout->columns.size() != count) {
    FShared->layout = MakeLayout();
  }
  return FShared->layout;
}

std::shared_ptr<const TColumnLayout> TSqliteStatement::MakeLayout() {
  auto layout = std::make_shared<TColumnLayout>();
  const int count = sqlite3_column_count(FStatement);
  for (int i = 0; i < count; ++i) {
    TColumnInfo info;
    const char* name = sqlite3_column_name(FStatement, i);
    if (name == nullptr) throw std::bad_alloc();
    info.name = name;
    const char* declared = sqlite3_column_decltype(FStatement, i);
    if (const auto type = DeclaredType(declared == nullptr ? "" : declared, info.size)) {
      info.type = *type;
      layout->columns.push_back(std::move(info));
      continue;
    }
    TSqlType type = TSqlType::unknown;
    for (const auto& [expression, known] : FShared->translation.expressions) {
      if (expression == info.name) type = known;
    }
    if (type == TSqlType::unknown && FRun == TRun::row) {
      TCell cell;
      Cell(i, cell);
      const bool isNumber = cell.kind == TCellKind::integer || cell.kind == TCellKind::number;
      type = isNumber                       ? TSqlType::number
             : cell.kind == TCellKind::blob ? TSqlType::blob
                                            : TSqlType::text;
    }
    info.type = type == TSqlType::number ? TColumnType::number
                : type == TSqlType::date ? TColumnType::dateTime
                : type == TSqlType::blob ? TColumnType::blob
                                         : TColumnType::text;
    layout->columns.push_back(std::move(info));
  }
  return layout;
}

}  // namespace perlayer
