#include "perlayer/drivers/sqlite/TSqliteStatement.h"

#include <sqlite3.h>

#include <algorithm>
#include <bit>
#include <cassert>
#include <cmath>

#include "perlayer/drivers/sqlite/SqliteErrors.h"
#include "perlayer/drivers/sqlite/TSqliteLargeObject.h"
#include "perlayer/drivers/sqlite/TSqliteSession.h"
#include "perlayer/platform/Exception.h"

namespace perlayer {

namespace {

// The row that a step with large objects changes. The database tells it while the step runs; to
// have it returned, it would read the row's old values, the large objects among them.
class TChangedRow {
 public:
  TChangedRow(sqlite3* database, const TSqlTranslation::TStep& step) : FDatabase(database) {
    if (step.largeObjects.empty()) return;
    FTable = step.largeObjects.front().second.table.c_str();
    sqlite3_update_hook(FDatabase, Changed, this);
  }
  ~TChangedRow() {
    if (FTable != nullptr) sqlite3_update_hook(FDatabase, nullptr, nullptr);
  }
  TChangedRow(const TChangedRow&) = delete;
  TChangedRow& operator=(const TChangedRow&) = delete;

  int count = 0;
  std::optional<std::int64_t> row;  // the first

 private:
  static void Changed(void* self, int, const char*, const char* table, sqlite3_int64 row) {
    auto& changed = *static_cast<TChangedRow*>(self);
    if (sqlite3_stricmp(table, changed.FTable) != 0) return;  // by a foreign key, say
    if (++changed.count == 1) changed.row = row;
  }

