#pragma once
// TplPerObject: the base class of every persistent business object. One instance stands for one
// row, identified by its provider and an ID. Applications derive their classes from it.
//
// All values are text in the store `data`; typed access converts on the way in and out. The number
// that stands for no value is kNoFloat, the date kNoDate.
//
// The road of a change: SetAttrValue takes the object into edit state (TryEdit: lock and Touch),
// writes and validates; SaveData posts, runs one statement within a counted transaction and hears
// from dbProvider() how that ended. After any failure the object keeps the values that the user
// entered, and can be corrected and saved again, or cancelled.
//
// Variables through which an object holds others are registered, usually in Create:
//
//   RegisterAgregatedObjects({&FEncounters});
//
// and filled by relation getters when they are first asked for. When the object ends, what they
// hold is released; see TplPerObjectLife.cpp for the order of ending.
//
// Belongs to the main thread.

#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "perlayer/foundation/TplDomainObject.h"
#include "perlayer/object/TplMember.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TDateTime.h"
#include "perlayer/platform/TDelegate.h"
#include "perlayer/platform/Variant.h"
#include "perlayer/provider/TIboData.h"

namespace perlayer {

class IAttributeValueChanged;
class IboDataSet;
class TDataSet;
class TIObjectPointerList;
class TIParam;
class TIQuery;
class TPlBoList;
class TPlClassMetaData;
class TplBOListWithSubClass;
class TPlDictionary;
class TPlTransaction;
class TStream;
class TStringList;
class TplPerObject;
class TplProvider;
struct TBoundValue;
struct TIValInfoRec;
struct TObjectEdits;
struct TObjectRelations;
struct TParamBinding;
struct TParamMeaning;
enum class TFieldType : std::uint8_t;

enum class TIPersistentObjectState : std::uint8_t {
  posBrowse,
  posEdit,
  posCreating,
  posCreated,
  posInsert
};

// Computes a calculated attribute.
using TCalcAttrValueProc =
    TDelegate<std::string(TplPerObject* APerObject, const std::string& AAttribute)>;

class TplPerObject : public TplDomainObject {
  TCLASS(TplPerObject, TplDomainObject)
 public:
  static constexpr double kNoFloat = -2147483647.0;
  static constexpr TDateTime kNoDate = -1.0;

  // AOwner is the provider. Raises "TplPerObject.Create: Can not create new object without
  // provider!"
  void Create(TPlBaseObject* AOwner, TObject* ARetainer) override;
  void Destroy() override;
  // For a class that is still needed by what is no retainer: true keeps the memory's reclamation
  // away.
  virtual bool CheckForReleaseNotNecessary() { return false; }

  void DoNotifyAction(TplDomainObject* Sender, TIBaseObjectAction ActionType, TObject* Data,
                      TINotifiedObjectList* AVisitedObjectList) override;
  int GetImageIndex() override { return 58; }
  std::string GetTextDescription() override;  // "[17] TpoPatient"
  // Modified itself, or in something that aiLiObjectsModified holds.
  bool GetModified() override { return FModified || (FRelations != nullptr && HeldIsModified()); }
  // False when the user may update the object, or insert it while it is new.
  bool GetReadOnly() override;
  std::string GetHint() override { return GetTextDescription(); }
  void SetLockedBy(TplLockedBy ALockedBy) override;
  TplLockedBy GetLockedBy() override;

  virtual void DeletingFromDictionary() {}  // it has left the dictionary

  // While an object initializes, writes mark nothing as changed.
  virtual void SetInitializingBo(bool AInitializing);
  virtual std::string GetGID();       // the value of the ID attribute
  virtual std::string GetGlobalID();  // the provider's key and the ID, with nothing between
  virtual std::string GetObjectType() { return ClassName(); }
  // After the values have been read; asks for notification of changes here.
  virtual void DoAfterLoad();
  virtual std::string GetAllTextDescription() { return GetTextDescription(); }
  virtual void ResetInternalCache();
  // Marks the row for deletion by the next save, or takes the mark back: locks the object, makes it
  // modified and tells the retainers, with paMarkedDeleted either way.
  virtual void SetObjectMarkedDeleted(bool AMarkedDeleted);
  virtual TPlClassMetaData* GetMetaData();
  // Whether the class follows the time stamp of its row.
  virtual bool GetKeepObjectTimestamp() { return false; }
  virtual bool GetManualNotification() { return false; }
  // The time stamp of the row as the database has it now; kNoDate for classes without, and with a
  // line in the log where it cannot be read.
  virtual TDateTime GetDBTimeStamp();
  virtual void SetTimeStamp(TDateTime ATimeStamp) { FTimeStamp = ATimeStamp; }
  virtual TDateTime GetTimeStamp() { return FTimeStamp; }
  virtual void SetTimeStampAfterGetObject();
  // Makes a just-created object count as unsaved under a throw-away ID.
  virtual void DiposeNewlyCreatedMe();
  virtual void InitializeFromDataSet(TDataSet* ADataSet);
  virtual void InitializeAfterGetDataFromDataSet() {}

