#include "perlayer/corekit/TDataSet.h"

#include <algorithm>

#include "perlayer/corekit/EDatabaseError.h"
#include "perlayer/corekit/TField.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

void TDataSet::Destroy() {
  Close();
  while (!FFields.empty()) FFields.back()->Free();
  TComponent::Destroy();
}

void TDataSet::Open() {
  if (FActive) return;
  const TAlive alive(this);
  if (FBeforeOpen) FBeforeOpen(this);
  if (!alive || FActive) return;
  InternalOpen();
  FActive = true;
  FMoved = false;
  try {
    FEmpty = FEof = !InternalNext();
  } catch (...) {
    Close();
    throw;
  }
  if (FAfterOpen) FAfterOpen(this);
}

void TDataSet::Close() {
  if (!FActive) return;
  FActive = false;
  FEmpty = FEof = true;
  InternalClose();
  ClearDefaultFields();
}

bool TDataSet::Eof() const {
  CheckActive();
  return FEof;
}

bool TDataSet::IsEmpty() const {
  CheckActive();
  return FEmpty;
}

void TDataSet::First() {
  CheckActive();
  if (!FMoved) return;
  FEmpty = FEof = true;
  InternalFirst();
  FEmpty = FEof = !InternalNext();
  FMoved = false;
}

void TDataSet::Next() {
  CheckActive();
  if (FEof) return;
  FMoved = true;
  FEof = true;  // and it stays so when the move fails
  FEof = !InternalNext();
}

int TDataSet::FieldCount() const {
  NeedFields();
  return static_cast<int>(FFields.size());
}

TField* TDataSet::Fields(int index) const {
  if (index < 0 || index >= FieldCount()) {
    throw EListError(Format("Field index out of bounds (%d)", index));
  }
  return FFields[static_cast<std::size_t>(index)];
}

TField* TDataSet::FindField(std::string_view name) const {
  NeedFields();
  const auto found = std::find_if(FFields.begin(), FFields.end(), [&](const TField* field) {
    return SameText(field->FieldName(), name);
  });
  return found == FFields.end() ? nullptr : *found;
}

TField* TDataSet::FieldByName(std::string_view name) const {
  if (TField* field = FindField(name)) return field;
  RaiseError(Format("%s: Field '%s' not found", Name().empty() ? ClassName() : Name(), name));
}

void TDataSet::SetFieldData(TField* field, const void*) {
  RaiseError(Format("Field %s belongs to a data set that cannot be written", field->FieldName()));
}

std::string TDataSet::GetBlobData(TField* field) {
  RaiseError(Format("Field %s holds no large object", field->FieldName()));
}

void TDataSet::SetBlobData(TField* field, std::string_view) { SetFieldData(field, nullptr); }

const std::shared_ptr<const TColumnLayout>& TDataSet::RowLayout() const {
  static const std::shared_ptr<const TColumnLayout> kNone;
  return kNone;
}

void TDataSet::RowCell(int, TCell&) const { RaiseError("This data set has no cells"); }

void TDataSet::InternalFirst() {
  InternalClose();
  InternalOpen();
}

void TDataSet::CheckActive() const {
  if (!FActive) {
    RaiseError(Format("Cannot perform this operation on a closed data set%s",
                      Name().empty() ? "" : " (" + Name() + ")"));
  }
}

void TDataSet::RaiseError(const std::string& message) {
  throw EDatabaseError(TDatabaseErrorKind::other, 0, message, "");
}

void TDataSet::AddField(TField* field) {
  for (const TField* other : FFields) {
    if (SameText(other->FieldName(), field->FieldName())) {
      RaiseError(Format("Duplicate field name '%s'", field->FieldName()));
    }
  }
  if (FActive && !FMakingFields) RaiseError("Fields cannot be added to an open data set");
  FFields.push_back(field);
  NumberFields();
}

void TDataSet::RemoveField(TField* field) {
  FFields.erase(std::find(FFields.begin(), FFields.end(), field));
  NumberFields();
}

void TDataSet::NumberFields() {
  int number = 0;
  for (std::size_t i = 0; i < FFields.size(); ++i) {
    FFields[i]->FIndex = static_cast<int>(i);
    FFields[i]->FFieldNo = FFields[i]->Calculated() ? 0 : ++number;
  }
  InternalFieldsChanged();
}

// Asking for fields is const for the caller: they are a view of columns that exist already.
void TDataSet::NeedFields() const {
  if (!FActive || !FFields.empty() || FDefaultFields) return;
  auto* self = const_cast<TDataSet*>(this);
  self->FDefaultFields = true;
  self->FMakingFields = true;
  TryFinally([&] { self->InternalCreateFields(); }, [&] { self->FMakingFields = false; });
}

void TDataSet::ClearDefaultFields() {
  if (!FDefaultFields) return;
  while (!FFields.empty()) FFields.back()->Free();
  FDefaultFields = false;
}

}  // namespace perlayer
