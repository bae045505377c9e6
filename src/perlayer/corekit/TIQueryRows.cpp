// The rows of a query: read directly, or kept in memory.
//
// Rows are numbered from 0 as the run gives them. Kept ones begin where keeping began; what was
// read before that is fetched by a run of its own when somebody goes there, and put in front,
// without a change to the rows that are kept. Another client may have added and deleted rows
// meanwhile: then the row where keeping began is found again by its content, and the first row's
// number, Base, is not 0 any more.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>
#include <limits>

#include "perlayer/corekit/TIDatabase.h"
#include "perlayer/corekit/TIQuery.h"
#include "perlayer/corekit/TKeptRows.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

// What a record buffer holds before its calculated fields.
struct TRecordHead {
  std::int64_t row = 0;
  TBookmarkFlag flag = TBookmarkFlag::bfCurrent;
};

TRecordHead HeadOf(const std::byte* buffer) {
  TRecordHead head;
  std::memcpy(&head, buffer, sizeof head);
  return head;
}
void PutHead(std::byte* buffer, const TRecordHead& head) {
  std::memcpy(buffer, &head, sizeof head);
}

std::int64_t RowOf(const void* bookmark) {
  std::int64_t row;
  std::memcpy(&row, bookmark, sizeof row);
  return row;
}

// Reads on until `rows` has that many or `read` gives no more; whether it has.
template <class TRead>
bool ReadRows(const TKeptRows& rows, std::size_t count, TRead read) {
  while (rows.Count() < count) {
    if (!read()) return false;
  }
  return true;
}

// So many rows behind its place a row is looked for: one that has changed would not be found before
// the end of all.
constexpr std::size_t kLookAhead = 1000;

// The place in `rows`, which `read` continues, of the row that equals row `wanted` of `others`: the
// nearest before `place`, or the first not too far behind it. Without one, `place` or the end.
template <class TRead>
std::size_t FindRow(const TKeptRows& rows, std::size_t place, const TKeptRows& others,
                    std::size_t wanted, TRead read) {
  ReadRows(rows, place + 1, read);
  for (std::size_t i = std::min(place + 1, rows.Count()); i-- > 0;) {
    if (rows.Equal(i, others, wanted)) return i;
  }
  for (std::size_t i = place + 1; i <= place + kLookAhead && ReadRows(rows, i + 1, read); ++i) {
    if (rows.Equal(i, others, wanted)) return i;
  }
  return std::min(place, rows.Count());
}

constexpr int kUnknownColumn = -2;

TFieldType FieldTypeOf(TColumnType type) {
  switch (type) {
    case TColumnType::number:
      return TFieldType::ftFloat;
    case TColumnType::dateTime:
      return TFieldType::ftDateTime;
    case TColumnType::memo:
      return TFieldType::ftMemo;
    case TColumnType::blob:
      return TFieldType::ftBlob;
    case TColumnType::text:
      break;
  }
  return TFieldType::ftString;
}

double NumberOf(const TCell& cell, const TField& field) {
  switch (cell.kind) {
    case TCellKind::integer:
      return static_cast<double>(cell.integer);
    case TCellKind::number:
      return cell.number;
    default: {
      double value = 0;
      if (TryStrToFloat(cell.text, value)) return value;
      throw EConvertError(Format("Field %s: '%s' is not a number", field.FieldName(), cell.text));
    }
  }
}

}  // namespace

struct TIQuery::TKept {
  TKept(std::size_t columns, std::int64_t from) : rows(columns), first(from), complete(from == 0) {}
  std::int64_t End() const { return first + static_cast<std::int64_t>(rows.Count()); }
  std::size_t Index(std::int64_t row) const { return static_cast<std::size_t>(row - first); }
  bool Has(std::int64_t row) const { return row >= first && row < End(); }

  TKeptRows rows;
  std::int64_t first;       // the number of the first kept row
  std::int64_t base = 0;    // the number of the first row of all
  std::int64_t cursor = 0;  // from first - 1 to End()
  bool complete;            // nothing is missing before the first kept row
};

TIQuery::TIQuery() { BookmarkSize(sizeof(std::int64_t)); }
TIQuery::~TIQuery() = default;

// --- the run ---

void TIQuery::InternalOpen() {
  Prepare();
  CheckParameters();
  FColumns.clear();
  for (TIParam& param : FParams) param.BeginRun();
  FRunning = true;
  StartRun();
}