  // --- fresh values ---

  // Reads the row anew into the live object, by AFetchSpec (SQL) if that is not empty; the object
  // is no longer edited then, and a cancel returns to the fresh values. A row that is gone marks
  // the object deleted. Raises 'TplPerObject.Reload: Ne morem narediti "reload" za nov objekt!' for
  // a new object without a condition.
  void Reload() override;
  virtual void Reload(const std::string& AFetchSpec);
  virtual void DoReload() { SetNeedToRefresh(false); }
  virtual void Refresh();  // of the data set, if there is one

  // The four below copy values from another object, without marking this one as changed, and answer
  // whether anything differed. The first attribute and the ID stay. A copy that fails changes no
  // value. AssignFields asks ManageDiffrentProvider about an object of another provider.
  bool AssignFields(TplPerObject* AOther);
  virtual bool AssignFieldsForLoad(TplPerObject* AOther);  // the object is not new afterwards
  // As a reload, in which the object cannot go into edit state. With ACheck nothing is copied into
  // an object that is edited or that CanAssignFieldsWithReloadFlag keeps out.
  bool AssignFieldswithReloadFlag(TplPerObject* AOther, bool ACheck);
  // Between classes: what both have, but for this class's ID, its active field and ASkipAttr.
  bool AssignFieldsFromDiffBO(TplPerObject* AOther, const std::string& ASkipAttr);
  // AssignFields; then this object holds what the other, of the same class, holds.
  void Assign(TplPerObject* AOther);
  // The object becomes one of another provider, under whose key the dictionary has it then; values
  // go with it by their names. Raises when there is no provider, or the new key is taken; the
  // object is as it was then.
  void SetProvider(TplProvider* AProvider);
  // Raises "TplPerObject.AssignFields: Different provider! ..."; an override may accept the object,
  // or go over to its provider.
  virtual void ManageDiffrentProvider(TplPerObject* AOther);
  virtual bool CanAssignFieldsWithReloadFlag() { return true; }
  virtual void InitializeFromBo(TplPerObject* AOther);  // raises "Not implemented yet: %s"
  // The attributes that differ, but for ANames: their indices, and a line each for people, with the
  // two titles in parentheses unless they are empty. A list that is nullptr is made and becomes the
  // caller's.
  void DifferenceAttributeList(TplPerObject* AOther, std::initializer_list<std::string_view> ANames,
                               TStringList*& ADiffering, TStringList*& ADescribed,
                               const std::string& AOwnTitle, const std::string& AOtherTitle);

  // --- editing ---

  // Each answers whether the new value is valid; the value stays written either way. Writing the
  // value that is there already changes nothing. Raise when the object or the attribute must not be
  // written, unless the value is what it was before the edit, and "SetAttrValue: Wrong attribute
  // %s(%s) %s!" for one that the class does not have.
  virtual bool SetAttrValue(const std::string& AName, const std::string& AValue);
  virtual bool SetAttrValueCommon(const std::string& AName, const std::string& AValue,
                                  bool ACheckReadOnly);
  // Without any check, and without going into edit state.
  virtual bool SetReadOnlyAttrValue(const std::string& AName, const std::string& AValue);
  virtual bool SetFromXmlAttrValue(const std::string& AName, const std::string& AValue);
  // False, with nothing written, for an empty value and for the one that is there.
  virtual bool ChangeAttrValueIfNotEmpty(const std::string& AName, const std::string& AValue);
  bool ForceSetAttrValue(const std::string& AName, const std::string& AValue);
  // kNoFloat and kNoDate write no value; a date that is none shows a message and writes no value.
  bool SetAttrValueAsFloat(const std::string& AName, double AValue);
  bool SetAttrValueAsDate(const std::string& AName, TDateTime AValue);