  sqlite3* const FDatabase;
  const char* FTable = nullptr;
};

}  // namespace

TSqliteStatement::TSqliteStatement(TSqliteSession& session, TStatementTextPtr text,
                                   TLargeObjects largeObjects, std::shared_ptr<TShared> shared)
    : FSession(session),
      FText(std::move(text)),
      FLargeObjects(largeObjects),
      FShared(std::move(shared)),
      FSchemaVersion(session.SchemaVersion()),
      FBinds(FText->Parameters().size()) {
  if (FShared == nullptr) FShared = Translate();
  Prepare(FShared->translation);
}

TSqlTranslation TSqliteStatement::TranslateFor(TSqlNumberBinds numbers) {
  return TSqlTranslator(*FText, &FSession, numbers, FLargeObjects).Translate();
}

std::shared_ptr<TSqliteStatement::TShared> TSqliteStatement::Translate() {
  auto shared = std::make_shared<TShared>();
  shared->translation = TranslateFor(0);
  for (const TSqlTranslation::TStep& step : shared->translation.steps) {
    shared->returns.insert(shared->returns.end(), step.returns.begin(), step.returns.end());
    for (const auto& [parameter, column] : step.largeObjects) shared->returns.push_back(parameter);
  }
  return shared;
}

TSqliteStatement::~TSqliteStatement() { Reset(); }

void TSqliteStatement::Prepare(const TSqlTranslation& translation) {
  std::vector<TRawStatement> parts;
  bool readOnly = true;
  bool takesNumbers = false;
  for (std::size_t i = 0; i < translation.steps.size(); ++i) {
    parts.push_back(PreparePart(translation, i));
    // The plan of a write changes nothing.
    readOnly &= sqlite3_stmt_readonly(parts.back().get()) != 0 ||
                sqlite3_stmt_isexplain(parts.back().get()) != 0;
    takesNumbers |= !translation.steps[i].sequences.empty();
  }
  FParts = std::move(parts);
  FStatement = FParts.empty() ? nullptr : FParts.front().get();
  FFirstParameters = FStatement == nullptr ? 0 : sqlite3_bind_parameter_count(FStatement);
  FReadOnly = readOnly;
  FShape = readOnly && takesNumbers                                   ? TShape::numbers
           : FParts.size() != 1 || takesNumbers || !Returns().empty() ? TShape::parts
                                                                      : TShape::rows;
}

TRawStatement TSqliteStatement::PreparePart(const TSqlTranslation& translation, std::size_t step) {
  const std::size_t offset = translation.steps[step].offset;
  const std::string_view sql =
      std::string_view(translation.sql).substr(offset, translation.steps[step].length);
  int code = SQLITE_OK;
  TRawStatement part = PrepareRaw(FSession.Database(), sql, code, true);
  if (code != SQLITE_OK) {
    const int at = sqlite3_error_offset(FSession.Database());
    std::string place;
    if (at >= 0) {
      place =
          SqlPlace(FText->Text(), translation.SourceOffset(offset + static_cast<std::size_t>(at)));
    }
    throw SqliteError(FSession.Database(), code, FText->Text(), place);
  }
  return part;
}

void TSqliteStatement::RaiseUnbound(int code) {
  throw SqliteError(FSession.Database(), code, FText->Text());
}

inline void TSqliteStatement::ApplyTo(sqlite3_stmt* statement, int position, const TBind& bind) {
  static constexpr double kExact = 9007199254740992.0;  // whole numbers below are exact
  int code = SQLITE_OK;
  switch (bind.kind) {
    case TBindKind::null:
      code = sqlite3_bind_null(statement, position);
      break;
    case TBindKind::text:
      code = sqlite3_bind_text64(statement, position, bind.data, bind.size, SQLITE_STATIC,
                                 SQLITE_UTF8);
      break;
    case TBindKind::number:
      // A whole number goes as one, so that a column of texts takes "5" and not "5.0".
      if (std::abs(bind.number) < kExact && std::trunc(bind.number) == bind.number) {
        code = sqlite3_bind_int64(statement, position, static_cast<sqlite3_int64>(bind.number));
      } else {
        code = sqlite3_bind_double(statement, position, bind.number);
      }
      break;
    case TBindKind::blob:
      code = bind.size == 0
                 ? sqlite3_bind_zeroblob(statement, position, 0)
                 : sqlite3_bind_blob64(statement, position, bind.data, bind.size, SQLITE_STATIC);
      break;
  }
  if (code != SQLITE_OK) RaiseUnbound(code);
}

inline void TSqliteStatement::Apply(std::size_t parameter) {
  const TBind& bind = FBinds[parameter];
  const int position = static_cast<int>(parameter) + 1;
  // Not every part has every parameter, and one that is only returned into stands in none.
  if (FParts.size() == 1) {
    if (position <= FFirstParameters) ApplyTo(FStatement, position, bind);
    return;
  }
  for (const TRawStatement& part : FParts) {
    if (position <= sqlite3_bind_parameter_count(part.get())) ApplyTo(part.get(), position, bind);
  }
}

inline void TSqliteStatement::Bind(int parameter, const TBind& bind) {
  const auto index = static_cast<std::size_t>(parameter);
  Assert(index < FBinds.size(), "TSqliteStatement: there is no such parameter");
  Assert(FRun != TRun::row, "TSqliteStatement: a parameter was bound during a run");
  if (FRun == TRun::ended) Reset();
  TBind& kept = FBinds[index];
  if (kept.run != FRunNumber) ++FBoundInRun;
  const bool isApplied = kept.kind == TBindKind::null && bind.kind == TBindKind::null;
  kept = bind;
  kept.run = FRunNumber;
  if (!isApplied) Apply(index);
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

void TSqliteStatement::PrepareForBinds() {
  TSqlNumberBinds numbers = 0;
  for (TSqlNumberBinds left = FShared->translation.bindsThatMatter; left != 0; left &= left - 1) {
    const auto i = static_cast<std::size_t>(std::countr_zero(left));
    if (i >= FBinds.size()) break;
    const TSqlNumberBinds bit = TSqlNumberBinds{1} << i;
    // NULL is either: it goes with what the statement is prepared for.
    const bool isNumber = FBinds[i].kind == TBindKind::number ||
                          (FBinds[i].kind == TBindKind::null && (FNumberBinds & bit) != 0);
    if (isNumber) numbers |= bit;
  }
  if (numbers == FNumberBinds) return;
  if (numbers == 0) {
    Prepare(FShared->translation);
  } else {
    Prepare(TranslateFor(numbers));
  }
  FNumberBinds = numbers;
  for (std::size_t i = 0; i < FBinds.size(); ++i) Apply(i);
}

// The columns' types, which the translation goes by, may have changed.
void TSqliteStatement::Renew() {
  std::shared_ptr<TShared> shared = Translate();
  Prepare(shared->translation);
  FShared = std::move(shared);
  FNumberBinds = 0;
  FSchemaVersion = FSession.SchemaVersion();
  for (std::size_t i = 0; i < FBinds.size(); ++i) Apply(i);
}

void TSqliteStatement::Start() {
  FSession.CheckThread();
  FSession.RunBegins();
  if (FSchemaVersion != FSession.SchemaVersion()) Renew();
  for (std::size_t i = 0; FBoundInRun < FBinds.size() && i < FBinds.size(); ++i) {
    if (FBinds[i].run == FRunNumber || FBinds[i].kind == TBindKind::null) continue;
    FBinds[i] = {};  // the memory of an earlier run's bind may be gone
    Apply(i);
  }
  if (FShared->translation.bindsThatMatter != 0) PrepareForBinds();
  FRowsAffected = 0;
  const TSqlTranslation& translation = FShared->translation;
  FOpenedTransaction = (!FReadOnly || translation.locks) &&
                       FSession.BeginWrite(FText->Text(), translation.waitMilliseconds);
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
  if (FShape == TShape::parts) return RunParts();
  if (FShape == TShape::numbers) return RunForNumbers();
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
      FSession.Sequences().Forget(FShared->translation.sequence);
    } else {
      FRowsAffected = sqlite3_changes64(FSession.Database());
    }
  }
  if (FRun == TRun::row) FSession.CursorClosed();
  FRun = TRun::ended;
  sqlite3_reset(FStatement);  // the read ends here, not with the caller's Reset
  return false;
}

