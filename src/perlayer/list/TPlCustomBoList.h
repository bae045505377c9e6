#pragma once
// TPlCustomBoList: an ordered list of persistent objects with a cursor. It knows nothing of the
// database; TPlBoList adds that side.
//
// Being in the list means being retained by it, with the list as the retainer: Add and Insert take
// one reference for the entry, Delete and the clear operations give it back. SimpleAdd, Put and
// SetCount move pointers only and touch no reference, as do Exchange and sorting: whoever calls
// them sees to the references himself.
//
// An entry is a handle. One whose object has been destroyed, which only those three operations make
// possible, reads as nullptr, like the entries that SetCount adds.
//
// The cursor is an index; -1 is before the first entry, Count() behind the last. Adding, deleting
// and sorting do not move it. It goes by objects that are to be seen: those that the filter accepts
// and the user has the right to scan. Everything else (Count, Get, range-for) goes by entries.
//
// Every event, notification and release may change the list or let go of it. An operation that
// raises leaves each entry with its reference and no other.
//
// Main thread only.

#include <memory>
#include <string>
#include <string_view>

#include "perlayer/list/TBoOrder.h"
#include "perlayer/object/TplPerObject.h"
#include "perlayer/platform/TDelegate.h"
#include "perlayer/platform/TIndexIterator.h"

namespace perlayer {

using TIBoListEvent = TDelegate<void(TObject* Sender, TplPerObject* Item)>;

class TPlCustomBoList : public TplDomainObject {
  TCLASS_WITH_DESTRUCTOR(TPlCustomBoList, TplDomainObject)
 public:
  static constexpr int kMaxCount = 0x7FFFFFF;

  TPlCustomBoList();
  void Destroy() override;

  // Nothing once the layer is being finalized.
  void DoNotifyAction(TplDomainObject* Sender, TIBaseObjectAction ActionType, TObject* Data,
                      TINotifiedObjectList* AVisitedObjectList) override;
  int GetImageIndex() override { return 275; }
  bool GetModified() override;  // a member is
  bool GetReadOnly() override { return false; }
  std::string GetHint() override { return "Seznam objektov"; }
  void RefreshLockGroup(const std::string& ALockGroup) override;  // the list and each member
  void NotifyRefresh(const std::string& ALockGroup) override;     // the same

  // --- entries ---

  int Count() const { return FCount; }
  int Capacity() const { return FCapacity; }
  const TObjectHandle* List() const { return FList.get(); }  // Count() of them
  bool IsEmpty() const { return FCount == 0; }
  // nullptr for an empty entry. An index of -1 reads as 0. Raises EListError outside.
  TplPerObject* Get(int AIndex) const {
    if (AIndex == -1) AIndex = 0;
    CheckIndex(AIndex);
    return static_cast<TplPerObject*>(FList[AIndex].Get());
  }
  TplPerObject* operator[](int AIndex) const { return Get(AIndex); }
  // The first entry of that object by a walk over the entries, or -1.
  int IndexOf(const TplPerObject* AObject) const;
  TplPerObject* FirstObject() const { return Get(0); }
  // The last entry. When that is hidden the cursor moves to Prior; the answer stays.
  TplPerObject* LastObject();

  // Adds at the end and tells the listeners (paAddToList); returns the index.
  // REQUIRES: AObject != nullptr
  virtual int Add(TplPerObject* AObject);
  // Stores the pointer at the end: no reference, event or notification. Returns the index.
  virtual int SimpleAdd(TplPerObject* AObject);
  // At 0 to Count(). As Add, without the event before it. REQUIRES: AObject != nullptr
  void Insert(int AIndex, TplPerObject* AObject);
  void Put(int AIndex, TplPerObject* AObject);  // no reference, event or notification
  // Tells the listeners (paDeleteFromList), lets go of the object and takes the entry out. Where
  // the event or a listener raises, the entry stays.
  virtual void Delete(int AIndex);
  int Remove(TplPerObject* AObject);  // the index it had, or -1
  // By deleting and inserting, with all events and notifications of both, then paSort.
  void Move(int ACurIndex, int ANewIndex);
  void Exchange(int AIndex1, int AIndex2);
  // Sorts the entries; see QuickSort.h. Nobody is told. An empty parameter is the order that was
  // last forced on any list. Where the comparison raises, or changes the list on the way,
  // everything stays as it is; the latter raises an Exception.
  void Sort(TboListSortCompare ACompare, const std::string& AParam);
  void Pack();  // deletes empty entries
  void Expand();
  void SetCapacity(int ACapacity);
  void SetCount(int ACount);  // new entries are empty; entries that go are not released

