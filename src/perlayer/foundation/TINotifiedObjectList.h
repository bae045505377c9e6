#pragma once
// TINotifiedObjectList: the objects that one notification walk has visited. An object is known to
// it by its memory sequence, never by its address, so that a walk cannot mistake an object for
// another that lived in the same place. Main thread only.

#include <cstdint>
#include <vector>

#include "perlayer/platform/TList.h"

namespace perlayer {

class TplDomainObject;

// A set of numbers above 0: open addressing, multiplicative hashing (Knuth, The Art of Computer
// Programming, vol. 3, 6.4). The first few cost no memory.
class TSequenceSet {
 public:
  bool Contains(std::uint64_t number) const;
  void Insert(std::uint64_t number);
  void Clear();

 private:
  static constexpr std::size_t kInline = 8;
  std::size_t Probe(std::uint64_t number) const;
  void Grow();

  std::uint64_t FInline[kInline] = {};  // while FTable is empty: the first FCount are in use
  std::vector<std::uint64_t> FTable;    // size is a power of two, 0 is a free place
  std::size_t FCount = 0;
};

// Derives from the list whose place it takes in signatures and uses none of its storage.
class TINotifiedObjectList : public TList {
  TCLASS(TINotifiedObjectList, TList)
 public:
  void AddObject(const TplDomainObject* object);
  // 0 when the object is there, -1 when it is not.
  int IndexOfObject(const TplDomainObject* object) const;
  void ClearList() { FSortedList.Clear(); }

  // What a walk carries (its sender and data), or nullptr once that has gone: a listener may end it
  // while the walk goes on. REQUIRES: `party` lives when the walk brings it here for the first
  // time.
  TObject* Living(TObject* party);

 private:
  struct TParty {
    const TObject* object;
    TObjectHandle handle;
  };
  // A walk asks for membership alone, so what once was a sorted list of sequence texts is a hash.
  TSequenceSet FSortedList;
  std::vector<TParty> FParties;  // one or two
};

}  // namespace perlayer
