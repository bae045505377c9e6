#pragma once
// TPlBoList: a list that a provider fills; the unit in which the layer hands query results to the
// application. To the list of objects it adds the provider, the condition that it was fetched with,
// rights, a data set that shows it, and saving and cancelling of all members.
//
//   TPlBoList* list = Provider<TplPatient>()->FetchObjectList(form, "CITY = 'Ljubljana'", "",
//   true); for (TplPerObject* patient : *list) Print(patient->GetTextDescription());
//   list->Release(form);
//
// The retainer given to Create (and to the provider's fetches) holds one reference, to be given
// back with Release.
//
// Main thread only, save for the marks by which the releaser thread and the main thread keep apart:
// SetLockedBy, GetLockedBy, FNewRefs.

#include <atomic>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

#include "perlayer/list/IboListDataSet.h"
#include "perlayer/list/TPlCustomBoList.h"

namespace perlayer {

class TPlBoList : public TPlCustomBoList {
  TCLASS(TPlBoList, TPlCustomBoList)
 public:
  // AOwner is the provider of the members, or nullptr.
  void Create(TPlBaseObject* AOwner, TObject* ARetainer) override;
  void BeforeDestruction() override;
  void Destroy() override;
  void RefCountIsZero() override;

  void DoNotifyAction(TplDomainObject* Sender, TIBaseObjectAction ActionType, TObject* Data,
                      TINotifiedObjectList* AVisitedObjectList) override;
  // Holders through an interface reference stand under the provider.
  int _AddRef() override;
  int _Release() override;
  TIAccessRights GetRights() override { return FRights; }
  virtual void SetRights(TIAccessRights ARights) { FRights = ARights; }
  int GetImageIndex() override { return 81; }
  void SetListFilter(const std::string& AFilter) override;  // and the data set reads anew
  void SetLockedBy(TplLockedBy ALockedBy) override { FLockedBy = ALockedBy; }
  TplLockedBy GetLockedBy() override { return FLockedBy; }

  // Fetches the list's rows anew, by its condition or, without one, by the IDs of its members: live
  // objects take the values, edited or not, members whose rows are not found leave the list, and
  // new rows come in at its end. Calls aiOnReload first. Does nothing within itself.
  void Reload() override;

  // --- members ---

  // As the base; then the list is sorted, where it has an order, and the cursor goes to the
  // object's first entry, unless it is hidden. An object that lost its lock is locked again and
  // saved.
  int Add(TplPerObject* AObject) override;
  // False, with nothing done, for an object that is in the list.
  virtual bool AddToSet(TplPerObject* AObject);
  void Merge(TPlBoList* AList);  // adds all of its members; nullptr: nothing
  // Adds those whose value of the attribute nobody in the list has, or all without an attribute;
  // nobody is told.
  void UnionWithList(TPlBoList* AList, const std::string& AAttr);
  int AddAndRefresh(TplPerObject* AObject);
  bool AddToSetAndRefresh(TplPerObject* AObject);
  int RemoveAndRefresh(TplPerObject* AObject);
  // A new object of the provider, held by AOwner too.
  TplPerObject* NewObject(TObject* AOwner);
  // Deletes the current object, then its entry; the cursor steps back by one.
  void DeleteObject();
  void DeleteFromMemory(int AIndex);  // the entry; nothing in the database

  // Adds an object for each row of the data set; nobody is told. Those that are of another class
  // than the provider's are let go again.
  void LoadFromDataSet(TDataSet* ADataSet, bool AbIncludeSubClasses);

  // --- searches: by the attribute's text, exactly ---

  bool AttrValueExists(const std::string& AAttr, const std::string& AValue);
  // The first that is not marked deleted, or nullptr.
  TplPerObject* ObjectWithAttrValue(const std::string& AAttr, const std::string& AValue);
  // From AStart on; with AbSkipDeleted those that are marked deleted are passed over. -1 if none.
  int IndexOfObjectWithAttrValue(const std::string& AAttr, const std::string& AValue, int AStart,
                                 bool AbSkipDeleted);
  // Among those from AStart on, the one with the smallest date in ADateAttr, which is below 50000.0
  // (ADateAttr "": the first). Only those count that have no value in AEmptyAttr, if that is given.
  int IndexOfObjectWithAttrValueAndMinDateAndEmptyValue(const std::string& AAttr,
                                                        const std::string& AValue, int AStart,
                                                        const std::string& ADateAttr,
                                                        const std::string& AEmptyAttr);
  // Deletes the entries of all that match. Answers 0.
  int DeleteObjectsObjectWithAttrValue(const std::string& AAttr, const std::string& AValue);