void TIQuery::StartRun() {
  FPrepared->Reset();
  FOnRow = false;
  FEnded = true;  // and it stays so when binding fails
  FFailure = nullptr;
  FRowsRead = 0;
  BindRun(*FPrepared);
  FEnded = false;
}

void TIQuery::InternalClose() {
  FRunning = FOnRow = false;
  FKept.reset();
  for (TIParam& param : FParams) param.EndRun();
  if (FPrepared != nullptr) FPrepared->Reset();
}

bool TIQuery::StepRow() {
  FOnRow = false;
  if (FEnded) return false;
  FEnded = true;
  try {
    FOnRow = FPrepared->Step();
  } catch (...) {
    FFailure = std::current_exception();
    throw;
  }
  FEnded = !FOnRow;
  if (FLayout == nullptr) FLayout = FPrepared->Layout();
  if (FOnRow) ++FRowsRead;
  return FOnRow;
}

// --- keeping rows ---

// Rows without any calculated or filtered one need no buffer.
bool TIQuery::CanReadDirectly() { return CalcFieldsSize() == 0 || !OnCalcFields(); }

void TIQuery::InternalKeepRows(bool keep) {
  if (!keep) {
    // The driver still stands where it stood.
    FOnRow = FRowsRead > 0 && !FEnded;
    FKept.reset();
    return;
  }
  const bool before = FRowsRead == 0 && !FEnded;
  if (FLayout == nullptr) StepRow();  // the columns are known from then on
  auto kept = std::make_unique<TKept>(FLayout->columns.size(), FRowsRead - (FOnRow ? 1 : 0));
  kept->cursor = before ? kept->first - 1 : kept->first;
  if (FOnRow) kept->rows.Append(*FPrepared);
  FOnRow = false;
  FKept = std::move(kept);
}

TBookmark TIQuery::DirectBookmark() {
  if (!FOnRow) return {};
  const std::int64_t row = FRowsRead - 1;
  return TBookmark(reinterpret_cast<const char*>(&row), sizeof row);
}

int TIQuery::DirectRecNo() { return FOnRow ? static_cast<int>(FRowsRead) : -1; }

bool TIQuery::ReadTo(std::int64_t row) {
  TKept& kept = *FKept;
  while (row >= kept.End()) {
    if (FFailure != nullptr) std::rethrow_exception(FFailure);
    if (!FOnRow && !StepRow()) return false;
    kept.rows.Append(*FPrepared);  // tried again when it fails: the driver stands there still
    FOnRow = false;
  }
  return true;
}

void TIQuery::ReadEarlierRows() {
  TKept& kept = *FKept;
  if (kept.complete) return;
  TDriverSession& session = FDatabase->Session();
  TDriverStatement* const statement = session.Take(FParamsOf);  // the run's, whatever came since
  TKeptRows earlier(FLayout->columns.size());
  TryFinally(
      [&] {
        BindRun(*statement);
        const auto read = [&] {
          if (!statement->Step()) return false;
          earlier.Append(*statement);
          return true;
        };
        const auto passed = static_cast<std::size_t>(kept.first);
        if (kept.rows.Count() > 0) {
          earlier.Truncate(FindRow(earlier, passed, kept.rows, 0, read));
        } else {
          // Keeping began behind the last row. A run that failed there fails there again.
          ReadRows(earlier, FFailure == nullptr ? std::numeric_limits<std::size_t>::max() : passed,
                   read);
        }
      },
      [&] {
        statement->Reset();
        session.GiveBack(statement);
      });
  const auto count = static_cast<std::int64_t>(earlier.Count());
  kept.rows.Prepend(earlier);
  kept.first -= count;
  kept.base = kept.first;
  kept.complete = true;
}

bool TIQuery::HasRow(std::int64_t row) {
  if (row < FKept->first) ReadEarlierRows();
  return row >= FKept->first && ReadTo(row);
}

TGetResult TIQuery::MoveCursor(TGetMode mode) {
  TKept& kept = *FKept;
  switch (mode) {
    case TGetMode::gmCurrent:
      break;
    case TGetMode::gmNext:
      if (!ReadTo(kept.cursor + 1)) {
        kept.cursor = kept.End();
        return TGetResult::grEOF;
      }
      ++kept.cursor;
      break;
    case TGetMode::gmPrior:
      if (kept.cursor <= kept.first) ReadEarlierRows();
      kept.cursor = std::max(kept.cursor - 1, kept.first - 1);
      break;
  }
  if (kept.cursor < kept.first) return TGetResult::grBOF;
  return kept.cursor < kept.End() ? TGetResult::grOK : TGetResult::grEOF;
}