  // Takes an object that is not being edited into edit state: locks it, with ALock, and touches it.
  // Raises ELockException when the row has changed in the database meanwhile.
  virtual void TryEdit(bool ALock);
  virtual void TryEdit(const std::string& AName);
  void TryEdit(const char* AName) { TryEdit(std::string(AName)); }
  // Makes the object modified without a changed value: the next save writes the whole row.
  virtual void Touch();
  virtual void UnTouch() { FModified = false; }
  virtual void EditData() {}
  // Puts the values from before the edit back and unlocks. Errors stay.
  void CancelData();
  virtual void DoCancelData() {}
  virtual TPlDictionary* GetReadOnlyAttributes();  // nullptr when no attribute was made read-only
  virtual void SetReadOnly(bool AReadOnly);        // raises: no class has a use for it yet
  bool IsAttributeReadOnly(int AIndex);
  // Makes attributes of this object read-only, in addition to those that are or in their stead.
  void SetReadOnlyFields(std::initializer_list<std::string_view> ANames, bool AClear);
  bool GetObjectHasChangedAttribute(std::initializer_list<std::string_view> ANames);

  // The data set over this object, made on first use; it starts in its edit state when the object
  // may be written. Raises "Not implemented yet: %s" while there are no data sets.
  IboDataSet* GetDataSet();
  void RegisterForAttributeValueChanged(IAttributeValueChanged* AHandler);
  void UnRegisterForAttributeValueChanged(IAttributeValueChanged* AHandler);
  // A value has changed while a data set shows the object: tells the registered handlers.
  virtual void AttributeValueChanged(int AIndex, const std::string& AName,
                                     const std::string& AValue);
  void CallNotifyActionForAttribute(TIBaseObjectAction AAction, const std::string& AName);

  // --- validation ---

  // Every attribute, and the object's own rule if all of them passed.
  virtual bool ValidateObject();
  virtual bool DoValidateObject() { return true; }
  virtual bool ValidateAttribute(const std::string& AName, const Variant& AValue);
  // Returns how many attributes have an error then; 0 when the provider's event has taken it.
  int SetAttrError(const std::string& AName, const std::string& AMessage, TIErrorLevel ALevel);
  void SetAttrNoError(const std::string& AName);
  TIErrorLevel GetAttrErrorLevel(const std::string& AName) const;
  std::string GetAttrErrorMessage(const std::string& AName) const;
  bool IsAttributeValid(const std::string& AName) const;
  int GetWarningCount();
  std::string GetWarningMessage();
  virtual std::string FormatErrorMessage(const std::string& AMessage) { return AMessage; }
  virtual std::string GetPostExceptionPrefixString();

  // --- saving and deleting ---

  // Validates: errors raise EIPostException, warnings are shown. A logically deleted object passes.
  void PostData();
  // Confirms an edit in memory, with no statement.
  void PostDataWithCommit();
  // Writes what has changed, or deletes what is marked, in a transaction of its own or within the
  // open one. Raises what validation, hooks and the database raise; the transaction's level is then
  // rolled back.
  virtual void SaveData();
  virtual void DoSaveData();
  // Posts and runs the statement. REQUIRES: a transaction is open.
  virtual void SaveCurrentData();
  virtual bool CanSaveData() { return FModified || FNewObject; }
  // Raises while the ID is a temporary one.
  void CheckObjectIDTemporary();
  // Deletes the row or, where the class has an active attribute, marks it as deactivated. Raises
  // "Brisanje ni dovoljeno!" without the right.
  void DeleteObject();
  virtual void DoDeleteObject();
  virtual std::string GetInsertStatement() { return data.GetInsertStatement(); }
  virtual std::string GetModifyStatement() { return data.GetModifyStatement(); }
  virtual std::string GetDeleteStatement() { return data.GetDeleteStatement(); }
  // ":OLD_X" gets the value of X from before the edit or, where that is empty, the current one.
  void FillValuesInSqlParams(TIQuery* AQuery);
  // For dbProvider(): the same values without the detour by parameters, as views that live until
  // the object is written. False, with nothing told, where it takes more than what is stored;
  // AFields describes the parameters.
  bool ValuesForStatement(const TParamBinding& ABinding, const TDataSet* AFields,
                          std::vector<TBoundValue>& AValues);
  // For dbProvider(): how the outermost transaction ended.
  virtual void DoInternalCommit();
  virtual void DoInternalRollback();
  void InternalSetModified(bool AModified);
  virtual bool WasObjectInEditState(bool AbEditState) { return AbEditState; }
  virtual void SetObjectTypeForNewObject() {}
  void SetTimeStampAfterSaveObject();
  // Whether the row's time stamp differs from the object's by a second or more, either way.
  bool IsObjectInDbNewer();
  // Commits what reading over a database link has left open.
  void DoForceCommitAfterLoad();

