#pragma once
// TField: one column of a data set, with its type, its labels and the value of the current row. The
// value is never kept here: it is read and written only through the data set's GetFieldData and
// SetFieldData.
//
// In a data set's buffer a field's value takes DataSize() bytes:
//   text        UTF-8, closed by a zero byte, cut to the size without splitting a character
//   integer     std::int32_t
//   float       double
//   date-time   double: milliseconds since the day before 1 January 1, (days + 693594) * 8.64e7
//   memo, blob  not in the buffer; see TDataSet::GetBlobData
//
// Writing needs the data set in edit or insert state. The value is shown to OnValidate first, which
// reads it from the field and may raise; then it is stored, and OnChange is told.
//
// A field is owned by its data set. Main thread only.

#include <cstdint>
#include <string>
#include <string_view>

#include "perlayer/corekit/TComponent.h"
#include "perlayer/platform/TDateTime.h"
#include "perlayer/platform/TDelegate.h"
#include "perlayer/platform/Variant.h"

namespace perlayer {

class TDataSet;

enum class TFieldType : std::uint8_t {
  ftUnknown = 0,
  ftString = 1,
  ftInteger = 3,
  ftFloat = 6,
  ftDateTime = 11,
  ftBlob = 15,
  ftMemo = 16
};

class TField : public TComponent {
  TCLASS(TField, TComponent)
 public:
  using TComponent::Create;
  // Raises EDatabaseError when the data set has a field of that name.
  void Create(TDataSet* ADataSet, std::string_view AFieldName, int ASize);
  void Destroy() override;

  TDataSet* DataSet() const { return FDataSet; }
  const std::string& FieldName() const { return FFieldName; }
  virtual TFieldType DataType() const { return TFieldType::ftUnknown; }
  int Size() const { return FSize; }  // characters of a text, 0 otherwise
  virtual int DataSize() const { return 0; }
  int Index() const { return FIndex; }      // position in the data set
  int FieldNo() const { return FFieldNo; }  // from 1 for stored columns, 0 for calculated ones
  int Offset() const { return FOffset; }    // of a calculated field, within those
  bool IsBlob() const;

  bool Calculated() const { return FCalculated; }
  // Raises EDatabaseError while the data set is open, and for a memo or blob.
  void Calculated(bool calculated);
  bool ReadOnly() const { return FReadOnly; }
  void ReadOnly(bool readOnly) { FReadOnly = readOnly; }
  bool CanModify() const;  // neither the field nor its data set is read-only
  // Raises EDatabaseError, saying why, when the field cannot be written now.
  void CheckWritable() const;
  bool Visible() const { return FVisible; }
  void Visible(bool visible);
  bool Required() const { return FRequired; }
  void Required(bool required) { FRequired = required; }
  // The field's name until a label is set.
  const std::string& DisplayLabel() const {
    return FDisplayLabel.empty() ? FFieldName : FDisplayLabel;
  }
  void DisplayLabel(std::string_view label);
  // Eight TAB-separated positions; see TIValidInfo.h.
  const std::string& ValidString() const { return FValidString; }
  void ValidString(std::string_view text);

  // The current row's value. A null is the empty text, 0 and the date 0; conversions that fail
  // raise EConvertError with the field's name.
  bool IsNull() const;
  virtual std::string AsString() const;
  virtual double AsFloat() const;
  virtual std::int64_t AsInteger() const;
  virtual TDateTime AsDateTime() const;
  virtual Variant AsVariant() const;  // Null for a null

  // Writing raises EDatabaseError when the field or its data set is read-only.
  virtual void AsString(std::string_view text);
  virtual void AsFloat(double value);
  virtual void AsDateTime(TDateTime value);
  void Clear();  // writes null

  const TNotifyEvent& OnValidate() const { return FOnValidate; }
  void OnValidate(TNotifyEvent event) { FOnValidate = std::move(event); }
  const TNotifyEvent& OnChange() const { return FOnChange; }
  void OnChange(TNotifyEvent event) { FOnChange = std::move(event); }
  // Asks whoever shows the field to lead the user to it.
  void FocusControl();

  // The text a user edits: that being typed while an editor has set one, else AsString().
  std::string EditText() const { return FEditing ? FEditText : AsString(); }
  void EditText(std::string_view text);
  void EndEdit() { FEditing = false; }