TGetResult TIQuery::GetRecord(TRecordBuffer buffer, TGetMode mode, bool) {
  for (;;) {
    const TGetResult result = MoveCursor(mode);
    if (result != TGetResult::grOK) return result;
    PutHead(buffer, {FKept->cursor, TBookmarkFlag::bfCurrent});
    GetCalcFields(buffer);
    if (FilterRecord(buffer)) return result;
    if (mode == TGetMode::gmCurrent) return TGetResult::grError;
  }
}

void TIQuery::InternalFirst() {
  if (FKept == nullptr) {
    StartRun();
  } else {
    ReadEarlierRows();
    FKept->cursor = FKept->first - 1;
  }
}

void TIQuery::InternalLast() {
  ReadTo(std::numeric_limits<std::int64_t>::max());
  FKept->cursor = FKept->End();
}

void TIQuery::InternalRefresh() {
  TKept& old = *FKept;
  const bool onRow = old.Has(old.cursor);
  const auto place = static_cast<std::size_t>(std::max<std::int64_t>(old.cursor - old.base, 0));
  auto fresh = std::make_unique<TKept>(FLayout->columns.size(), 0);
  fresh->cursor = -1;
  FKept.swap(fresh);  // `fresh` holds what was kept
  StartRun();
  if (!onRow) return;
  const auto read = [&] { return ReadTo(FKept->End()); };
  const std::size_t found =
      FindRow(FKept->rows, place, fresh->rows, fresh->Index(fresh->cursor), read);
  FKept->cursor = static_cast<std::int64_t>(found);
}

// --- buffers and bookmarks ---

int TIQuery::GetRecordSize() { return static_cast<int>(sizeof(TRecordHead)) + CalcFieldsSize(); }

void TIQuery::ClearCalcFields(TRecordBuffer buffer) {
  std::memset(buffer + sizeof(TRecordHead), 0, static_cast<std::size_t>(CalcFieldsSize()));
}

void TIQuery::InternalSetToRecord(TRecordBuffer buffer) { FKept->cursor = HeadOf(buffer).row; }

void TIQuery::InternalGotoBookmark(const void* bookmark) {
  const std::int64_t row = RowOf(bookmark);
  // Elsewhere there is no row, and GetRecord says so.
  FKept->cursor = HasRow(row) ? row : FKept->End();
}

void TIQuery::GetBookmarkData(TRecordBuffer buffer, void* data) {
  const std::int64_t row = HeadOf(buffer).row;
  std::memcpy(data, &row, sizeof row);
}
void TIQuery::SetBookmarkData(TRecordBuffer buffer, const void* data) {
  PutHead(buffer, {RowOf(data), HeadOf(buffer).flag});
}
TBookmarkFlag TIQuery::GetBookmarkFlag(TRecordBuffer buffer) { return HeadOf(buffer).flag; }
void TIQuery::SetBookmarkFlag(TRecordBuffer buffer, TBookmarkFlag flag) {
  PutHead(buffer, {HeadOf(buffer).row, flag});
}

bool TIQuery::BookmarkValid(const TBookmark& bookmark) {
  if (Filtered()) return TDataSet::BookmarkValid(bookmark);
  if (!Active() || bookmark.size() != sizeof(std::int64_t)) return false;
  CheckNotInRow();
  NeedBuffers();
  return HasRow(RowOf(bookmark.data()));
}

int TIQuery::CompareBookmarks(const TBookmark& a, const TBookmark& b) {
  const auto fits = [](const TBookmark& mark) { return mark.size() == sizeof(std::int64_t); };
  if (!fits(a) || !fits(b)) return TDataSet::CompareBookmarks(a, b);
  const std::int64_t left = RowOf(a.data());
  const std::int64_t right = RowOf(b.data());
  return left < right ? -1 : left > right ? 1 : 0;
}

int TIQuery::GetRecordCount() {
  ReadTo(std::numeric_limits<std::int64_t>::max());
  return static_cast<int>(FKept->End() - FKept->base);
}