  // Large objects of this object's row in `table`, in which `idField` has the ID: the save empties
  // the object and copies the whole stream into it, the load appends to the stream at its position;
  // both within the session's transaction, and neither ends it. `sql` stands for the statement,
  // with the same parameters; empty: the usual one. A save answers true, a load whether the stream
  // has any bytes then. Both raise what the stream and the database raise; see TISQLHelper.
  virtual bool _DoSaveBlob(const std::string& table, const std::string& idField,
                           const std::string& blobField, TStream* stream, const std::string& sql);
  virtual bool _DoLoadBlob(const std::string& table, const std::string& idField,
                           const std::string& blobField, TStream* stream, const std::string& sql);
  // The value of that attribute to and from the CLOB of its name in the class's table. The load
  // makes nothing modified.
  void SaveClob(const std::string& AName);
  void LoadClob(const std::string& AName);

  virtual void DoBeforeSave() {}
  virtual void DoAfterSave() {}
  virtual void AfterSaveData() {}
  virtual void AfterSaveNonEditedObject() {}
  virtual void DoPostData() {}
  virtual void DoBeforePostDataWithCommit() {}
  virtual void DoPostDataWithCommit() {}
  virtual void DoBeforeDeleteObject() {}
  virtual void DoOnCommit() {}
  virtual void DoOnRollback() {}

  // The five below take objects and TPlBoLists, nil among them; anything else raises "Wrong type in
  // %s". What is done to a list is done to its members.
  static void PostObjectList(std::initializer_list<TPlBaseObject*> AItems);
  static void SaveObjectList(std::initializer_list<TPlBaseObject*> AItems);
  static void DeleteObjectList(std::initializer_list<TPlBaseObject*> AItems);
  static bool CheckForSaved(std::initializer_list<TPlBaseObject*> AItems);  // nothing is unsaved
  static void ChangeAttrValuesInList(const std::string& AName, const std::string& AValue,
                                     std::initializer_list<TPlBaseObject*> AItems, bool AForce);

  // --- relations ---
  //
  // A getter fills its variable on the first call and keeps it in step with the object's own
  // attribute from then on: what a changed value no longer relates to is let go. Values are put
  // into conditions as they are, without escaping.

  // Makes the variables ones through which this object holds others; sets them to nil. Raises when
  // one is registered already. A variable may stand in lists of different purpose.
  void RegisterAgregatedObjects(std::initializer_list<TplBaseObjectPointer*> APointers);
  // The object of AProvider whose AForeignAttr has the value of this object's AOwnAttr; nullptr
  // when there is none. Raises EInvalidCast when that object is no T.
  template <class T>
  T* GetOne2OneRelation(TplMember<T>& AObject, const std::string& AForeignAttr,
                        TplProvider* AProvider, const std::string& AOwnAttr) {
    return static_cast<T*>(One2One(AObject, T::ClassInfo(), AForeignAttr, AProvider, AOwnAttr));
  }
  // The list of all such objects that meet AWhere (SQL, may be empty) too, ordered by AOrder when
  // it is fetched. A list that is there is kept unless its first member no longer belongs to it.
  TPlBoList* GetOne2ManyRelation(TplMember<TPlBoList>& AList, const std::string& AForeignAttr,
                                 TplProvider* AProvider, const std::string& AOwnAttr,
                                 const std::string& AWhere, const std::string& AOrder);
  // The same for a list that can be divided by classes. What it was fetched with stays, and objects
  // that have no row yet look for theirs.
  TplBOListWithSubClass* GetOne2ManyRelation(TplMember<TplBOListWithSubClass>& AList,
                                             const std::string& AForeignAttr,
                                             TplProvider* AProvider, const std::string& AOwnAttr,
                                             const std::string& AWhere, const std::string& AOrder);
  // The variable's list, made on need, gets the members of ASource and no others; without ASource
  // it is let go.
  void SetOne2ManyRelation(TplMember<TPlBoList>& AList, TPlBoList* ASource, TplProvider* AProvider);
  // Lets go of a list whose first member has another value in AForeignAttr than this object in
  // AOwnAttr; an empty list stays.
  void CheckRelationList(TplBaseObjectPointer& AList, const std::string& AForeignAttr,
                         const std::string& AOwnAttr);
  // Takes all members that have another value out of the list.
  void ReCheckAnDeleteUnrelatedFromRelationList(TplMember<TPlBoList>& AList,
                                                const std::string& AForeignAttr,
                                                const std::string& AOwnAttr);
  // Adds those objects of ASource to the result, which is made on need, that relate to this one: by
  // ALinkList, pairs of this class's ID attribute and that of ASource's, or without it by the value
  // of AOwnAttr ("": the ID attribute). An object of an ID that is there already is not added.
  void GetSubObjectList(TPlBoList* ALinkList, TPlBoList* ASource, const std::string& AOwnAttr,
                        const std::string& AFetchSpec, TplMember<TPlBoList>& AResult);
  // Adds all of ASource that are of that class and have those rights.
  void GetSubObjectList(TPlBoList* ASource, TplMember<TPlBoList>& AResult, TplProvider* AProvider,
                        const TClass& AClass, TIAccessRights ARights);

