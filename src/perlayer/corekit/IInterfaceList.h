#pragma once
// IInterfaceList: a list of interfaces, each counted as long as it stands in the list.
//
//   TInterfaceRef<IInterfaceList> list(New<TInterfaceList>());
//   list->Add(listener);
//
// An entry may be nullptr. Two entries are the same when they are the same interface of the same
// object. Giving an interface back may end its object, whose ending may call the list again: the
// list has let go of the entry by then. Belongs to the thread that made it.
//
// Indices outside the list raise EListError "List index out of bounds (%d)".

#include <utility>
#include <vector>

#include "perlayer/corekit/IInterface.h"

namespace perlayer {

// Counts an interface for as long as it points to it. _Release must not raise.
template <class I>
class TInterfaceRef {
 public:
  TInterfaceRef() = default;
  explicit TInterfaceRef(I* target) : FTarget(target) {
    if (FTarget != nullptr) FTarget->_AddRef();
  }
  TInterfaceRef(const TInterfaceRef& other) : TInterfaceRef(other.FTarget) {}
  TInterfaceRef(TInterfaceRef&& other) noexcept : FTarget(std::exchange(other.FTarget, nullptr)) {}
  TInterfaceRef& operator=(TInterfaceRef other) noexcept {
    std::swap(FTarget, other.FTarget);
    return *this;
  }
  ~TInterfaceRef() {
    if (FTarget != nullptr) FTarget->_Release();
  }
  I* Get() const { return FTarget; }
  I* operator->() const { return FTarget; }
  I& operator*() const { return *FTarget; }
  explicit operator bool() const { return FTarget != nullptr; }

 private:
  I* FTarget = nullptr;
};

class IInterfaceList : public IInterface {
 public:
  static constexpr TGuid IID = "{00696E7B-4E37-41C0-A21E-2275311324CA}"_guid;

  virtual int Count() const = 0;
  // Not counted for the caller; hold it by a TInterfaceRef where the entry may go meanwhile.
  virtual IInterface* Get(int index) const = 0;
  virtual void Put(int index, IInterface* item) = 0;
  virtual int Add(IInterface* item) = 0;  // the index of the new entry, the last
  virtual void Insert(int index, IInterface* item) = 0;
  virtual void Delete(int index) = 0;
  // The index of the first such entry, before it was removed; -1 when there is none.
  virtual int Remove(IInterface* item) = 0;
  virtual int IndexOf(IInterface* item) const = 0;
  virtual void Exchange(int a, int b) = 0;
  virtual void Clear() = 0;

 protected:
  ~IInterfaceList() = default;
};

// Ends itself with its last holder. New gives one that nobody holds yet.
class TInterfaceList : public TObject, public IInterfaceList {
  TCLASS(TInterfaceList, TObject)
 public:
  static std::span<const TInterfaceEntry> InterfaceTable();

  HResult QueryInterface(const TGuid& iid, void** object) override;
  int _AddRef() override { return ++FHolders; }
  int _Release() override;

  int Count() const override { return static_cast<int>(FItems.size()); }
  IInterface* Get(int index) const override { return FItems[Checked(index)].Get(); }
  void Put(int index, IInterface* item) override;
  int Add(IInterface* item) override;
  void Insert(int index, IInterface* item) override;
  void Delete(int index) override;
  int Remove(IInterface* item) override;
  int IndexOf(IInterface* item) const override;
  void Exchange(int a, int b) override;
  void Clear() override;

  void Destroy() override;

 private:
  std::size_t Checked(int index) const;

  std::vector<TInterfaceRef<IInterface>> FItems;
  int FHolders = 0;
};

}  // namespace perlayer
