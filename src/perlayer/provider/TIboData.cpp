#include "perlayer/provider/TIboData.h"

#include <algorithm>

#include "perlayer/corekit/TDataSet.h"
#include "perlayer/corekit/TDriver.h"
#include "perlayer/corekit/TField.h"
#include "perlayer/object/TplPerObject.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TFormatSettings.h"
#include "perlayer/provider/TPlClassMetaData.h"
#include "perlayer/provider/TplProvider.h"

namespace perlayer {

namespace {

constexpr std::string_view kStoredDateTime = "DD.MM.YYYY HH:MM:SS";

std::string StoredDate(TDateTime value) {
  const TFormatSettings& settings = FrozenFormatSettings();
  if (value != 0 && TimePart(value) != 0) return FormatDateTime(kStoredDateTime, value, settings);
  return DateTimeToStr(value, settings);
}

void WriteNumber(TRowWriter& writer, double value) {
  const TFormatSettings& settings = FrozenFormatSettings();
  if (settings.DecimalSeparator == '.') return writer.WriteNumber(value);
  writer.Write(FloatToStr(value, settings));
}

void WriteCell(TRowWriter& writer, const TCell& cell, bool isDate) {
  switch (cell.kind) {
    case TCellKind::null:
      break;
    case TCellKind::text:
    case TCellKind::blob:
      writer.Write(cell.text);
      break;
    case TCellKind::integer:
      if (isDate) {
        writer.Write(StoredDate(static_cast<double>(cell.integer)));
      } else {
        writer.WriteInteger(cell.integer);
      }
      break;
    case TCellKind::number:
      if (isDate) {
        writer.Write(StoredDate(cell.number));
      } else {
        WriteNumber(writer, cell.number);
      }
      break;
  }
}

// The value of a field as the store keeps it, for data sets that have no cells.
std::string FieldText(const TField* field) {
  if (field->IsNull()) return {};
  if (field->DataType() == TFieldType::ftDateTime) return StoredDate(field->AsDateTime());
  if (field->DataType() == TFieldType::ftFloat) {
    return FloatToStr(field->AsFloat(), FrozenFormatSettings());
  }
  return field->AsString();
}

}  // namespace

void TIboData::Create(TplPerObject* AOwner, TObject*) {
  FOwner = AOwner;
  FProvider = AOwner->aiProvider();
  FModified = false;
  FDisableOptimizingUpdateQueries = false;
}

void TIboData::Assign(const TIboData& Old) {
  TValueRow values = Old.FValues;  // both copies before anything changes
  FOldValues = Old.FOldValues;
  FValues = std::move(values);
  FOwner = Old.FOwner;
  FProvider = Old.FProvider;
  FModified = Old.FModified;
}

void TIboData::InitData() {
  const int count = FProvider->GetMetaData()->GetAttrNames()->Count();
  if (count > FValues.Count()) FValues.AppendEmpty(count - FValues.Count() + 1);
}

void TIboData::InitFromDataSet(TDataSet* ds) {
  const int attributes = FProvider->GetMetaData()->GetAttrNames()->Count();
  TRowWriter writer;
  if (const auto& layout = ds->RowLayout(); layout != nullptr) {
    const TRowBinding& binding = FProvider->BindRow(layout);
    TCell cell;
    for (int i = 0; i < attributes; ++i) {
      const TRowBinding::TColumn column = binding.columns[static_cast<std::size_t>(i)];
      ds->RowCell(column.index, cell);
      WriteCell(writer, cell, column.isDate);
      writer.EndValue();
    }
  } else {
    const TStringList* names = FProvider->GetMetaData()->GetAttrNames();
    for (int i = 0; i < attributes; ++i) {
      writer.WriteValue(FieldText(ds->FieldByName(names->Strings(i))));
    }
  }
  // A store that was longer keeps its length; a fresh one gets its spare entry.
  FValues = writer.Finish(std::max(FValues.Count(), attributes + 1));
}

TValueRow TIboData::Arranged(const TValueRow& row, TplProvider* provider) const {
  if (row.Count() == 0) return {};
  const TStringList* names = provider->GetMetaData()->GetAttrNames();
  TRowWriter writer;
  for (int i = 0; i < names->Count(); ++i) {
    std::string name = names->Strings(i);
    if (provider->IsIDAttr(name)) name = FProvider->GetIDAttrName();
    const int index = FProvider->GetMetaData()->GetAttrIndex(name);
    writer.WriteValue(index < 0 || index >= row.Count() ? std::string_view() : row.At(index));
  }
  return writer.Finish(names->Count() + 1);
}

void TIboData::SetProvider(TplProvider* AProvider) {
  TValueRow values = Arranged(FValues, AProvider);
  FOldValues = Arranged(FOldValues, AProvider);
  FValues = std::move(values);
  FProvider = AProvider;
}

void TIboData::ClearValues() {
  const int count = FValues.Count();
  TValueRow empty;
  if (count > 0) empty.AppendEmpty(count);
  FValues = std::move(empty);
}

void TIboData::CommitValues() {
  FOldValues = TValueRow();  // kept again by the next write, or when somebody asks
  FModified = false;
}

void TIboData::CancelData() {
  if (FOldValues.Count() == 0) return;
  TValueRow values = FOldValues;
  if (FValues.Count() > 0) values.Set(0, FValues.At(0));
  FValues = std::move(values);
}

int TIboData::GetAttrIndex(std::string_view sAttr) const {
  const int index = FProvider->GetMetaData()->GetAttrIndex(sAttr);
  if (index < 0) {
    throw Exception(Format("Attribute not defined %s [%s]", sAttr, FProvider->ClassName()));
  }
  return index;
}

void TIboData::NeedOldValues() {
  if (FOldValues.Count() == 0) FOldValues = FValues;
}

void TIboData::RaiseIndex(int index) {
  throw EListError(Format("List index out of bounds (%d)", index));
}

void TIboData::SetAttrValue(std::string_view sAttr, std::string_view sValue) {
  SetAttrValueByIndex(GetAttrIndex(sAttr), sValue);
}

bool TIboData::SetAttrValueByIndex(int AIndex, std::string_view sValue) {
  CheckIndex(FValues, AIndex);
  const bool changed = FValues.At(AIndex) != sValue;
  if (FModified) {
    if (changed) FValues.Set(AIndex, sValue);
    return changed;
  }
  TValueRow written = FValues.With(AIndex, sValue);
  FOldValues = std::move(FValues);
  FValues = std::move(written);
  FModified = true;
  return changed;
}

std::string TIboData::GetAttrValue(std::string_view sAttr) const {
  return GetAttrValueByIndex(GetAttrIndex(sAttr));
}

std::string TIboData::GetAttrOldValue(std::string_view sAttr) const {
  return GetAttrOldValueByIndex(GetAttrIndex(sAttr));
}

void TIboData::SetAttrOldValueByIndex(int AIndex, std::string_view sValue) {
  NeedOldValues();
  CheckIndex(FOldValues, AIndex);
  FOldValues.Set(AIndex, sValue);
}

TIboData::TWrittenBoth TIboData::WithBoth(int AIndex, std::string_view sValue) const {
  CheckIndex(FValues, AIndex);
  const bool hasOld = FModified && FOldValues.Count() > 0;
  const TValueRow& old = hasOld ? FOldValues : FValues;
  CheckIndex(old, AIndex);
  TWrittenBoth written;
  if (!FValues.HasRoom(AIndex, sValue)) written.values = FValues.With(AIndex, sValue);
  if (!hasOld || !old.HasRoom(AIndex, sValue)) written.oldValues = old.With(AIndex, sValue);
  return written;
}

void TIboData::Take(TWrittenBoth&& AWritten, int AIndex, std::string_view sValue) {
  const auto take = [&](TValueRow& row, TValueRow& made) {
    if (made.Count() > 0) {
      row = std::move(made);
    } else if (row.Count() > 0) {
      row.Set(AIndex, sValue);
    }
  };
  take(FValues, AWritten.values);
  take(FOldValues, AWritten.oldValues);
  FModified = true;
}

bool TIboData::AttributeModified(std::string_view AAttribute) const {
  const int index = GetAttrIndex(AAttribute);
  CheckIndex(FValues, index);
  if (FOldValues.Count() == 0) return false;
  CheckIndex(FOldValues, index);
  return FValues.At(index) != FOldValues.At(index);
}

std::string TIboData::GetInsertStatement() const {
  const std::string& sql = FProvider->GetInsertStatement();
  if (FDisableOptimizingUpdateQueries) return sql;
  return FProvider->GetOptimizedInsertStatementForBo(sql, FOwner);
}

std::string TIboData::GetModifyStatement() const {
  const std::string& sql = FProvider->GetModifyStatement();
  if (FDisableOptimizingUpdateQueries) return sql;
  return FProvider->GetOptimizedModifyStatementForBo(sql, FOwner);
}

const std::string* TIboData::WholeStatement(bool AInsert) const {
  if (!FDisableOptimizingUpdateQueries) return nullptr;
  return AInsert ? &FProvider->GetInsertStatement() : &FProvider->GetModifyStatement();
}

std::string TIboData::GetDeleteStatement() const {
  return ConvertSQLStatement(FProvider->GetDeleteStatement());
}

}  // namespace perlayer