  // Lets go of what a registered variable holds. Raises "Not!" for one that is not registered.
  void ReleaseAgregatedObejct(TplBaseObjectPointer* APointer);
  // Holds what ASource, an object of the same class, holds.
  void AssignRegistredPointers(TplPerObject* ASource);
  // The list becomes what the registered variables hold, under the memory sequences. Raises
  // "TplPerObject(%s).GetNestedObjectList: Podobjekt ne obstaja več!" for what is gone.
  void GetNestedObjectList(TStringList* AList);
  // Lets go of everything that is held, with nothing but the count: what cuts a cycle. AErrorCount
  // counts what is gone already and what would not go; the log tells each.
  void ForgetSubobjects(int& AErrorCount);
  TIObjectPointerList* aiLiAgregatedObjectList();  // made on first use, as the next
  // Variables whose contents count as this object's where GetModified is asked;
  // RegisterAgregatedObjects alone does not make them so.
  TIObjectPointerList* aiLiObjectsModified();

  // --- the end ---

  // One holder less. The last one's release ends the object: BeforeDestroy, the count, destruction.
  // What BeforeDestroy raises leaves the object held, and the live one of its row; somebody who
  // holds nothing ends nothing.
  void Release(TObject* ARetainer) override;
  // Whether the object ends when ARetainer lets go: it is the last holder.
  bool ReleaseCountWillBecomeZero(TObject* ARetainer);
  // Ends what needs the object whole: the notification of changes, and what it holds. Whoever takes
  // a reference in aiOnBeforeFree keeps the object as it is.
  virtual void BeforeDestroy();
  void BeforeDestruction() override;
  void RefCountIsZero() override;
  // Ends the object if nobody but what it holds itself holds it; answers whether it did.
  bool Remove();
  void inheritedRelease(TObject* ARetainer) { TplDomainObject::Release(ARetainer); }
  // Gives a reference back with no question asked; the object may end by it all the same. Where its
  // end fails the reference stays.
  void ForceKillRef(TObject* ARetainer);
  void ForceRelease() { Free(); }
  bool aiFinalized() const { return FFinalized; }

  // --- locks and notification ---

  // The variables, which are set to nil, belong to that lock group: refreshing the group reaches
  // what they hold. A group that is added twice is the later one.
  void AddLockGroup(const std::string& AGroup,
                    std::initializer_list<TplBaseObjectPointer*> APointers);
  TIObjectPointerList* GetLockGroups(const std::string& AGroup);  // nullptr when not added
  // Marks the object, if the group is its own, as changed in the database, and what it holds in
  // that group; NotifyRefresh tells the retainers likewise.
  void RefreshLockGroup(const std::string& ALockGroup) override;
  void NotifyRefresh(const std::string& ALockGroup) override;

  // A lock group of "" is locked by nobody. What DoLock raises is the refusal.
  void Lock(TplDomainObject* ARequester, const std::string& AGroup);
  void UnLock(TplDomainObject* ARequester, const std::string& AGroup);
  // Tell the retainers, who may overrule the answer.
  bool NotifyLock(TplDomainObject* ARequester, const std::string& AGroup);
  bool NotifyUnLock(TplDomainObject* ARequester, const std::string& AGroup);
  virtual bool DoLock(TplDomainObject* ARequester, const std::string& AGroup);
  virtual bool DoUnLock(TplDomainObject* ARequester, const std::string& AGroup);
  virtual std::string GetLockGroup();
  virtual std::string GetIsObjectLockedMessage() { return ""; }
  virtual void BeforeAddToListReLock() {}
  virtual void AfterAddToListReLock() {}
  void SetNotify(bool ANotify);
  void RegisterNotify();
  virtual void DoRegisterNotify(bool) {}
  virtual void DoFillMasterDBNotifyGlobalID() {}
  // The key under which the object is told of changes; empty: it is not.
  std::string GetBOMasterDBNotifyGlobalID();
  void SetBOMasterDBNotifyGlobalID(const std::string& AGlobalID);

  // Raise "GetAttrValue Wrong attribute %s(%s) %s" when the class has no attribute of that name.
  virtual std::string GetAttrValue(const std::string& AName);
  virtual std::string GetAttrOldValue(const std::string& AName);
  virtual std::string GetAttrValueForReport(const std::string& AName) {
    return GetAttrValue(AName);
  }
  virtual std::string GetCalcAttrValue(const std::string& AName);