  // Lets go of all members, whatever some of them raise, and tells the listeners (paModified). The
  // cursor stays as it is. The end of a list does this too, and needs no memory for it.
  void Clear() { ClearWithCycles(false); }
  void ClearWithCycles(bool AbForce);
  void ForceClear();  // forgets the entries without letting go of anything

  // `for (TplPerObject* object : *list)`: see TIndexIterator.h.
  TIndexIterator<TPlCustomBoList> begin() const { return TIndexIterator<TPlCustomBoList>(this); }
  std::nullptr_t end() const { return nullptr; }

  // --- the cursor ---

  void First() { FCurrIndex = -1; }
  void Last() { FCurrIndex = FCount - 1; }
  void Next();   // to the next object that is to be seen, or behind the last entry
  void Prior();  // to the one before, or before the first entry
  bool BOL() const { return FCurrIndex == -1; }
  bool EOL() const { return FCurrIndex == FCount; }
  int CurrIndex() { return GetCurrIndex(); }
  int NSCurrIndex() const { return FCurrIndex; }
  // The object at the cursor, having moved on to one that is to be seen; nullptr without any.
  // Before the first entry it is the first, behind the last one the last.
  TplPerObject* CurrObject();
  TplPerObject* NSCurrObject();  // the same, hidden or not
  // Hides objects that the text does not accept; empty accepts all. Then the cursor goes to an
  // object that is to be seen. The text is looked at when an object is: one that is no filter
  // raises from here, from moving the cursor and from counting, and stands until another is set.
  virtual void SetListFilter(const std::string& AFilter);
  void aiListFilter(const std::string& filter) { SetListFilter(filter); }
  const std::string& aiListFilter() const;
  // See TListFilter::Evaluate.
  bool EvaluateFilterExpression(TplPerObject* AObject, std::string_view AFilter);
  bool IsObjectFiltered(TplPerObject* AObject);  // it is hidden, as nullptr is
  bool IsCurrObjectFiltered();
  int CountWithFilter();
  void FirstWithFilter() {}  // does nothing: callers go to First themselves
  // Puts the cursor on an object that is to be seen next to where it was.
  void ResyncCurrPosition();
  // The cursor as decimal text. Going to one brings it within the list; a text that is no number
  // is 0, and -1 the last entry.
  std::string GetBookmark() const { return std::to_string(FCurrIndex); }
  void GoToBookmark(std::string_view ABookmark);
  void ReleaseBookmark(std::string_view) {}

  // Kept for lists and views that offer editing; nothing here reads it.
  bool aiReadOnly() const { return FReadOnly; }
  void aiReadOnly(bool readOnly) { FReadOnly = readOnly; }
  const TIBoListEvent& aiOnBeforeAddItemToList() const;
  void aiOnBeforeAddItemToList(TIBoListEvent event);
  const TIBoListEvent& aiOnBeforeDeleteItemFromList() const;
  void aiOnBeforeDeleteItemFromList(TIBoListEvent event);

  // Bytes that the list takes, without its members.
  std::size_t MemoryUsed() const;

 protected:
  ~TPlCustomBoList() override;
  virtual void ClearOnDestroy() { Clear(); }
  virtual int GetCurrIndex() { return FCurrIndex; }
  virtual void Grow();  // by 4, 16 or a quarter
  // Raises EListError, the message formatted with the number. That is raised, too, where an
  // override raises nothing.
  virtual void Error(const char* AMessage, int AData) const;
  void LogNotifyDetails(std::string_view which) override;

  void CheckIndex(int AIndex) const {
    if (AIndex < 0 || AIndex >= FCount) RaiseIndex(AIndex);
  }

  // The entry's index, looked for at `near` first; -1 without it.
  int FindEntry(TObjectHandle entry, int near) const;
  // Takes the reference of the entry that was stored there; where that fails the entry goes again.
  void Retain(TplPerObject* AObject, int AIndex);

  int FCurrIndex = 0;

 private:
  struct TEvents;
  struct TFiltering;
  [[noreturn]] void Raise(const char* message, int data) const;
  [[noreturn]] void RaiseIndex(int AIndex) const;
  void TakeOut(TObjectHandle entry, int near);
  TEvents& NeedEvents();
  TFiltering& NeedFiltering();

  std::unique_ptr<TObjectHandle[]> FList;
  int FCount = 0;
  int FCapacity = 0;
  bool FReadOnly = false;
  std::unique_ptr<TEvents> FEvents;        // most lists have none
  std::unique_ptr<TFiltering> FFiltering;  // nor this
};

}  // namespace perlayer
