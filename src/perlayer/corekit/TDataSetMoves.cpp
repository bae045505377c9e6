// The ring of record buffers and the moves over it.
//
// Between operations: the ring holds consecutive rows, FActiveRecord is the place of the current
// one, and nobody relies on where the subclass's cursor stands. Each operation that reads rows
// begins by setting the cursor to a row of the ring (SetCurrentRecord); when a read raises, the
// ring is as it was.

#include <algorithm>
#include <cstdint>
#include <limits>

#include "perlayer/corekit/TDataLink.h"
#include "perlayer/corekit/TDataSet.h"
#include "perlayer/platform/Exception.h"

namespace perlayer {

using enum TDataEvent;
using enum TDataSetState;
using enum TGetMode;

TRecordBuffer TDataSet::GetActiveRecordBuffer() const {
  switch (FState) {
    case dsCalcFields:
      return FCalcBuffer;
    case dsFilter:
      return FFilterBuffer;
    case dsInactive:
      return nullptr;
    default:
      return FRing.Count() == 0 ? nullptr : ActiveBuffer();
  }
}

void TDataSet::SetBufListSize(int rows) {
  const auto buffers = static_cast<std::size_t>(rows == 0 ? 0 : rows + 1);
  FRing.Reserve(buffers);
  while (FRing.Buffers() < buffers) FRing.Add(AllocRecordBuffer());
  FRing.Truncate(rows);
  while (FRing.Buffers() > buffers) FreeRecordBuffer(FRing.TakeLast());
}

// A ring that gets smaller keeps the rows that its widest link shows; other links may come to show
// others.
void TDataSet::SetBufferCount(int rows) {
  const int before = FRing.Size();
  if (rows == before) return;
  const bool dropped = FRing.Count() > rows;
  if (dropped) {
    int front = 0;
    for (const TDataLink* link : FLinks) {
      if (link != nullptr && link->FBufferCount == rows) front = link->FFirstRecord;
    }
    front = std::clamp(front, FActiveRecord - rows + 1, FActiveRecord);
    front = std::clamp(front, 0, FRing.Count() - rows);
    FRing.DropFront(front);
    FActiveRecord -= front;
    ShiftLinks(-front);
  }
  CursorPosChanged();
  SetBufListSize(rows);
  if (dropped) return DataEvent(deDataSetChange);
  if (rows < before || FState == dsInsert) return;
  const int active = FActiveRecord;
  TryFinally(
      [&] {
        GetNextRecords();
        GetPriorRecords();
      },
      [&] {
        if (FRing.Count() > 0) ShiftLinks(FActiveRecord - active);
        UpdateCursorPos();
      });
}

void TDataSet::ClearBuffers() {
  FRing.Clear();
  FActiveRecord = 0;
  FBof = FEof = true;
  CursorPosChanged();
}

void TDataSet::ActivateBuffers() {
  FActiveRecord = 0;
  FBof = FEof = false;
}

void TDataSet::SetCurrentRecord(int index) {
  if (FCurrentRecord == index) return;
  const TRecordBuffer buffer = FRing.At(index);
  switch (GetBookmarkFlag(buffer)) {
    case TBookmarkFlag::bfBOF:
      InternalFirst();
      break;
    case TBookmarkFlag::bfEOF:
      InternalLast();
      break;
    default:
      InternalSetToRecord(buffer);
  }
  FCurrentRecord = index;
}

void TDataSet::UpdateCursorPos() {
  CursorPosChanged();
  if (FRing.Count() > 0 && FState != dsInsert) SetCurrentRecord(FActiveRecord);
}

// The active record stays the same row. It leaves the ring, at -1 or Size(), only when the ring
// holds one row.
bool TDataSet::GetNextRecord() {
  if (FRing.Count() > 0) SetCurrentRecord(FRing.Count() - 1);
  CursorPosChanged();
  if (GetRecord(FRing.Spare(), gmNext, true) != TGetResult::grOK) return false;
  const bool first = FRing.Count() == 0;
  const bool full = FRing.Full();
  FRing.PushBack();
  if (first) ActivateBuffers();
  if (full) --FActiveRecord;
  FCurrentRecord = FRing.Count() - 1;
  return true;
}

bool TDataSet::GetPriorRecord() {
  if (FRing.Count() > 0) SetCurrentRecord(0);
  CursorPosChanged();
  if (GetRecord(FRing.Spare(), gmPrior, true) != TGetResult::grOK) return false;
  const bool first = FRing.Count() == 0;
  FRing.PushFront();
  if (first) {
    ActivateBuffers();
  } else {
    ++FActiveRecord;
  }
  FCurrentRecord = 0;
  return true;
}

void TDataSet::GetNextRecords() {
  while (!FRing.Full() && GetNextRecord()) {
  }
}

void TDataSet::GetPriorRecords() {
  while (!FRing.Full() && GetPriorRecord()) {
  }
}

void TDataSet::Resync(TResyncMode mode) {
  const TRecordBuffer spare = FRing.Spare();
  const auto reads = [&](TGetMode get, bool check) {
    return GetRecord(spare, get, check) == TGetResult::grOK;
  };
  CursorPosChanged();
  if (mode.has(TResyncOption::rmExact)) {
    if (!reads(gmCurrent, true)) RaiseError("The row is not there any more");
  } else {
    bool found = false;
    try {
      found = reads(gmCurrent, false) || reads(gmNext, false) || reads(gmPrior, false);
    } catch (...) {
      // What the ring holds may have gone: nothing is better than that.
      ClearBuffers();
      DataEvent(deDataSetChange);
      throw;
    }
    if (!found) {
      ClearBuffers();
      DataEvent(deDataSetChange);
      return;
    }
  }
  int before = mode.has(TResyncOption::rmCenter) ? (FRing.Size() - 1) / 2 : FActiveRecord;
  FRing.Only();
  ActivateBuffers();
  FCurrentRecord = 0;
  TryFinally(
      [&] {
        while (before-- > 0 && GetPriorRecord()) {
        }
        GetNextRecords();
        GetPriorRecords();
      },
      [&] { DataEvent(deDataSetChange); });
}

// --- direct reading ---

void TDataSet::NeedBuffers() {
  if (!FDirect) return;
  const bool empty = FEmpty;
  const bool bof = FBof;
  const bool eof = FEof;
  try {
    InternalKeepRows(true);
    FDirect = false;
    SetBufListSize(1);
    ClearBuffers();
    if (!empty) {
      const TGetResult result = GetRecord(FRing.Spare(), eof ? gmPrior : gmCurrent, true);
      if (result != TGetResult::grOK) RaiseError("The row is not there any more");
      FRing.PushBack();
      ActivateBuffers();
      FBof = bof;
      FEof = eof;
    }
  } catch (...) {
    SetBufListSize(0);
    FBof = bof;
    FEof = eof;
    FDirect = true;
    InternalKeepRows(false);
    throw;
  }
}

int TDataSet::MoveDirectly(int distance) {
  FBof = false;
  FMoved = true;
  FEof = true;  // and it stays so when the move fails
  int moved = 0;
  while (moved < distance && InternalNext()) ++moved;
  FEof = moved < distance;
  return moved;
}

// --- moves ---

bool TDataSet::EnterBrowse() {
  const TAlive alive(this);
  CheckBrowseMode();
  return alive && FState == dsBrowse;
}

bool TDataSet::BeforeScrolling() {
  const TAlive alive(this);
  DoBeforeScroll();
  return alive && FState == dsBrowse;
}

void TDataSet::First() {
  if (!EnterBrowse()) return;
  if (FDirect && !FMoved) return;
  if (!BeforeScrolling()) return;
  const TAlive alive(this);
  if (FDirect) {
    FBof = FEmpty = FEof = true;
    InternalFirst();
    FEmpty = FEof = !InternalNext();
    FMoved = false;
  } else {
    CursorPosChanged();
    InternalFirst();
    ClearBuffers();
    TryFinally(
        [&] {
          GetNextRecord();
          GetNextRecords();
        },
        [&] {
          FBof = true;
          DataEvent(deDataSetChange);
        });
  }
  if (alive && Active()) DoAfterScroll();
}

void TDataSet::Last() {
  if (!EnterBrowse()) return;
  NeedBuffers();
  if (!BeforeScrolling()) return;
  const TAlive alive(this);
  CursorPosChanged();
  InternalLast();
  ClearBuffers();
  TryFinally([&] { GetPriorRecords(); },
             [&] {
               FEof = true;
               DataEvent(deDataSetChange);
             });
  if (alive && Active()) DoAfterScroll();
}

void TDataSet::Next() {
  if (!FDirect || FEvents != nullptr) {
    MoveBy(1);
  } else if (!FEof) {
    MoveDirectly(1);
  }
}

int TDataSet::MoveBy(int distance) {
  if (!EnterBrowse() || distance == 0) return 0;
  if (distance < 0 && !(FDirect && FBof)) NeedBuffers();
  if (!IsEmpty() && (distance > 0 ? FEof : FBof)) return 0;
  if (FDirect && FEmpty) return 0;
  if (!BeforeScrolling()) return 0;
  const TAlive alive(this);
  const int moved = FDirect ? MoveDirectly(distance) : MoveInRing(distance);
  if (alive && Active()) DoAfterScroll();
  return moved;
}

int TDataSet::MoveInRing(int distance) {
  const int before = FRing.Count();
  int moved = 0;
  int shift = 0;
  if (before > 0) FBof = FEof = false;
  CursorPosChanged();
  TryFinally(
      [&] {
        for (; moved < distance; ++moved) {
          if (FActiveRecord + 1 >= FRing.Count()) {
            const bool full = FRing.Full();
            const bool first = FRing.Count() == 0;
            if (!GetNextRecord()) {
              FEof = true;
              break;
            }
            if (full) --shift;
            if (first) continue;
          }
          ++FActiveRecord;
        }
        for (; moved > distance; --moved) {
          if (FActiveRecord == 0) {
            const bool first = FRing.Count() == 0;
            if (!GetPriorRecord()) {
              FBof = true;
              break;
            }
            if (first) continue;
            ++shift;
          }
          --FActiveRecord;
        }
      },
      [&] {
        ShiftLinks(shift);
        if (FRing.Count() == before) {
          DataEvent(deDataSetScroll, {nullptr, shift});
        } else {
          DataEvent(deDataSetChange);
        }
      });
  return moved < 0 ? -moved : moved;
}

// --- numbers ---

int TDataSet::RecordCount() {
  CheckActive();
  NeedBuffers();
  return GetRecordCount();
}

int TDataSet::RecNo() {
  CheckActive();
  if (FDirect && DirectRecNo() >= 0) return DirectRecNo();
  NeedBuffers();
  return FRing.Count() == 0 ? 0 : GetRecNo();
}

void TDataSet::RecNo(int number) {
  if (!EnterBrowse()) return;
  NeedBuffers();
  SetRecNo(number);
}

void TDataSet::SetRecNo(int number) {
  const int now = FRing.Count() == 0 ? 0 : GetRecNo();
  if (now < 0) RaiseError("The rows of this data set have no numbers");
  if (FRing.Count() == 0 || !FFiltered) {
    constexpr std::int64_t kFar = std::numeric_limits<int>::max();
    const std::int64_t distance = std::int64_t{number} - now;
    MoveBy(static_cast<int>(std::clamp(distance, -kFar, kFar)));
    return;
  }
  // Rows that are left out have numbers, too, so that the distance is not known beforehand.
  const TAlive alive(this);
  const int step = number < now ? -1 : 1;
  const auto before = [&] {
    const int at = FRing.Count() == 0 ? number : GetRecNo();
    return step > 0 ? at < number : at > number;
  };
  while (before() && MoveBy(step) != 0 && alive && FState == dsBrowse) {
  }
}

// --- bookmarks ---

TBookmark TDataSet::GetBookmark() {
  CheckActive();
  if (FDirect) {
    if (TBookmark direct = DirectBookmark(); !direct.empty()) return direct;
  }
  NeedBuffers();
  if (FRing.Count() == 0 || GetBookmarkFlag(ActiveBuffer()) != TBookmarkFlag::bfCurrent) return {};
  TBookmark bookmark(static_cast<std::size_t>(FBookmarkSize), '\0');
  GetBookmarkData(ActiveBuffer(), bookmark.data());
  return bookmark;
}

void TDataSet::GotoBookmark(const TBookmark& bookmark) {
  if (bookmark.empty() || !EnterBrowse()) return;
  if (bookmark.size() != static_cast<std::size_t>(FBookmarkSize)) {
    RaiseError("This is no bookmark of the data set");
  }
  NeedBuffers();
  if (!BeforeScrolling()) return;
  const TAlive alive(this);
  UpdateCursorPos();
  CursorPosChanged();
  InternalGotoBookmark(bookmark.data());
  Resync({TResyncOption::rmExact, TResyncOption::rmCenter});
  if (alive && Active()) DoAfterScroll();
}

// By going there: subclasses that know better override it.
bool TDataSet::BookmarkValid(const TBookmark& bookmark) {
  const bool fits = bookmark.size() == static_cast<std::size_t>(FBookmarkSize);
  if (!Active() || bookmark.empty() || !fits) return false;
  CheckNotInRow();
  NeedBuffers();
  if (FRing.Count() == 0) return false;
  CursorPosChanged();
  bool valid = false;
  TryFinally(
      [&] {
        InternalGotoBookmark(bookmark.data());
        valid = GetRecord(FRing.Spare(), gmCurrent, true) == TGetResult::grOK;
      },
      [&] { UpdateCursorPos(); });
  return valid;
}

int TDataSet::CompareBookmarks(const TBookmark& a, const TBookmark& b) { return a.compare(b); }

}  // namespace perlayer
