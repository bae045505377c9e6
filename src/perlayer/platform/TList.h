#pragma once
// TList: a list of objects, kept as handles and not owned. TObjectList owns its items unless told
// otherwise: an item that is deleted, replaced or cleared is freed.
//
// An entry is out of the list before its object is freed, so the object may use the list while it
// goes, remove others from it, or free it.
//
// Belongs to the thread that made it. Indices outside raise EListError "List index out of bounds
// (%d)".

#include <cstddef>
#include <functional>
#include <vector>

#include "perlayer/platform/TIndexIterator.h"
#include "perlayer/platform/TObject.h"

namespace perlayer {

class TList : public TObject {
  TCLASS(TList, TObject)
 public:
  int Count() const { return static_cast<int>(FItems.size()); }
  // nullptr for a nil entry and for an object that has been destroyed.
  TObject* Items(int index) const { return FItems[Checked(index)].Get(); }
  TObject* operator[](int index) const { return Items(index); }
  void Items(int index, TObject* object);
  // A hint that the object of that entry, if there is one, will be looked at soon.
  void Prefetch(int index) const {
    if (static_cast<std::size_t>(index) >= FItems.size()) return;
    const auto* object =
        reinterpret_cast<const char*>(FItems[static_cast<std::size_t>(index)].Get());
    for (int line = 0; object != nullptr && line < 5; ++line)
      __builtin_prefetch(object + 64 * line);
  }
  int Add(TObject* object);
  void Insert(int index, TObject* object);
  void Delete(int index);
  int Remove(TObject* object);  // the index it had, or -1
  // Takes the entry out without freeing it, in an owning list too. nullptr when absent.
  TObject* Extract(TObject* object);
  // Deletes the entries one by one, the last first. One that raises is out; those before it stay.
  void Clear();
  int IndexOf(const TObject* object) const;  // first entry with that object, or -1
  TObject* First() const { return Items(0); }
  TObject* Last() const { return Items(Count() - 1); }
  void Exchange(int a, int b);
  void Move(int from, int to);
  void Pack();  // drops nil and dead entries
  // Stable. `less` is a strict order, gets nullptr for nil and dead entries, and leaves the list
  // alone. When it raises, the list is as before.
  void Sort(const std::function<bool(TObject*, TObject*)>& less);
  void Assign(const TList& other);
  void Capacity(int count);

  // `for (TObject* item : *list)`: see TIndexIterator.h.
  TIndexIterator<TList> begin() const { return TIndexIterator<TList>(this); }
  std::nullptr_t end() const { return nullptr; }

 protected:
  // An entry has left the list; `object` may be nullptr.
  virtual void Left(TObject* object);

 private:
  std::ptrdiff_t Checked(int index) const {
    if (static_cast<std::size_t>(index) >= FItems.size()) RaiseIndex(index);
    return index;
  }
  [[noreturn]] static void RaiseIndex(int index);

  std::vector<TObjectHandle> FItems;
};

class TObjectList : public TList {
  TCLASS(TObjectList, TList)
 public:
  void Create() {}
  void Create(bool ownsObjects) { FOwnsObjects = ownsObjects; }
  void Destroy() override;  // clears the list first
  bool OwnsObjects() const { return FOwnsObjects; }
  void OwnsObjects(bool owns) { FOwnsObjects = owns; }

 protected:
  void Left(TObject* object) override;

 private:
  bool FOwnsObjects = true;
};

}  // namespace perlayer