int TIQuery::GetRecNo() { return static_cast<int>(HeadOf(ActiveBuffer()).row - FKept->base) + 1; }

// --- fields ---

void TIQuery::InternalInitFieldDefs() {
  std::vector<TFieldDef>& defs = FieldDefs();
  defs.clear();
  const auto taken = [&](const std::string& name) {
    return std::any_of(defs.begin(), defs.end(),
                       [&](const TFieldDef& def) { return SameText(def.name, name); });
  };
  for (const TColumnInfo& column : FLayout->columns) {
    // Two columns may have one name; the later ones are numbered, as no field can share a name.
    std::string name = column.name;
    for (int number = 1; taken(name); ++number) name = column.name + "_" + IntToStr(number);
    defs.push_back({std::move(name), FieldTypeOf(column.type), column.size, false});
  }
}

void TIQuery::RowCell(int column, TCell& cell) const {
  CheckActive();
  if (FKept == nullptr) {
    if (FOnRow) return FPrepared->Cell(column, cell);
  } else if (const std::byte* buffer = GetActiveRecordBuffer()) {
    const std::int64_t row = HeadOf(buffer).row;
    if (FKept->Has(row)) return FKept->rows.Cell(FKept->Index(row), column, cell);
  }
  cell = TCell();
}

int TIQuery::ColumnOf(const TField* field) {
  const auto index = static_cast<std::size_t>(field->Index());
  if (FColumns.size() <= index) FColumns.resize(index + 1, kUnknownColumn);
  if (FColumns[index] == kUnknownColumn) {
    // Default fields stand in column order while all are there; others are bound by name.
    const bool inOrder =
        HasDefaultFields() && FieldCount() == static_cast<int>(FLayout->columns.size());
    FColumns[index] = inOrder ? field->Index() : FLayout->IndexOf(field->FieldName());
  }
  if (FColumns[index] < 0) {
    RaiseError(Format("Field '%s' is no column of the query", field->FieldName()));
  }
  return FColumns[index];
}

bool TIQuery::GetFieldData(TField* field, void* buffer) {
  CheckActive();
  if (field->Calculated()) {
    const std::byte* const row = FKept == nullptr ? nullptr : GetActiveRecordBuffer();
    return row != nullptr && ReadCalcField(row + sizeof(TRecordHead), *field, buffer);
  }
  TCell cell;
  RowCell(ColumnOf(field), cell);
  if (cell.kind == TCellKind::null) return false;
  if (buffer == nullptr) return true;
  switch (field->DataType()) {
    case TFieldType::ftString: {
      const std::string text = cell.AsText();
      const std::string_view cut =
          CutToBytes(text, static_cast<std::size_t>(field->DataSize()) - 1);
      std::memcpy(buffer, cut.data(), cut.size());
      static_cast<char*>(buffer)[cut.size()] = '\0';
      return true;
    }
    case TFieldType::ftInteger: {
      const double number = std::round(NumberOf(cell, *field));
      if (!(number >= std::numeric_limits<std::int32_t>::min() &&
            number <= std::numeric_limits<std::int32_t>::max())) {
        throw EConvertError(Format("Field %s: %s is beyond the numbers of an integer field",
                                   field->FieldName(), FloatToStr(number)));
      }
      const auto value = static_cast<std::int32_t>(number);
      std::memcpy(buffer, &value, sizeof value);
      return true;
    }
    case TFieldType::ftFloat: {
      const double value = NumberOf(cell, *field);
      std::memcpy(buffer, &value, sizeof value);
      return true;
    }
    case TFieldType::ftDateTime: {
      const double value =
          (NumberOf(cell, *field) + TDateTimeField::kDayZero) * kMillisecondsPerDay;
      std::memcpy(buffer, &value, sizeof value);
      return true;
    }
    default:
      RaiseError(Format("Field '%s' is read by GetBlobData", field->FieldName()));
  }
}

void TIQuery::SetFieldData(TField* field, const void* buffer) {
  if (State() != TDataSetState::dsCalcFields) return TDataSet::SetFieldData(field, buffer);
  WriteCalcField(GetActiveRecordBuffer() + sizeof(TRecordHead), *field, buffer);
}

std::string TIQuery::GetBlobData(TField* field) {
  CheckActive();
  TCell cell;
  RowCell(ColumnOf(field), cell);
  return cell.AsText();
}

}  // namespace perlayer
