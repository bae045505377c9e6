#include "perlayer/corekit/TDataSet.h"

#include <algorithm>
#include <cstring>

#include "perlayer/corekit/EDatabaseError.h"
#include "perlayer/corekit/TDataLink.h"
#include "perlayer/corekit/TField.h"
#include "perlayer/corekit/TIBlobStream.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TApplication.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

using enum TDataSetState;

void TDataSet::Destroy() {
  CloseForGood();
  while (!FLinks.empty()) {
    // Out of the list first: what it does on hearing this cannot reach the data set any more.
    TDataLink* const link = FLinks.back();
    FLinks.pop_back();
    if (link != nullptr) link->DataSetGone();
  }
  while (!FFields.empty()) FFields.back()->Free();
  TComponent::Destroy();
}

void TDataSet::Open() {
  if (Active()) return;
  const TAlive alive(this);
  Fire(TDataSetEvent::BeforeOpen);
  if (!alive || Active()) return;
  OpenCursor();
  DataEvent(TDataEvent::deUpdateState);
  if (alive && Active()) DoAfterOpen();
  if (alive && Active() && !IsEmpty()) DoAfterScroll();
}

void TDataSet::OpenCursor() {
  if (!FFields.empty()) NumberFields();  // those that went while it was open have left gaps
  try {
    InternalOpen();
    FState = dsBrowse;
    FModified = FMoved = false;
    FBof = FEof = true;
    FDirect = FLinks.empty() && !FFiltered && CanReadDirectly();
    if (FDirect) {
      FEmpty = FEof = !InternalNext();
    } else {
      InternalKeepRows(true);
      SetBufListSize(1);
      GetNextRecord();
      FBof = true;
      UpdateBufferCount();
    }
  } catch (...) {
    if (Active()) {
      CloseCursor();
    } else if (IsCursorOpen()) {
      InternalClose();
    }
    throw;
  }
}

void TDataSet::CloseCursor() {
  FState = dsInactive;
  FBof = FEof = FEmpty = true;
  FModified = FDirect = FRefreshAsked = false;
  ClearBuffers();
  TryFinally([&] { SetBufListSize(0); },
             [&] { TryFinally([&] { InternalClose(); }, [&] { DestroyFields(); }); });
}

void TDataSet::CloseForGood() {
  if (!Active()) return;
  if (InRow()) {
    RaiseError("A data set cannot be closed while one of its rows is filtered or calculated");
  }
  CloseCursor();
}

void TDataSet::Close() {
  if (!Active()) return;
  if (FEvents != nullptr && !FireBefore(TDataSetEvent::BeforeClose)) return;
  const TAlive alive(this);
  CloseForGood();
  DataEvent(TDataEvent::deUpdateState);
  if (alive && !Active()) Fire(TDataSetEvent::AfterClose);
}

bool TDataSet::Bof() const {
  CheckActive();
  return FBof;
}

bool TDataSet::Eof() const {
  CheckActive();
  return FEof;
}

bool TDataSet::IsEmpty() const {
  CheckActive();
  return FDirect ? FEmpty : FRing.Count() == 0;
}

// --- events ---

const TNotifyEvent& TDataSet::NotifyEvent(TDataSetEvent event) const {
  static const TNotifyEvent kNone;
  return FEvents == nullptr ? kNone : FEvents->notify[static_cast<std::size_t>(event)];
}

TDataSetEvents& TDataSet::NeedEvents() {
  if (FEvents == nullptr) FEvents = std::make_unique<TDataSetEvents>();
  return *FEvents;
}

void TDataSet::NotifyEvent(TDataSetEvent event, TNotifyEvent handler) {
  const bool calculates = event == TDataSetEvent::OnCalcFields && handler;
  NeedEvents().notify[static_cast<std::size_t>(event)] = std::move(handler);
  if (calculates && FCalcFieldsSize > 0) NeedBuffers();
}

void TDataSet::OnError(TDataSetOperation operation, TDataSetErrorEvent event) {
  NeedEvents().error[static_cast<std::size_t>(operation)] = std::move(event);
}

void TDataSet::Fire(TDataSetEvent event) {
  if (FEvents == nullptr) return;
  if (const TNotifyEvent& handler = NotifyEvent(event)) handler(this);
}

