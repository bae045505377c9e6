#include "perlayer/corekit/TDataLink.h"

#include <algorithm>

#include "perlayer/platform/Exception.h"

namespace perlayer {

using enum TDataEvent;

void TDataLink::Destroy() {
  if (TDataSet* const dataSet = std::exchange(FDataSet, nullptr)) dataSet->RemoveLink(this);
  TObject::Destroy();
}

void TDataLink::DataSet(TDataSet* dataSet) {
  if (dataSet == FDataSet) return;
  const TAlive alive(this);
  const TAlive target(dataSet);
  if (TDataSet* const old = std::exchange(FDataSet, nullptr)) {
    old->RemoveLink(this);
    if (!alive) return;
    UpdateState();
    if (!alive || FDataSet != nullptr) return;
  }
  if (!target) return;
  FDataSet = dataSet;
  FFirstRecord = 0;
  try {
    dataSet->AddLink(this);
  } catch (...) {
    if (alive) FDataSet = nullptr;
    if (target) dataSet->RemoveLink(this);
    throw;
  }
  if (alive) UpdateState();
}

void TDataLink::DataSetGone() {
  FDataSet = nullptr;
  try {
    UpdateState();
  } catch (...) {
    TDataSet::HandleLinkException(this);
  }
}

void TDataLink::BufferCount(int rows) {
  if (rows < 1) TDataSet::RaiseError("A data link shows at least one row");
  const int before = std::exchange(FBufferCount, rows);
  if (!Active()) return;
  const TAlive alive(this);
  try {
    FDataSet->UpdateBufferCount();
  } catch (...) {
    if (alive) FBufferCount = before;
    throw;
  }
  // Other links may have heard of fewer rows, and have freed or detached this one.
  if (alive && Active()) MoveWindow();
}

int TDataLink::RecordCount() const {
  if (!Active()) return 0;
  return std::clamp(FDataSet->FRing.Count() - FFirstRecord, 0, FBufferCount);
}

int TDataLink::ActiveRecord() const {
  return Active() ? FDataSet->FActiveRecord - FFirstRecord : 0;
}

void TDataLink::ActiveRecord(int index) {
  if (index < 0 || index >= RecordCount()) TDataSet::RaiseError("The link does not show that row");
  FDataSet->FActiveRecord = FFirstRecord + index;
}

bool TDataLink::Edit() {
  if (FReadOnly || !Active() || !FDataSet->CanModify()) return false;
  const TAlive alive(this);
  FDataSet->Edit();
  return alive && FEditing;
}

void TDataLink::UpdateRecord() {
  const TAlive alive(this);
  FUpdating = true;
  TryFinally([&] { UpdateData(); },
             [&] {
               if (alive) FUpdating = false;
             });
}

void TDataLink::UpdateState() {
  const TAlive alive(this);
  const bool active = FDataSet != nullptr && FDataSet->Active();
  if (active && !FActive) MoveWindow();
  if (std::exchange(FActive, active) != active) ActiveChanged();
  if (!alive) return;
  const bool editing = FDataSet != nullptr && FDataSet->IsEditing() && !FReadOnly;
  if (std::exchange(FEditing, editing) != editing) EditingChanged();
}

// Has the window hold the current row. Answers by how much it has moved.
int TDataLink::MoveWindow() {
  const int before = FFirstRecord;
  const int active = FDataSet->FActiveRecord;
  FFirstRecord = std::clamp(FFirstRecord, active - FBufferCount + 1, active);
  // No empty place before or behind while there are rows to fill it.
  const int last = std::max(FDataSet->FRing.Count() - FBufferCount, 0);
  FFirstRecord = std::clamp(FFirstRecord, 0, last);
  return FFirstRecord - before;
}

void TDataLink::DataEvent(TDataEvent event, TDataEventInfo info) {
  switch (event) {
    case deFieldChange:
    case deRecordChange:
      if (!FUpdating) RecordChanged(info.field);
      break;
    case deDataSetChange:
      MoveWindow();
      DataSetChanged();
      break;
    case deDataSetScroll:
      DataSetScrolled(MoveWindow());
      break;
    case deLayoutChange:
      MoveWindow();
      LayoutChanged();
      break;
    case deUpdateRecord:
      UpdateRecord();
      break;
    case deUpdateState:
      UpdateState();
      break;
    case deCheckBrowseMode:
      CheckBrowseMode();
      break;
    case deFocusControl:
      FocusControl(info.field);
      break;
  }
}

}  // namespace perlayer
