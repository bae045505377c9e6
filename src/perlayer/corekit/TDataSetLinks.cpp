// What a data set tells its links, and when.

#include <algorithm>

#include "perlayer/corekit/TDataLink.h"
#include "perlayer/corekit/TDataSet.h"
#include "perlayer/corekit/TField.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TApplication.h"

namespace perlayer {

using enum TDataEvent;

namespace {
// Links are asked, not told: the operation waits for them, and what they raise forbids it.
bool IsRequest(TDataEvent event) {
  return event == deCheckBrowseMode || event == deUpdateRecord || event == deFocusControl;
}
}  // namespace

void TDataSet::DataEvent(TDataEvent event, TDataEventInfo info) {
  const TAlive alive(this);
  if (event == deFieldChange) {
    const TAlive fieldAlive(info.field);
    if (IsEditing() && !info.field->Calculated()) FModified = true;
    if (!FDirect && FRing.Count() > 0) GetCalcFields(ActiveBuffer());
    if (fieldAlive) info.field->Change();
    if (!alive) return;
    if (!fieldAlive) info.field = nullptr;  // any may have changed
  }
  if (FDisableCount > 0 && !IsRequest(event)) {
    if (event == deLayoutChange) FEnableEvent = event;
    return;
  }
  if (!FLinks.empty()) TellLinks(event, info);
}

// Links may come, go and be freed meanwhile: those that have gone leave a hole until the last walk
// ends, those that come are told from the next time on.
void TDataSet::TellLinks(TDataEvent event, TDataEventInfo info) {
  const TAlive alive(this);
  const TAlive fieldAlive(info.field);
  const bool named = info.field != nullptr;
  ++FLinkWalks;
  const auto leave = [&] {
    if (alive && --FLinkWalks == 0) std::erase(FLinks, nullptr);
  };
  TryFinally(
      [&] {
        const std::size_t count = FLinks.size();
        for (std::size_t i = 0; alive && i < count && i < FLinks.size(); ++i) {
          TDataLink* const link = FLinks[i];
          // Rows are told only to those who know that the data set is open.
          const bool concerned = link != nullptr && (link->FActive || event == deUpdateState);
          if (!concerned) continue;
          if (named && !fieldAlive) {
            if (event != deFieldChange) break;
            info.field = nullptr;
          }
          if (IsRequest(event)) {
            link->DataEvent(event, info);
            continue;
          }
          try {
            link->DataEvent(event, info);
          } catch (...) {
            if (alive) {
              InternalHandleException();
            } else {
              HandleLinkException(nullptr);
            }
          }
        }
      },
      leave);
}

void TDataSet::HandleLinkException(TObject* link) { Application()->HandleException(link); }

void TDataSet::AddLink(TDataLink* link) {
  FLinks.push_back(link);
  if (Active()) NeedBuffers();
  UpdateBufferCount();
}

void TDataSet::RemoveLink(TDataLink* link) {
  const auto found = std::find(FLinks.begin(), FLinks.end(), link);
  if (found == FLinks.end()) return;
  if (FLinkWalks > 0) {
    *found = nullptr;
  } else {
    FLinks.erase(found);
  }
  if (!InRow()) UpdateBufferCount();
}

void TDataSet::ShiftLinks(int rows) {
  for (TDataLink* link : FLinks) {
    if (link != nullptr) link->FFirstRecord += rows;
  }
}

void TDataSet::UpdateBufferCount() {
  if (!Active() || FDirect) return;
  int rows = 1;
  for (const TDataLink* link : FLinks) {
    if (link != nullptr) rows = std::max(rows, link->FBufferCount);
  }
  if (InRow()) {
    // A buffer is in use. Too many of them do no harm: the next change of a link frees them.
    if (rows <= FRing.Size()) return;
    RaiseError("A data set cannot show more rows while one of them is filtered or calculated");
  }
  SetBufferCount(rows);
}

void TDataSet::DisableControls() {
  if (FDisableCount++ > 0) return;
  FDisabledState = FState;
  FEnableEvent = deDataSetChange;
}

void TDataSet::EnableControls() {
  if (FDisableCount == 0 || --FDisableCount > 0) return;
  const TAlive alive(this);
  if (FState != FDisabledState) DataEvent(deUpdateState);
  if (alive && Active() && FDisableCount == 0) DataEvent(FEnableEvent);
}

}  // namespace perlayer