// False when the handler has changed the state, so that the operation is not what was asked for.
bool TDataSet::FireBefore(TDataSetEvent event) {
  const TAlive alive(this);
  const TDataSetState state = FState;
  Fire(event);
  return alive && FState == state;
}

void TDataSet::DoAfterOpen() { Fire(TDataSetEvent::AfterOpen); }
void TDataSet::DoBeforeScroll() { Fire(TDataSetEvent::BeforeScroll); }
void TDataSet::DoAfterScroll() { Fire(TDataSetEvent::AfterScroll); }

void TDataSet::SetState(TDataSetState state) {
  if (FState == state) return;
  FState = state;
  FModified = false;
  DataEvent(TDataEvent::deUpdateState);
}

void TDataSet::InternalHandleException() { Application()->HandleException(this); }

// --- filtering and calculating ---

const TFilterRecordEvent& TDataSet::OnFilterRecord() const {
  static const TFilterRecordEvent kNone;
  return FEvents == nullptr ? kNone : FEvents->filter;
}

void TDataSet::OnFilterRecord(TFilterRecordEvent event) {
  const TAlive alive(this);
  if (Active()) CheckBrowseMode();
  if (!alive) return;
  if (Active() && FFiltered) NeedBuffers();
  NeedEvents().filter = std::move(event);
  if (Active() && FFiltered) First();
}

void TDataSet::Filtered(bool filtered) {
  if (FFiltered == filtered) return;
  const TAlive alive(this);
  if (Active()) CheckBrowseMode();
  if (!alive) return;
  if (Active()) NeedBuffers();
  FFiltered = filtered;
  if (Active()) First();
}

namespace {
// A state of the data set, and a buffer that fields are to speak of, for the length of a scope.
template <class TRestoring>
class TScopeEnd {
 public:
  explicit TScopeEnd(TRestoring restore) : FRestore(restore) {}
  ~TScopeEnd() { FRestore(); }
  TScopeEnd(const TScopeEnd&) = delete;
  TScopeEnd& operator=(const TScopeEnd&) = delete;

 private:
  TRestoring FRestore;
};
}  // namespace

bool TDataSet::FilterRecord(TRecordBuffer buffer) {
  if (!FFiltered || !OnFilterRecord()) return true;
  const TRecordBuffer outer = std::exchange(FFilterBuffer, buffer);
  const TDataSetState state = SetTempState(dsFilter);
  const TScopeEnd restore([&] {
    FFilterBuffer = outer;
    RestoreState(state);
  });
  bool accept = true;
  OnFilterRecord()(this, accept);
  return accept;
}

void TDataSet::GetCalcFields(TRecordBuffer buffer) {
  if (FCalcFieldsSize == 0 || buffer == nullptr) return;
  ClearCalcFields(buffer);
  if (!OnCalcFields()) return;
  const TRecordBuffer outer = std::exchange(FCalcBuffer, buffer);
  const TDataSetState state = SetTempState(dsCalcFields);
  const TScopeEnd restore([&] {
    FCalcBuffer = outer;
    RestoreState(state);
  });
  try {
    Fire(TDataSetEvent::OnCalcFields);
  } catch (...) {
    InternalHandleException();
  }
}

bool TDataSet::ReadCalcField(const std::byte* area, const TField& field, void* buffer) {
  const std::byte* const cell = area + field.Offset();
  if (cell[0] == std::byte{0}) return false;
  if (buffer != nullptr) std::memcpy(buffer, cell + 1, static_cast<std::size_t>(field.DataSize()));
  return true;
}

void TDataSet::WriteCalcField(std::byte* area, const TField& field, const void* data) {
  std::byte* const cell = area + field.Offset();
  cell[0] = data == nullptr ? std::byte{0} : std::byte{1};
  if (data == nullptr) return;
  if (field.DataType() == TFieldType::ftString) {
    // The text may end before the field does.
    const auto* text = static_cast<const char*>(data);
    std::memcpy(cell + 1, text, std::strlen(text) + 1);
  } else {
    std::memcpy(cell + 1, data, static_cast<std::size_t>(field.DataSize()));
  }
}

// --- what a subclass may leave as it is ---

TRecordBuffer TDataSet::AllocRecordBuffer() {
  return new std::byte[static_cast<std::size_t>(GetRecordSize())]();
}
void TDataSet::FreeRecordBuffer(TRecordBuffer buffer) { delete[] buffer; }