// All parts, or nothing of them.
bool TSqliteStatement::RunParts() {
  const bool marked =
      !FReadOnly && !FOpenedTransaction && (FParts.size() > 1 || !Returns().empty());
  FReturned.clear();
  FPlaces.clear();
  if (marked) FSession.MarkStatement(FText->Text());
  try {
    for (std::size_t i = 0; i < FParts.size(); ++i) RunPart(i);
    if (marked) FSession.KeepStatement(FText->Text());
  } catch (...) {
    for (const TRawStatement& part : FParts) sqlite3_reset(part.get());
    if (marked) FSession.UndoStatement();
    Reset();
    FSession.StatementFailed(FOpenedTransaction);
    throw;
  }
  FRun = TRun::ended;
  return false;
}

void TSqliteStatement::RunPart(std::size_t part) {
  const TSqlTranslation::TStep& step = FShared->translation.steps[part];
  // An earlier part may have returned a number where a text was bound, or the other way round.
  if (part > 0 && FShared->translation.bindsThatMatter != 0) PrepareForBinds();
  FSession.Sequences().RunBegins(step.sequences, FText->Text());
  sqlite3_stmt* const statement = FParts[part].get();
  const auto place = [&] {
    return FParts.size() > 1 ? SqlPlace(FText->Text(), step.source) : std::string();
  };
  for (const int parameter : step.returns) KeepReturned(parameter, TCell());
  int rows = 0;
  int code = SQLITE_OK;
  TChangedRow changed(FSession.Database(), step);
  while ((code = sqlite3_step(statement)) == SQLITE_ROW) {
    if (++rows > 1) continue;
    for (std::size_t i = 0; i < step.returns.size(); ++i) {
      TCell cell;
      ReadSqliteCell(statement, static_cast<int>(i), cell);
      KeepReturned(step.returns[i], cell);
    }
  }
  for (const auto& [parameter, column] : step.largeObjects) {
    rows = changed.count;
    FPlaces.push_back({parameter, &column, changed.row});
  }
  if (code != SQLITE_DONE) throw SqliteError(FSession.Database(), code, FText->Text(), place());
  FRowsAffected += sqlite3_changes64(FSession.Database());
  sqlite3_reset(statement);
  if (rows > 1) {
    const std::string where = place();
    throw EDatabaseError(TDatabaseErrorKind::other, SQLITE_MISUSE,
                         where + (where.empty() ? "" : ": ") +
                             "one row is returned INTO parameters, and here are " +
                             std::to_string(rows),
                         FText->Text());
  }
  FSession.Sequences().RunEnded(step.sequences, FText->Text());
  if (part + 1 == FParts.size()) return;
  for (const int parameter : step.returns) {
    const auto index = static_cast<std::size_t>(parameter);
    for (const TReturned& returned : FReturned) {
      if (returned.parameter != parameter) continue;
      const TCell& cell = returned.cell;
      const double number =
          cell.kind == TCellKind::integer ? static_cast<double>(cell.integer) : cell.number;
      const TBindKind kind = cell.kind == TCellKind::null   ? TBindKind::null
                             : cell.kind == TCellKind::text ? TBindKind::text
                             : cell.kind == TCellKind::blob ? TBindKind::blob
                                                            : TBindKind::number;
      FBinds[index] = {kind, FRunNumber, number, returned.bytes.data(), returned.bytes.size()};
      Apply(index);
    }
  }
}