  // The first place in a list sorted by the attribute where its text is not below the value, and
  // whether it is the value there; texts compare as people order them, without regard to case.
  bool Find(const std::string& AAttr, const std::string& AValue, int& AIndex);

  // --- order: see TBoOrder.h ---

  // Sorts, unless the order is empty or in force already.
  void OrderBy(const std::string& AOrder);
  // The order is in force from now on: additions follow it. Empty: none is, and nothing is sorted.
  void ForcedOrderBy(const std::string& AOrder);
  // Sorts by the order in force, and puts the cursor on the object unless that is hidden.
  void ResortAndSetCurrentItem(TplPerObject* AObject);
  const std::string& aiOrder() const { return FsOrder; }
  void aiOrder(const std::string& order) { FsOrder = order; }  // for what is added from now on

  // --- saving ---

  // Saves one member after the other. Those that do not pass validation keep nobody from being
  // saved: at the end EIPostException tells all their messages. Any other exception passes at once;
  // what was saved stays saved. A member that is marked deleted leaves the list with its row.
  void SaveObjects(bool AbUseArray);
  bool CanSaveBoListAsArray();
  // Raises "Not implemented yet: %s".
  void SaveBoListAsArray();
  // Cancels the members' edits; the list's own CancelData also takes new members out of the list.
  void CancelObjects();
  void CancelData();

  // --- the data set ---

  // Made on first use. Raises "Not implemented yet: %s" while there are no data sets.
  IboListDataSet* aiDataSet();
  bool DataSetAssigned() const { return FDataSet != nullptr; }
  void Refresh();  // of the data set, if there is one
  void CancelAndRefreshDataSet();

  // Reads the codes of such columns of all members into the cache of their code lists, so that
  // showing the list does not read them one by one.
  static void LoadCatalogueForOneColumn(TPlBoList* AList, const std::string& AColumn);
  void LoadCatalogueForColumns(std::initializer_list<std::string_view> AColumns);

  // --- for the reclamation of whole groups ---

  // The living members under their memory sequences, for whoever walks the graph. Raises
  // "TplBoList(%s).GetNestedObjectList: Podobjekt ne obstaja več!" for one that has gone.
  void GetNestedObjectList(TStringList* AList);
  // Lets go of all members; AErrors counts those that had gone already or would not go.
  void ForgetSubobjects(int& AErrors);
  // Ends the list without letting go of its members, whoever holds it: for whoever has settled
  // both.
  void ForceRelease();
  // Lets go of the list with nothing but the count.
  void ForceKillRef(TObject* ARetainer) { TPlCustomBoList::Release(ARetainer); }
  bool FNewRefs() const { return FbNewRefs; }
  void FNewRefs(bool newRefs) { FbNewRefs = newRefs; }

  TplProvider* aiProvider() const { return FProvider; }
  // The condition (SQL) of the fetch, kept for reloading.
  const std::string& aiFetchSpec() const { return FsFetchSpec; }
  void aiFetchSpec(const std::string& condition) { SetFetchSpec(condition); }
  void SetFetchSpec(const std::string& AFetchSpec) {
    if (FsFetchSpec != AFetchSpec) FsFetchSpec = AFetchSpec;
  }
  TIAccessRights aiRights() { return GetRights(); }
  void aiRights(TIAccessRights rights) { SetRights(rights); }
  const TNotifyEvent& aiOnReload() const;
  void aiOnReload(TNotifyEvent event);

 protected:
  void ClearOnDestroy() override;
  virtual void DoSaveObjects() {}  // ahead of everything that SaveObjects does
  int GetCurrIndex() override;
  void LogNotifyDetails(std::string_view which) override;

 private:
  void LoadRow(TDataSet* dataSet, bool includeSubClasses);
  TplPerObject* Matching(int index, const std::string& attr, const std::string& value) const;

  TplProvider* FProvider = nullptr;  // not owned
  std::unique_ptr<IboListDataSet> FDataSet;
  std::string FsFetchSpec;
  std::string FsOrder;
  std::unique_ptr<TNotifyEvent> FOnReload;  // most lists have none
  TIAccessRights FRights;
  bool FReloading = false;
  std::atomic<bool> FbNewRefs{false};  // references have moved since the last analysis
  std::atomic<TplLockedBy> FLockedBy{TplLockedBy::lbNone};
};

}  // namespace perlayer
