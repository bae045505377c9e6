// Editing. The buffer of the active row is what is edited; the subclass stores it or reads the row
// anew. After any failure the data set either still edits, with what has been entered, or stands on
// a row as the subclass has it.

#include "perlayer/corekit/EDatabaseError.h"
#include "perlayer/corekit/TDataSet.h"
#include "perlayer/corekit/TField.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Format.h"

namespace perlayer {

using enum TDataEvent;
using enum TDataSetState;

void TDataSet::CheckCanModify() {
  if (!CanModify()) RaiseError("This data set cannot be modified");
}

void TDataSet::CheckFieldWritable(const TField& field) {
  if (FState == dsCalcFields) {
    if (!field.Calculated()) {
      RaiseError(
          Format("Field %s cannot be modified while fields are calculated", field.DisplayLabel()));
    }
    return;
  }
  if (field.ReadOnly() || field.Calculated()) {
    RaiseError(Format("Field %s cannot be modified", field.DisplayLabel()));
  }
  CheckActive();
  if (!CanModify()) {
    RaiseError(Format("Field %s belongs to a data set that cannot be written", field.FieldName()));
  }
  if (!IsEditing()) {
    RaiseError(Format("Field %s cannot be modified: the data set is not in edit or insert state",
                      field.DisplayLabel()));
  }
}

void TDataSet::CheckBrowseMode() {
  CheckActive();
  if (FDirect) return;
  CheckNotInRow();
  if (FOperating) RaiseError("The data set is in the midst of storing what was edited");
  const TAlive alive(this);
  DataEvent(deCheckBrowseMode);
  if (!alive || !IsEditing()) return;
  UpdateRecord();
  if (!alive || !IsEditing()) return;
  FModified ? Post() : Cancel();
}

void TDataSet::UpdateRecord() {
  CheckActive();
  if (!IsEditing()) RaiseError("The data set is not in edit or insert state");
  DataEvent(deUpdateRecord);
}

void TDataSet::RunOperation(void (TDataSet::*run)()) {
  const TAlive alive(this);
  const bool outer = std::exchange(FOperating, true);
  const bool asked = FRefreshAsked;
  try {
    (this->*run)();
  } catch (...) {
    if (alive) {
      FOperating = outer;
      FRefreshAsked = asked && Active();  // what failed has nothing to show
    }
    throw;
  }
  if (alive) FOperating = outer;
}

// The same, with a refusal told to the error event first.
void TDataSet::Operate(TDataSetOperation operation, void (TDataSet::*run)()) {
  const TAlive alive(this);
  const TDataSetState state = FState;
  for (;;) {
    UpdateCursorPos();
    try {
      return RunOperation(run);
    } catch (const EDatabaseError& e) {
      if (!alive || FEvents == nullptr) throw;
      TDataAction action = TDataAction::daFail;
      const auto& event = FEvents->error[static_cast<std::size_t>(operation)];
      if (event) event(this, e, action);
      // In another state it would be another operation.
      if (action == TDataAction::daFail || !alive || FState != state) throw;
      if (action == TDataAction::daAbort) throw EAbort(e.Message());
    }
  }
}

void TDataSet::RefreshIfAsked() {
  if (std::exchange(FRefreshAsked, false)) Refresh();
}

// Back to browsing, on the row that the subclass now has in the place of the active one.
void TDataSet::LeaveEditing() {
  const TAlive alive(this);
  SetState(dsBrowse);
  if (!alive || FState != dsBrowse) return;
  UpdateCursorPos();
  Resync({});
  if (alive && FState == dsBrowse) RefreshIfAsked();
}

void TDataSet::Edit() {
  if (IsEditing()) return;
  const TAlive alive(this);
  if (!EnterBrowse()) return;
  CheckCanModify();
  NeedBuffers();
  if (FRing.Count() == 0) return Insert();
  if (!FireBefore(TDataSetEvent::BeforeEdit)) return;
  Operate(TDataSetOperation::edit, &TDataSet::InternalEdit);
  if (!alive || FState != dsBrowse || FRing.Count() == 0) return;
  GetCalcFields(ActiveBuffer());
  SetState(dsEdit);
  if (alive && FState == dsEdit) DataEvent(deRecordChange);
  if (alive && FState == dsEdit) Fire(TDataSetEvent::AfterEdit);
}

void TDataSet::Insert() { BeginInsert(false); }
void TDataSet::Append() { BeginInsert(true); }

void TDataSet::BeginInsert(bool append) {
  if (!EnterBrowse()) return;
  CheckCanModify();
  NeedBuffers();
  if (!FireBefore(TDataSetEvent::BeforeInsert) || !BeforeScrolling()) return;
  const TAlive alive(this);
  const TBookmark place = GetBookmark();
  InternalInitRecord(FRing.Spare());
  ClearCalcFields(FRing.Spare());
  try {
    if (append) {
      PlaceAppended();
    } else {
      PlaceInserted(place);
    }
    RunOperation(&TDataSet::InternalInsert);
    if (!alive || FState != dsBrowse) return;
    SetState(dsInsert);
    if (!alive || FState != dsInsert) return;
    Fire(TDataSetEvent::OnNewRecord);
    if (!alive || FState != dsInsert) return;
  } catch (...) {
    if (alive && Active()) AbandonInsert(place);
    throw;
  }
  FModified = false;
  DataEvent(deDataSetChange);
  if (alive && FState == dsInsert) Fire(TDataSetEvent::AfterInsert);
  if (alive && FState == dsInsert) DoAfterScroll();
}

void TDataSet::PlaceInserted(const TBookmark& place) {
  const TRecordBuffer buffer = FRing.Spare();
  if (place.empty()) {
    SetBookmarkFlag(buffer, TBookmarkFlag::bfBOF);
  } else {
    SetBookmarkFlag(buffer, TBookmarkFlag::bfInserted);
    SetBookmarkData(buffer, place.data());
  }
  const int active = FActiveRecord;
  FRing.Insert(active);
  ActivateBuffers();
  FActiveRecord = active;
  CursorPosChanged();
}

void TDataSet::PlaceAppended() {
  SetBookmarkFlag(FRing.Spare(), TBookmarkFlag::bfEOF);
  FRing.Only();
  ActivateBuffers();
  CursorPosChanged();
  GetPriorRecords();
  CursorPosChanged();
}

// The failure that led here is the one that is told.
void TDataSet::AbandonInsert(const TBookmark& place) {
  try {
    if (FState == dsInsert) {
      InternalCancel();
      SetState(dsBrowse);
    }
    CursorPosChanged();
    if (!place.empty()) InternalGotoBookmark(place.data());
    Resync({});
  } catch (...) {
    FState = dsBrowse;
    InternalHandleException();
  }
}

void TDataSet::CheckRequiredFields() {
  for (TField* field : FFields) {
    if (!field->Required() || field->ReadOnly() || field->Calculated() || !field->IsNull()) {
      continue;
    }
    const std::string label = field->DisplayLabel();
    field->FocusControl();
    RaiseError(Format("Field '%s' must have a value", label));
  }
}

void TDataSet::Post() {
  const TAlive alive(this);
  UpdateRecord();
  if (alive && IsEditing()) DataEvent(deCheckBrowseMode);
  if (!alive || !IsEditing()) return;
  CheckRequiredFields();
  if (!FireBefore(TDataSetEvent::BeforePost)) return;
  Operate(TDataSetOperation::post, &TDataSet::InternalPost);
  if (!alive || !IsEditing()) return;
  LeaveEditing();
  if (alive && Active()) Fire(TDataSetEvent::AfterPost);
}

void TDataSet::Cancel() {
  if (!IsEditing()) return;
  if (!FireBefore(TDataSetEvent::BeforeCancel)) return;
  const TAlive alive(this);
  const bool inserting = FState == dsInsert;
  UpdateCursorPos();
  RunOperation(&TDataSet::InternalCancel);
  if (!alive || !IsEditing()) return;
  LeaveEditing();
  if (alive && Active()) Fire(TDataSetEvent::AfterCancel);
  if (alive && Active() && inserting) DoAfterScroll();
}

void TDataSet::Delete() {
  CheckActive();
  CheckNotInRow();
  if (FState == dsInsert) return Cancel();
  CheckCanModify();
  NeedBuffers();
  if (FRing.Count() == 0) RaiseError("There is no row to delete");
  if (FOperating) RaiseError("The data set is in the midst of storing what was edited");
  const TAlive alive(this);
  DataEvent(deCheckBrowseMode);
  if (!alive || !Active() || !FireBefore(TDataSetEvent::BeforeDelete)) return;
  DoBeforeScroll();
  if (!alive || !Active() || FRing.Count() == 0) return;
  Operate(TDataSetOperation::remove, &TDataSet::InternalDelete);
  if (!alive || !Active()) return;
  SetState(dsBrowse);
  if (!alive || FState != dsBrowse) return;
  CursorPosChanged();
  Resync({});
  if (alive && FState == dsBrowse) RefreshIfAsked();
  if (alive && Active()) Fire(TDataSetEvent::AfterDelete);
  if (alive && Active()) DoAfterScroll();
}

void TDataSet::Refresh() {
  if (FOperating) {
    FRefreshAsked = true;
    return;
  }
  if (!EnterBrowse()) return;
  NeedBuffers();
  if (!FireBefore(TDataSetEvent::BeforeRefresh)) return;
  const TAlive alive(this);
  UpdateCursorPos();
  CursorPosChanged();
  TryFinally([&] { InternalRefresh(); },
             [&] {
               if (alive && FState == dsBrowse) Resync({});
             });
  if (alive && Active()) Fire(TDataSetEvent::AfterRefresh);
}

void TDataSet::InternalInitRecord(TRecordBuffer) { RaiseError("No row can be inserted here"); }
void TDataSet::InternalPost() { RaiseError("Changes of rows cannot be stored here"); }
void TDataSet::InternalDelete() { RaiseError("No row can be deleted here"); }

}  // namespace perlayer
