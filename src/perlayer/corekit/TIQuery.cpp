#include "perlayer/corekit/TIQuery.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "perlayer/corekit/TIDatabase.h"
#include "perlayer/corekit/TIUpdateSQL.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {

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

bool IsIn(const std::vector<int>& positions, int position) {
  return std::find(positions.begin(), positions.end(), position) != positions.end();
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

std::string TIParam::AsString() const {
  return IsNull() ? std::string() : FKind == TKind::number ? FloatToStr(FNumber) : FText;
}

void TIQuery::Destroy() {
  ReleaseStatement();
  FreeAndNil(FLines);
  TDataSet::Destroy();
}

const TStatementTextPtr& TIQuery::Statement() const {
  if (FLinesNewer || FStatement == nullptr) {
    FStatement = TStatementText::Of(FLines == nullptr ? std::string() : FLines->Text());
    FLinesNewer = false;
  }
  return FStatement;
}

TStringList* TIQuery::SQL() {
  if (FLines == nullptr) {
    TOwned<TStringList> lines = Make<TStringList>();
    if (FStatement != nullptr) lines->Text(FStatement->Text());
    lines->OnChange(TNotifyEvent::Bind<&TIQuery::LinesChanged>(this));
    FLines = lines.Release();
  }
  return FLines;
}

void TIQuery::SQLText(std::string_view text) {
  // By way of the lines, so that the text has one form whichever way it was set.
  SQL()->Text(text);
}

void TIQuery::AssignStatement(const TStatementTextPtr& statement) {
  if (FLines != nullptr) {
    FLines->Text(statement->Text());
  } else {
    ReleaseStatement();
    FStatement = statement;
  }
}

void TIQuery::AssignSQL(const TIQuery& source) {
  AssignStatement(source.Statement());
  DatabaseName(source.FDatabaseName);
}

void TIQuery::LinesChanged(TObject*) {
  FLinesNewer = true;
  ReleaseStatement();
}

void TIQuery::DatabaseName(std::string_view name) {
  if (FDatabaseName == name) return;
  ReleaseStatement();
  FDatabaseName = name;
}

// Parameters of a new text keep the values that those of the same name had.
void TIQuery::SyncParameters() const {
  const TStatementTextPtr& statement = Statement();
  if (FParamsOf == statement) return;
  const std::vector<std::string>& names = statement->Parameters();
  std::vector<TIParam> params;
  params.reserve(names.size());
  for (const std::string& name : names) {
    params.emplace_back(name);
    for (TIParam& old : FParams) {
      if (!SameText(old.FName, name)) continue;
      params.back() = std::move(old);
      params.back().FName = name;
      break;
    }
  }
  FParams = std::move(params);
  FParamsOf = statement;
}

int TIQuery::ParamCount() const {
  SyncParameters();
  return static_cast<int>(FParams.size());
}

TIParam& TIQuery::Params(int index) {
  if (index < 0 || index >= ParamCount()) {
    throw EListError(Format("Parameter index out of bounds (%d)", index));
  }
  return FParams[static_cast<std::size_t>(index)];
}

TIParam* TIQuery::FindParam(std::string_view name) {
  SyncParameters();
  for (TIParam& param : FParams) {
    if (SameText(param.FName, name)) return &param;
  }
  return nullptr;
}

TIParam& TIQuery::ParamByName(std::string_view name) {
  if (TIParam* param = FindParam(name)) return *param;
  throw EDatabaseError(TDatabaseErrorKind::other, 0, Format("Parameter '%s' not found", name),
                       SQLText());
}

TIUpdateSQL* TIQuery::UpdateObject() const { return FUpdateObject.GetAs<TIUpdateSQL>(); }
void TIQuery::UpdateObject(TIUpdateSQL* object) { FUpdateObject = object; }

void TIQuery::Prepare() {
  if (FPrepared != nullptr) return;
  TIDatabase* database = FindDatabase(FDatabaseName);
  if (database == nullptr) {
    throw EDatabaseError(TDatabaseErrorKind::other, 0,
                         Format("There is no database named '%s'", FDatabaseName), SQLText());
  }
  database->QueryPrepared(this);
  try {
    FPrepared = database->Session().Take(Statement());
  } catch (...) {
    database->QueryUnprepared(this);
    throw;
  }
  FDatabase = database;
}

void TIQuery::ReleaseStatement() noexcept {
  if (FPrepared == nullptr) return;
  Close();
  FDatabase->Session().GiveBack(FPrepared);
  FDatabase->QueryUnprepared(this);
  FPrepared = nullptr;
  FDatabase = nullptr;
  FLayout.reset();
}

// A run reads the bound memory until its end. One that lasts longer than this call gets copies, so
// that its parameters can be given new values meanwhile.
void TIQuery::BindParameters(bool copy) {
  SyncParameters();
  if (copy && FBoundTexts.size() < FParams.size()) FBoundTexts.resize(FParams.size());
  const auto textOf = [&](std::size_t i) -> const std::string& {
    return copy ? FBoundTexts[i] = FParams[i].Text() : FParams[i].Text();
  };
  for (std::size_t i = 0; i < FParams.size(); ++i) {
    const TIParam& param = FParams[i];
    const int position = static_cast<int>(i);
    switch (param.Kind()) {
      case TIParam::TKind::unbound:
        if (IsIn(FPrepared->Returns(), position)) {
          FPrepared->BindNull(position);
          break;
        }
        throw EDatabaseError(TDatabaseErrorKind::other, 0,
                             Format("Parameter '%s' has no value", param.Name()), SQLText());
      case TIParam::TKind::null:
        FPrepared->BindNull(position);
        break;
      case TIParam::TKind::text:
        FPrepared->BindText(position, textOf(i));
        break;
      case TIParam::TKind::number:
        FPrepared->BindNumber(position, param.Number());
        break;
      case TIParam::TKind::blob:
        FPrepared->BindBlob(position, std::as_bytes(std::span(textOf(i))));
        break;
    }
  }
}

void TIQuery::TakeReturned() {
  for (const int position : FPrepared->Returns()) {
    TIParam& param = FParams[static_cast<std::size_t>(position)];
    TCell cell;
    FPrepared->Returned(position, cell);
    switch (cell.kind) {
      case TCellKind::null:
        param.Clear();
        break;
      case TCellKind::text:
        param.AsString(cell.text);
        break;
      case TCellKind::integer:
        param.AsFloat(static_cast<double>(cell.integer));
        break;
      case TCellKind::number:
        param.AsFloat(cell.number);
        break;
      case TCellKind::blob:
        param.AsBlob(cell.text);
        break;
    }
  }
}

void TIQuery::InternalOpen() {
  Prepare();
  BindParameters(true);
  FColumns.clear();
}

void TIQuery::InternalClose() {
  FOnRow = false;
  if (FPrepared != nullptr) FPrepared->Reset();
}

bool TIQuery::InternalNext() {
  FOnRow = false;
  FOnRow = FPrepared->Step();
  if (FLayout == nullptr) FLayout = FPrepared->Layout();
  return FOnRow;
}

std::int64_t TIQuery::ExecSQL() {
  Close();
  Prepare();
  BindParameters(false);
  return TryFinally(
      [&] {
        while (FPrepared->Step()) {
        }
        TakeReturned();
        return FPrepared->RowsAffected();
      },
      [&] { FPrepared->Reset(); });
}

void TIQuery::InternalCreateFields() {
  for (const TColumnInfo& column : FLayout->columns) {
    // Two columns may have one name; the later ones are numbered, as no field can share a name.
    std::string name = column.name;
    for (int number = 1; FindField(name) != nullptr; ++number) {
      name = column.name + "_" + IntToStr(number);
    }
    NewField(this, FieldTypeOf(column.type), name, column.size);
  }
}

void TIQuery::RowCell(int column, TCell& cell) const {
  CheckActive();
  if (!FOnRow) {
    cell = TCell();
    return;
  }
  FPrepared->Cell(column, cell);
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
  const int column = ColumnOf(field);
  if (!FOnRow) return false;
  TCell cell;
  FPrepared->Cell(column, cell);
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
      const double number = NumberOf(cell, *field);
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

std::string TIQuery::GetBlobData(TField* field) {
  CheckActive();
  TCell cell;
  RowCell(ColumnOf(field), cell);
  return cell.AsText();
}

}  // namespace perlayer