  // No value and a text that is no number read as kNoFloat; the latter is logged.
  double GetAttrValueAsFloat(const std::string& AName);
  // No value and a text that is no date read as kNoDate.
  TDateTime GetAttrValueAsDate(const std::string& AName);
  std::string GetAttrValueAsFormatedDate(const std::string& AName);  // without seconds
  // Unassigned for attributes that are no text, float or date.
  Variant GetAttrValueAsVariant(const std::string& AName);
  // The date that a stored text tells, kNoDate when it is none.
  static TDateTime DateOfText(std::string_view AText);
  double GetAttrOldValueAsFloat(const std::string& AName);
  TDateTime GetAttrOldValueAsDate(const std::string& AName);
  // For what reads many objects: whether this object's class leaves GetAttrValue and GetMetaData as
  // they are here. Then GetAttrValue of a real attribute answers its stored value.
  bool TellsStoredValues() const { return HasFact(kTellsStoredValues); }
  // Lives until the object is written to. Raises EListError outside the store.
  std::string_view StoredValue(int AIndex) const { return data.ValueView(AIndex); }
  // The same by name, in any case. Raises "Attribute not defined %s [%s]" for what is no real
  // attribute.
  std::string_view StoredValue(std::string_view AName) const {
    return data.ValueView(data.GetAttrIndex(AName));
  }
  int AttrCount();
  std::string AttrName(int AIndex);
  bool AttrExists(const std::string& AName);

  TIPersistentObjectState GetEditState() const;
  // posBrowse or posCreated: the next change takes the object into edit state.
  bool IsUnedited() const { return !FModified && !(FNewObject && FInitializingBo); }
  void OnCommit() { DoOnCommit(); }
  void OnRollback() { DoOnRollback(); }
  void SetNewObject(bool ANewObject) { FNewObject = ANewObject; }

  TplProvider* aiProvider() const { return FProvider; }
  TPlClassMetaData* aiObjectMetaData() { return GetMetaData(); }
  std::string aiGID() { return GetGID(); }
  std::string aiGlobalID() { return GetGlobalID(); }
  std::string aiObjectType() { return GetObjectType(); }
  bool aiNewObject() const { return FNewObject; }
  void aiNewObject(bool isNew) { SetNewObject(isNew); }
  // The object was new when the statement of the last save ran.
  bool aiWasNewObject() const { return FOldNewObject; }
  bool aiObjectDeleted() const { return FbObjectDeleted; }
  bool aiObjectMarkedDeleted() const { return FbObjectMarkedDeleted; }
  void aiObjectMarkedDeleted(bool marked) { SetObjectMarkedDeleted(marked); }
  bool aiDeletingObject() const { return FbDeletingObject; }
  bool bInitializing() const { return FInitializingBo; }
  void bInitializing(bool initializing) { SetInitializingBo(initializing); }
  bool aiReloading() const { return FbReloading; }
  IboDataSet* aiDataSet() { return GetDataSet(); }
  TPlDictionary* aiReadOnlyAttributes() { return GetReadOnlyAttributes(); }
  std::string aiLockGroup() { return GetLockGroup(); }
  void aiLockGroup(const std::string& group);
  std::string aiIsObjectLockedMessage() { return GetIsObjectLockedMessage(); }
  bool aiAddToListReLock() const { return FAddToListReLock; }
  void aiAddToListReLock(bool relock) { FAddToListReLock = relock; }
  std::string aiBOMasterDBNotifyGlobalID() { return GetBOMasterDBNotifyGlobalID(); }
  bool aiRegisterNotify() const { return FbRegisterNotify; }
  void aiRegisterNotify(bool notify) { FbRegisterNotify = notify; }
  bool aiNotify() const { return FbNotify; }
  void aiNotify(bool notify) { SetNotify(notify); }
  bool aiIgnoreValidation() const { return FIgnoreValidation; }
  void aiIgnoreValidation(bool ignore) { FIgnoreValidation = ignore; }
  bool aiIsValidatingFromDataSet() const { return FIsValidatingFromDataSet; }
  void aiIsValidatingFromDataSet(bool validating) { FIsValidatingFromDataSet = validating; }
  int aiWarningCount() { return GetWarningCount(); }
  std::string aiWarningMessage() { return GetWarningMessage(); }
  std::string aiPostExceptionPrefixString() { return GetPostExceptionPrefixString(); }
  std::string aiCaption();
  std::string aiAllTextDescription() { return GetAllTextDescription(); }
  TIPersistentObjectState aiEditState() const { return GetEditState(); }
  bool aiDestroying() const { return FDestroying; }
  // The group save that the object belongs to; not owned.
  TPlTransaction* aiTransaction() const;
  void aiTransaction(TPlTransaction* transaction);
  // Called first of all when the object ends.
  const TNotifyEvent& aiOnBeforeFree() const;
  void aiOnBeforeFree(TNotifyEvent event);
  int aiTag() const { return FTag; }
  void aiTag(int tag) { FTag = tag; }
  bool aiEmptyFloatReturnsZero() const { return FbEmptyFloatReturnsZero; }
  void aiEmptyFloatReturnsZero(bool zero) { FbEmptyFloatReturnsZero = zero; }
  const TCalcAttrValueProc& OnCalcAttribute() const;
  void OnCalcAttribute(TCalcAttrValueProc event);

