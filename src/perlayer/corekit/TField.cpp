#include "perlayer/corekit/TField.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "perlayer/corekit/EDatabaseError.h"
#include "perlayer/corekit/TDataSet.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

namespace {
[[noreturn]] void Raise(const std::string& message) {
  throw EDatabaseError(TDatabaseErrorKind::other, 0, message, "");
}

constexpr int kSizeOfUnsizedText = 4000;

// What `convert` answers for the text; the field's name stands before what it raises.
template <class TConvert>
auto Converted(const TField& field, std::string_view text, TConvert convert) {
  try {
    return convert(text);
  } catch (const EConvertError& e) {
    throw EConvertError(Format("Field %s: %s", field.FieldName(), e.what()));
  }
}
double ToFloat(std::string_view text) { return StrToFloat(text); }
TDateTime ToDateTime(std::string_view text) { return StrToDateTime(text); }
}  // namespace

void TField::Create(TDataSet* ADataSet, std::string_view AFieldName, int ASize) {
  FFieldName = AFieldName;
  FSize = ASize;
  ADataSet->AddField(this);
  FDataSet = ADataSet;
}

void TField::Destroy() {
  if (FDataSet != nullptr) FDataSet->RemoveField(this);
  FDataSet = nullptr;
  TComponent::Destroy();
}

void TField::Calculated(bool calculated) {
  if (FDataSet != nullptr && FDataSet->Active()) {
    Raise(Format("Field %s belongs to an open data set: it stays as it is", FFieldName));
  }
  if (calculated && IsBlob()) {
    Raise(Format("Field %s cannot be calculated: its value is not in the row", FFieldName));
  }
  FCalculated = calculated;
  if (FDataSet != nullptr) FDataSet->NumberFields();
}

void TField::Visible(bool visible) {
  FVisible = visible;
  if (FDataSet != nullptr) FDataSet->FieldPropertyChanged();
}

void TField::ValidString(std::string_view text) {
  FValidString = text;
  if (FDataSet != nullptr) ++FDataSet->FFieldChanges;
}

void TField::DisplayLabel(std::string_view label) {
  FDisplayLabel = label;
  if (FDataSet != nullptr) FDataSet->FieldPropertyChanged();
}

bool TField::CanModify() const {
  return !FReadOnly && !FCalculated && FDataSet != nullptr && FDataSet->CanModify();
}

void TField::FocusControl() {
  if (FDataSet != nullptr) FDataSet->DataEvent(TDataEvent::deFocusControl, {this, 0});
}

bool TField::IsBlob() const {
  return DataType() == TFieldType::ftMemo || DataType() == TFieldType::ftBlob;
}

bool TField::GetData(void* buffer) const {
  if (FDataSet == nullptr) Raise(Format("Field %s belongs to no data set", FFieldName));
  if (!FValidating) return FDataSet->GetFieldData(const_cast<TField*>(this), buffer);
  if (FPending == nullptr || buffer == nullptr) return FPending != nullptr;
  // A text may end before the field does.
  const std::size_t size = DataType() == TFieldType::ftString
                               ? std::strlen(static_cast<const char*>(FPending)) + 1
                               : static_cast<std::size_t>(DataSize());
  std::memcpy(buffer, FPending, size);
  return true;
}

void TField::CheckWritable() const {
  if (FDataSet == nullptr) Raise(Format("Field %s belongs to no data set", FFieldName));
  FDataSet->CheckFieldWritable(*this);
}

template <class TStore>
void TField::Write(const void* pending, TStore store) {
  CheckWritable();
  if (FDataSet->State() == TDataSetState::dsCalcFields) return store();
  const TAlive alive(this);
  // What validates may itself write this field: then the outer value is being validated again.
  const void* const outerPending = std::exchange(FPending, pending);
  const bool outerValidating = std::exchange(FValidating, true);
  TryFinally(
      [&] {
        FDataSet->ValidateField(this);
        if (!alive) return;
        FValidating = false;
        Store(store);
      },
      [&] {
        if (!alive) return;
        FPending = outerPending;
        FValidating = outerValidating;
      });
}

template <class TStore>
void TField::Store(TStore store) {
  const TAlive alive(this);
  CheckWritable();  // what validated may have ended the editing
  // Whatever was looked at meanwhile, the row that is edited is the active one.
  FDataSet->UpdateCursorPos();
  // What the row itself asks for meanwhile, a refresh say, waits until the value is stored.
  TDataSet* const dataSet = FDataSet;
  const TAlive dataSetAlive(dataSet);
  const bool outer = std::exchange(dataSet->FOperating, true);
  TryFinally(store, [&] {
    if (dataSetAlive) dataSet->FOperating = outer;
  });
  if (alive && FDataSet->Active()) FDataSet->DataEvent(TDataEvent::deFieldChange, {this, 0});
}

void TField::SetData(const void* buffer) {
  Write(buffer, [&] { FDataSet->SetFieldData(this, buffer); });
}

void TField::RaiseAccess(const char* type) const {
  throw EConvertError(
      Format("Cannot access field %s of class %s as type %s", FFieldName, ClassName(), type));
}

bool TField::IsNull() const { return !GetData(nullptr); }
std::string TField::AsString() const { RaiseAccess("String"); }
double TField::AsFloat() const { RaiseAccess("Float"); }
std::int64_t TField::AsInteger() const {
  const double value = std::round(AsFloat());
  if (!(std::fabs(value) < 9.2e18)) RaiseAccess("Integer");
  return static_cast<std::int64_t>(value);
}
TDateTime TField::AsDateTime() const { RaiseAccess("DateTime"); }
Variant TField::AsVariant() const { RaiseAccess("Variant"); }
void TField::AsString(std::string_view) { RaiseAccess("String"); }
void TField::AsFloat(double) { RaiseAccess("Float"); }
void TField::AsDateTime(TDateTime) { RaiseAccess("DateTime"); }
void TField::Clear() { SetData(nullptr); }