void TSqliteStatement::KeepReturned(int parameter, const TCell& cell) {
  auto kept = std::find_if(FReturned.begin(), FReturned.end(),
                           [&](const TReturned& r) { return r.parameter == parameter; });
  if (kept == FReturned.end()) kept = FReturned.insert(kept, {parameter, {}, {}});
  kept->bytes = cell.text;
  kept->cell = cell;
  kept->cell.text = kept->bytes;
}

void TSqliteStatement::Returned(int parameter, TCell& cell) {
  cell = TCell();
  for (const TReturned& returned : FReturned) {
    if (returned.parameter == parameter) cell = returned.cell;
  }
}

std::unique_ptr<TDriverLargeObject> TSqliteStatement::OpenReturned(int parameter) {
  for (const auto& [place, column, row] : FPlaces) {
    if (place != parameter) continue;
    if (row == std::nullopt) return nullptr;
    return std::make_unique<TSqliteLargeObject>(FSession, *column, *row, true);
  }
  throw EDatabaseError(TDatabaseErrorKind::other, SQLITE_MISMATCH,
                       "what is returned into " +
                           FText->Parameters()[static_cast<std::size_t>(parameter)] +
                           " is no large object",
                       FText->Text());
}

std::unique_ptr<TDriverLargeObject> TSqliteStatement::OpenLargeObject(int column) {
  const std::string name = Layout()->columns[static_cast<std::size_t>(column)].name;
  const TSqlTranslation& translation = FShared->translation;
  for (const auto& [shown, large] : translation.largeColumns) {
    if (shown != name) continue;
    TCell row;
    ReadCell(column, row);
    if (row.kind == TCellKind::null) return nullptr;
    return std::make_unique<TSqliteLargeObject>(FSession, large, row.integer, translation.locks);
  }
  throw EDatabaseError(TDatabaseErrorKind::other, SQLITE_MISMATCH,
                       name + " is no column of large objects", FText->Text());
}

// A column that holds no blobs holds texts: a long CLOB is bytes in the file.
void TSqliteStatement::CellOfBytes(int column, TCell& cell) {
  const std::vector<TColumnInfo>& columns = Layout()->columns;
  const auto index = static_cast<std::size_t>(column);
  if (index < columns.size() && columns[index].type != TColumnType::blob) {
    cell.kind = TCellKind::text;
  }
}

// A query that takes numbers of sequences writes them, and so is read to its end before it gives
// its first row.
bool TSqliteStatement::RunForNumbers() {
  const std::vector<std::string>& sequences = FShared->translation.steps.front().sequences;
  const TSqliteSession::TTransaction before = FSession.BeginNumbers(FText->Text());
  std::unique_ptr<TSqliteRows> rows;
  try {
    FSession.Sequences().RunBegins(sequences, FText->Text());
    int code = sqlite3_step(FStatement);
    if (code == SQLITE_ROW) {
      rows = std::make_unique<TSqliteRows>(FStatement);
      code = rows->EndCode();
    }
    if (code != SQLITE_DONE) throw SqliteError(FSession.Database(), code, FText->Text());
    sqlite3_reset(FStatement);
    FSession.Sequences().RunEnded(sequences, FText->Text());
    FSession.EndNumbers(before, FText->Text());
  } catch (...) {
    sqlite3_reset(FStatement);
    Reset();
    FSession.NumbersFailed(before);
    throw;
  }
  FRows = std::move(rows);
  FRun = FRows == nullptr ? TRun::ended : TRun::row;
  return FRows != nullptr;
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
  if (!FReturned.empty()) FReturned.clear();
  FPlaces.clear();
  FRun = TRun::idle;
  ++FRunNumber;
  FBoundInRun = 0;
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
  const auto count =
      static_cast<std::size_t>(FShape == TShape::parts ? 0 : sqlite3_column_count(FStatement));
  // Another client may have added a column to a table that is selected with "*".
  if (FShared->layout == nullptr || FShared->layout->columns.size() != count) {
    FShared->layout = MakeLayout();
  }
  return FShared->layout;
}

std::shared_ptr<const TColumnLayout> TSqliteStatement::MakeLayout() {
  auto layout = std::make_shared<TColumnLayout>();
  const int count = FShape == TShape::parts ? 0 : sqlite3_column_count(FStatement);
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
      ReadCell(i, cell);
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