  // For TClass: what a class T of objects leaves as it is here, so that it can be passed over where
  // nothing would come of it. An override that cannot be looked at from here counts as one.
  template <class T>
  static constexpr std::uint32_t ClassFacts() {
    using TReads = std::string (TplPerObject::*)(const std::string&);
    using TTells = std::string (TplPerObject::*)();
    using TDescribes = TPlClassMetaData* (TplPerObject::*)();
    using TValidates = bool (TplPerObject::*)(const std::string&, const Variant&);
    using THears = void (TplPerObject::*)(TplDomainObject*, TIBaseObjectAction, TObject*,
                                          TINotifiedObjectList*);
    std::uint32_t facts = 0;
    // A member that nobody between T and here has declared is a member of this class.
    if constexpr (requires {
                    requires std::is_same_v<decltype(&T::GetAttrValue), TReads>;
                    requires std::is_same_v<decltype(&T::GetMetaData), TDescribes>;
                  }) {
      facts |= kTellsStoredValues;
    }
    if constexpr (requires {
                    requires std::is_same_v<decltype(&T::ValidateAttribute), TValidates>;
                  }) {
      facts |= kValidatesPlainly;
    }
    if constexpr (requires { requires std::is_same_v<decltype(&T::DoNotifyAction), THears>; }) {
      facts |= kHearsNothing;
    }
    if constexpr (requires {
                    requires std::is_same_v<decltype(&T::GetInsertStatement), TTells>;
                    requires std::is_same_v<decltype(&T::GetModifyStatement), TTells>;
                  }) {
      facts |= kHasStatementsOfProvider;
    }
    return facts;
  }

  // Bytes that this object takes, its values included.
  std::size_t MemoryUsed() const { return ClassType().InstanceSize() + data.MemoryUsed(); }

 protected:
  friend class TplGlobalDictionary;
  friend class TplProvider;
  friend class TPlBoList;  // marks a member whose deletion it hears of

  // Create has raised: what it made the object hold goes again.
  void AbandonCreation() override;

  TIboData data;
  std::string FGID;  // set by a fetch by ID; the layer does not read it
  bool FNewObject = false;
  bool FModified = false;
  bool FInitializingBo = false;
  bool FbSavingCurrentData = false;
  bool FbDoSavingData = false;
  TDateTime FTimeStamp = kNoDate;

  // Writes a value, whatever state the object is in.
  bool PrivateSetAttrValue(int AIndex, const std::string& AValue);
  // Whether a write that changes `AOld` to `ANew` makes the object modified.
  bool ModifiedStateChanging(bool AOld, bool ANew) const {
    return !FInitializingBo && !FModified && AOld != ANew;
  }

 private:
  struct TEndEdits {
    void operator()(TObjectEdits* edits) const noexcept;
  };
  struct TEndRelations {
    void operator()(TObjectRelations* relations) const noexcept;
  };
  enum TFact : std::uint8_t {
    kTellsStoredValues = 1,
    kValidatesPlainly = 2,
    kHearsNothing = 4,
    kHasStatementsOfProvider = 8
  };
  std::string CalculatedValue(const std::string& AName, bool AIsCalculated);
  double NoFloat() const { return FbEmptyFloatReturnsZero ? 0.0 : kNoFloat; }

