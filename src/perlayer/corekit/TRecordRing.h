#pragma once
// TRecordRing: the record buffers of an open data set in the order of their rows, and one spare
// buffer behind them, into which the next row is read before it takes its place. Buffers change
// places; their bytes never move.
//
// The ring does not own its buffers: the data set that allocated them frees them.

#include <algorithm>
#include <vector>

#include "perlayer/corekit/DataSetTypes.h"

namespace perlayer {

class TRecordRing {
 public:
  // How many rows it can hold; 0 also without any buffer.
  int Size() const { return FBuffers.empty() ? 0 : static_cast<int>(FBuffers.size()) - 1; }
  int Count() const { return FCount; }
  bool Full() const { return FCount == Size(); }
  TRecordBuffer At(int index) const { return FBuffers[static_cast<std::size_t>(index)]; }
  // REQUIRES: there are buffers
  TRecordBuffer Spare() const { return At(FCount); }

  // The spare buffer becomes the last, the first, or the row at `index`. When the ring is full, the
  // row at the front (PushBack) or at the end makes place and becomes the spare one.
  void PushBack() {
    if (Full()) {
      Rotate(0, 1, FCount + 1);
    } else {
      ++FCount;
    }
  }
  void PushFront() { Insert(0); }
  void Insert(int index) {
    Rotate(index, FCount, FCount + 1);
    if (!Full()) ++FCount;
  }
  // The spare buffer becomes the only row.
  void Only() {
    Rotate(0, FCount, FCount + 1);
    FCount = 1;
  }
  void Clear() { FCount = 0; }
  // Forgets rows at either end.
  void DropFront(int rows) {
    Rotate(0, rows, FCount);
    FCount -= rows;
  }
  void Truncate(int rows) { FCount = std::min(FCount, rows); }

  // Buffers come and go behind the spare one.
  std::size_t Buffers() const { return FBuffers.size(); }
  void Reserve(std::size_t buffers) { FBuffers.reserve(buffers); }
  void Add(TRecordBuffer buffer) noexcept { FBuffers.push_back(buffer); }  // REQUIRES: reserved
  TRecordBuffer TakeLast() noexcept {
    const TRecordBuffer last = FBuffers.back();
    FBuffers.pop_back();
    return last;
  }

 private:
  void Rotate(int first, int middle, int last) {
    const auto begin = FBuffers.begin();
    std::rotate(begin + first, begin + middle, begin + last);
  }

  std::vector<TRecordBuffer> FBuffers;
  int FCount = 0;
};

}  // namespace perlayer