void TField::EditText(std::string_view text) {
  FEditText = text;
  FEditing = true;
}

std::string TStringField::AsString() const {
  std::string buffer(static_cast<std::size_t>(DataSize()), '\0');
  if (!GetData(buffer.data())) return {};
  buffer.resize(std::strlen(buffer.c_str()));
  return buffer;
}

double TStringField::AsFloat() const {
  const std::string text = AsString();
  return text.empty() ? 0.0 : Converted(*this, text, ToFloat);
}
std::int64_t TStringField::AsInteger() const {
  const std::string text = AsString();
  return text.empty() ? 0 : Converted(*this, text, StrToInt);
}
TDateTime TStringField::AsDateTime() const {
  const std::string text = AsString();
  return text.empty() ? 0.0 : Converted(*this, text, ToDateTime);
}
Variant TStringField::AsVariant() const { return IsNull() ? Variant::Null() : Variant(AsString()); }

void TStringField::AsString(std::string_view text) {
  // An empty text is no value.
  if (text.empty()) return SetData(nullptr);
  const std::string_view cut = CutToBytes(text, static_cast<std::size_t>(DataSize()) - 1);
  SetData(std::string(cut).c_str());
}

std::string TIntegerField::AsString() const { return IsNull() ? "" : IntToStr(AsInteger()); }
double TIntegerField::AsFloat() const { return static_cast<double>(AsInteger()); }
std::int64_t TIntegerField::AsInteger() const {
  std::int32_t value = 0;
  return GetData(&value) ? value : 0;
}
Variant TIntegerField::AsVariant() const {
  return IsNull() ? Variant::Null() : Variant(AsInteger());
}
void TIntegerField::AsString(std::string_view text) {
  if (Empty(text)) return SetData(nullptr);
  AsFloat(static_cast<double>(Converted(*this, text, StrToInt)));
}
void TIntegerField::AsFloat(double value) {
  const double rounded = std::round(value);
  if (!(rounded >= std::numeric_limits<std::int32_t>::min() &&
        rounded <= std::numeric_limits<std::int32_t>::max())) {
    throw EConvertError(
        Format("%s is no value for the integer field %s", FloatToStr(value), FieldName()));
  }
  const auto number = static_cast<std::int32_t>(rounded);
  SetData(&number);
}

std::string TFloatField::AsString() const {
  double value = 0;
  return GetData(&value) ? FloatToStr(value) : std::string();
}
double TFloatField::AsFloat() const {
  double value = 0;
  return GetData(&value) ? value : 0.0;
}
std::int64_t TFloatField::AsInteger() const { return TField::AsInteger(); }
Variant TFloatField::AsVariant() const { return IsNull() ? Variant::Null() : Variant(AsFloat()); }
void TFloatField::AsString(std::string_view text) {
  if (Empty(text)) return SetData(nullptr);
  AsFloat(Converted(*this, text, ToFloat));
}
void TFloatField::AsFloat(double value) { SetData(&value); }

std::string TDateTimeField::AsString() const { return IsNull() ? "" : DateTimeToStr(AsDateTime()); }
TDateTime TDateTimeField::AsDateTime() const {
  double milliseconds = 0;
  return GetData(&milliseconds) ? milliseconds / kMillisecondsPerDay - kDayZero : 0.0;
}
Variant TDateTimeField::AsVariant() const {
  return IsNull() ? Variant::Null() : Variant::Date(AsDateTime());
}
void TDateTimeField::AsString(std::string_view text) {
  if (Empty(text)) return SetData(nullptr);
  AsDateTime(Converted(*this, text, ToDateTime));
}
void TDateTimeField::AsDateTime(TDateTime value) {
  const double milliseconds = (value + kDayZero) * kMillisecondsPerDay;
  SetData(&milliseconds);
}

std::string TBlobField::AsString() const {
  const void* pending = nullptr;
  if (Pending(pending)) {
    return pending == nullptr ? "" : std::string(*static_cast<const std::string_view*>(pending));
  }
  return DataSet()->GetBlobData(const_cast<TBlobField*>(this));
}
Variant TBlobField::AsVariant() const { return IsNull() ? Variant::Null() : Variant(AsString()); }
void TBlobField::AsString(std::string_view text) {
  Write(&text, [&] { DataSet()->SetBlobData(this, text); });
}

TField* NewField(TDataSet* dataSet, TFieldType type, std::string_view name, int size) {
  switch (type) {
    case TFieldType::ftString:
      return New<TStringField>(dataSet, name, size > 0 ? size : kSizeOfUnsizedText);
    case TFieldType::ftInteger:
      return New<TIntegerField>(dataSet, name, 0);
    case TFieldType::ftFloat:
      return New<TFloatField>(dataSet, name, 0);
    case TFieldType::ftDateTime:
      return New<TDateTimeField>(dataSet, name, 0);
    case TFieldType::ftMemo:
      return New<TMemoField>(dataSet, name, 0);
    case TFieldType::ftBlob:
      return New<TBlobField>(dataSet, name, 0);
    case TFieldType::ftUnknown:
      break;
  }
  Raise(Format("Field %s has an unknown type", name));
}

}  // namespace perlayer