  template <class TCopy>
  bool Copying(TCopy&& copy);
  // For the dictionary: the row as it has been fetched anew, nullptr when it is gone.
  void TakeReloaded(TplPerObject* ATwin, bool AUseDictionary);
  // What the object has is what its row has.
  void TakeAsLoaded() {
    InternalSetModified(false);
    data.CommitValues();
  }
  void CancelAndRefreshDataSet();
  bool HasFact(TFact fact) const { return (FFacts & fact) != 0; }
  // False when a notification would reach nobody but this object, which does nothing about it.
  bool IsHeard() const { return !HasFact(kHearsNothing) || HasNotifiers(); }
  void Notify(TIBaseObjectAction AAction);
  // True when nobody has anything to say about values but the class map.
  bool ValidatesByMapAlone() const;
  // The class map lets the value pass without looking into code lists.
  bool PassesMap(int AIndex);
  bool ValidateCode(const std::string& AName, const std::string& ACode, TIValInfoRec AInfo);

  bool IsShown() const;   // by a data set
  TObjectEdits& Edits();  // made on first use, as Relations
  TObjectRelations& Relations();
  void TestRegistered(const TplBaseObjectPointer& pointer);
  TplPerObject* One2One(TplBaseObjectPointer& variable, const TClass& cls,
                        const std::string& foreignAttr, TplProvider* provider,
                        const std::string& ownAttr);
  // Fetches in this object's name. What the fetch calls may let go of the object: it ends when that
  // is over, and what was kept with it.
  template <class TFetch>
  void HoldingItself(TFetch&& fetch) {
    if (RefCount() < 1) return fetch();  // it is ending
    AddRef(this);
    TryFinally(fetch, [this] { Release(this); });
  }
  // Puts what a fetch has brought, with one reference in it, into a variable.
  void Keep(TplBaseObjectPointer& variable, TPlBaseObject* fetched);
  void LetGo(TplBaseObjectPointer& variable);
  bool HeldIsModified();
  template <class TAction>
  void ForEachInLockGroup(const std::string& group, TAction&& action);
  void ReleaseInDLL(TObject* retainer);
  void TellBeforeFree();
  void ComeBack(bool known, bool notified);
  void TakeDown(TObject* holder);
  void ReleaseHeld();
  void HeadIntoDestruction();
  int AttrIndexToWrite(const std::string& AName);
  [[noreturn]] void RaiseReadOnly(const std::string& AName, const std::string& AValue);
  [[noreturn]] void RaiseReadOnlyField(const std::string& ALabel);
  bool WriteValue(TPlClassMetaData& AMetaData, int AIndex, const std::string& AValue);
  bool WriteID(int AIndex, const std::string& AName, std::string AValue);
  bool EndWrite(int AIndex, const std::string& AName, const std::string& AValue);
  bool EndShownWrite(int AIndex, const std::string& AName, std::string AValue);
  bool ValidateWrite(int AIndex, const std::string& AName, const std::string& AValue);
  bool IsReadOnlyIn(TPlClassMetaData& AMetaData, int AIndex);
  std::string PostErrors(bool& AErrors) const;
  void ReleaseEditing();
  void Deactivate(const std::string& AActive);
  TBoundValue ValueForStatement(const TParamMeaning& AMeaning, TFieldType AType,
                                std::string_view AName);
  void FillValueInSqlParam(TIParam& AParam, const TParamMeaning& AMeaning);
  // Before a statement: what a rollback puts back, unless an earlier one of the transaction has.
  void KeepStateToReturnTo();

  bool FNotChecked = false;  // changed since the last PostData
  bool FbDeletingObject = false;
  bool FbObjectDeleted = false;
  bool FbObjectMarkedDeleted = false;
  bool FbReloading = false;
  bool FbMasterDBNotify = false;
  bool FOldModified = false;  // these two as they were before the first write of the transaction
  bool FOldNewObject = false;
  bool FAddToListReLock = false;
  bool FbRegisterNotify = false;
  bool FbNotify = false;
  bool FHasBeenSavedAndNotComitted = false;
  bool FIgnoreValidation = false;
  bool FIsValidatingFromDataSet = false;
  bool FbEditState = false;  // it was being edited when the save began
  bool FbEmptyFloatReturnsZero = false;
  std::uint8_t FFacts = 0;  // of the class; here they cost no look at the table of objects
  bool FDestroying = false;
  bool FFinalized = false;  // BeforeDestroy has run
  TplLockedBy FLockedBy = TplLockedBy::lbNone;
  int FTag = 0;
  TplProvider* FProvider = nullptr;                        // not owned; never nil after Create
  std::unique_ptr<TCalcAttrValueProc> FCalcAttrValueProc;  // most objects have none
  std::unique_ptr<TObjectEdits, TEndEdits> FEdits;         // nor these
  std::unique_ptr<TObjectRelations, TEndRelations> FRelations;
};

// The object's description and its attributes, a line each, for diagnosis.
std::string DumpPerObject(TplPerObject* AObject);

}  // namespace perlayer