void TDataSet::SetFieldData(TField* field, const void*) {
  RaiseError(Format("Field %s belongs to a data set that cannot be written", field->FieldName()));
}

std::string TDataSet::GetBlobData(TField* field) {
  RaiseError(Format("Field %s holds no large object", field->FieldName()));
}

void TDataSet::SetBlobData(TField* field, std::string_view) { SetFieldData(field, nullptr); }

std::unique_ptr<TStream> TDataSet::CreateBlobStream(TField* field, TBlobStreamMode mode) {
  return std::make_unique<TIBlobStream>(field, mode);
}

const std::shared_ptr<const TColumnLayout>& TDataSet::RowLayout() const {
  static const std::shared_ptr<const TColumnLayout> kNone;
  return kNone;
}

void TDataSet::RowCell(int, TCell&) const { RaiseError("This data set has no cells"); }

void TDataSet::ValidateField(TField* field) {
  if (const TNotifyEvent& event = field->OnValidate()) event(field);
}

void TDataSet::CheckActive() const {
  if (!Active()) {
    RaiseError(Format("Cannot perform this operation on a closed data set%s",
                      Name().empty() ? "" : " (" + Name() + ")"));
  }
}

void TDataSet::CheckNotInRow() const {
  if (InRow()) {
    RaiseError("A data set cannot be moved while one of its rows is filtered or calculated");
  }
}

void TDataSet::RaiseError(const std::string& message) {
  throw EDatabaseError(TDatabaseErrorKind::other, 0, message, "");
}

// --- fields ---

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

void TDataSet::AddField(TField* field) {
  for (const TField* other : FFields) {
    if (SameText(other->FieldName(), field->FieldName())) {
      RaiseError(Format("Duplicate field name '%s'", field->FieldName()));
    }
  }
  if (Active() && !FMakingFields) RaiseError("Fields cannot be added to an open data set");
  FFields.push_back(field);
  NumberFields();
}

void TDataSet::RemoveField(TField* field) {
  FFields.erase(std::find(FFields.begin(), FFields.end(), field));
  NumberFields();
}

void TDataSet::NumberFields() {
  ++FFieldChanges;
  int number = 0;
  int offset = 0;
  for (std::size_t i = 0; i < FFields.size(); ++i) {
    TField& field = *FFields[i];
    field.FIndex = static_cast<int>(i);
    // Numbers and buffers of an open data set stay as they were bound.
    if (Active() && !FMakingFields) continue;
    field.FFieldNo = field.Calculated() ? 0 : ++number;
    if (Active() || !field.Calculated()) continue;
    field.FOffset = offset;
    offset += 1 + field.DataSize();
  }
  if (!Active()) FCalcFieldsSize = offset;
  InternalFieldsChanged();
}

void TDataSet::FieldPropertyChanged() {
  if (Active() && !FLinks.empty()) DataEvent(TDataEvent::deLayoutChange);
}

// Asking for fields is const for the caller: they are a view of columns that exist already.
void TDataSet::NeedFields() const {
  if (!Active() || !FFields.empty() || FDefaultFields) return;
  auto* self = const_cast<TDataSet*>(this);
  self->InternalInitFieldDefs();
  self->CreateFields();
}

void TDataSet::CreateFields() {
  FDefaultFields = true;
  FMakingFields = true;
  try {
    for (const TFieldDef& def : FFieldDefs) {
      NewField(this, def.type, def.name, def.size)->Required(def.required);
    }
    FMakingFields = false;
  } catch (...) {
    FMakingFields = false;
    DestroyFields();
    throw;
  }
}

void TDataSet::DestroyFields() {
  if (!FDefaultFields) return;
  while (!FFields.empty()) FFields.back()->Free();
  FDefaultFields = false;
}

void TDataSet::BindFields() {
  for (const TField* field : FFields) {
    const bool known = field->Calculated() ||
                       std::any_of(FFieldDefs.begin(), FFieldDefs.end(), [&](const auto& def) {
                         return SameText(def.name, field->FieldName());
                       });
    if (!known) RaiseError(Format("Field '%s' is no column of the data set", field->FieldName()));
  }
}

}  // namespace perlayer