 protected:
  [[noreturn]] void RaiseAccess(const char* type) const;
  bool GetData(void* buffer) const;
  void SetData(const void* buffer);
  // Validates, runs `store`, tells the change. `pending` is the value, as SetData takes it; of a
  // blob it is a std::string_view.
  template <class TStore>
  void Write(const void* pending, TStore store);
  // The value being validated: true while there is one.
  bool Pending(const void*& value) const {
    value = FPending;
    return FValidating;
  }

 private:
  friend class TDataSet;
  template <class TStore>
  void Store(TStore store);
  void Change() {
    if (FOnChange) FOnChange(this);
  }

  TDataSet* FDataSet = nullptr;  // owns this field
  TNotifyEvent FOnValidate;
  TNotifyEvent FOnChange;
  const void* FPending = nullptr;
  std::string FFieldName;
  std::string FDisplayLabel;
  std::string FValidString;
  std::string FEditText;
  int FSize = 0;
  int FIndex = -1;
  int FFieldNo = 0;
  int FOffset = 0;
  bool FCalculated = false;
  bool FReadOnly = false;
  bool FVisible = true;
  bool FRequired = false;
  bool FEditing = false;
  bool FValidating = false;
};

class TStringField : public TField {
  TCLASS(TStringField, TField)
 public:
  TFieldType DataType() const override { return TFieldType::ftString; }
  int DataSize() const override { return 4 * Size() + 1; }  // a character takes up to four bytes
  using TField::AsDateTime;
  using TField::AsFloat;
  std::string AsString() const override;
  double AsFloat() const override;
  std::int64_t AsInteger() const override;
  TDateTime AsDateTime() const override;
  Variant AsVariant() const override;
  void AsString(std::string_view text) override;
};

class TIntegerField : public TField {
  TCLASS(TIntegerField, TField)
 public:
  TFieldType DataType() const override { return TFieldType::ftInteger; }
  int DataSize() const override { return sizeof(std::int32_t); }
  using TField::AsDateTime;
  std::string AsString() const override;
  double AsFloat() const override;
  std::int64_t AsInteger() const override;
  Variant AsVariant() const override;
  void AsString(std::string_view text) override;
  void AsFloat(double value) override;
};

class TFloatField : public TField {
  TCLASS(TFloatField, TField)
 public:
  TFieldType DataType() const override { return TFieldType::ftFloat; }
  int DataSize() const override { return sizeof(double); }
  std::string AsString() const override;
  double AsFloat() const override;
  std::int64_t AsInteger() const override;
  TDateTime AsDateTime() const override { return AsFloat(); }
  Variant AsVariant() const override;
  void AsString(std::string_view text) override;
  void AsFloat(double value) override;
  void AsDateTime(TDateTime value) override { AsFloat(value); }
};

class TDateTimeField : public TField {
  TCLASS(TDateTimeField, TField)
 public:
  static constexpr double kDayZero = 693594.0;  // days from the buffer's origin to 30.12.1899

  TFieldType DataType() const override { return TFieldType::ftDateTime; }
  int DataSize() const override { return sizeof(double); }
  // Short date format; behind it the long time unless that is zero.
  std::string AsString() const override;
  double AsFloat() const override { return AsDateTime(); }
  TDateTime AsDateTime() const override;
  Variant AsVariant() const override;
  void AsString(std::string_view text) override;
  void AsFloat(double value) override { AsDateTime(value); }
  void AsDateTime(TDateTime value) override;
};

class TBlobField : public TField {
  TCLASS(TBlobField, TField)
 public:
  TFieldType DataType() const override { return TFieldType::ftBlob; }
  std::string AsString() const override;  // the bytes as they are
  Variant AsVariant() const override;
  void AsString(std::string_view text) override;
  using TField::AsDateTime;
  using TField::AsFloat;
};

class TMemoField : public TBlobField {
  TCLASS(TMemoField, TBlobField)
 public:
  TFieldType DataType() const override { return TFieldType::ftMemo; }
};

// Makes a field of the class that belongs to the type.
TField* NewField(TDataSet* dataSet, TFieldType type, std::string_view name, int size);

}  // namespace perlayer
