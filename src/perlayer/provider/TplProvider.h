#pragma once
// TplProvider: the mapper of one business class. An application derives one per class; there is one
// live instance, held by its class map. It knows the class's query, ID attribute and active field,
// turns a fetch into SQL, opens it and makes objects from rows.
//
// Names: provider TplPatient makes objects of TpoPatient from query quPatient.
//
// A fetched object has the caller's retainer as its first one: one reference is the caller's, to be
// given back with Release(ARetainer). nullptr means that there is no such row.
//
// Main thread only. FIncludeDeactivated and the replacement texts hold for one call, and a nested
// fetch through the same provider sees them.

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "perlayer/corekit/TStatementText.h"
#include "perlayer/foundation/TplAuthorizedObject.h"
#include "perlayer/platform/TDelegate.h"
#include "perlayer/platform/TStringList.h"
#include "perlayer/platform/Text.h"
#include "perlayer/reclaim/TIPerLayerSettings.h"

namespace perlayer {

class TDataSet;
class TIProviderCallBacks;
class TIQuery;
class TPlBoList;
class TPlClassMetaData;
class TplBOListWithSubClass;
class TStream;
class TcmpClassMap;
class TplPerObject;
class TplProviderList;
struct TColumnLayout;
enum class TFieldType : std::uint8_t;

enum class TIObjectExistsInDatabaseResult : std::uint8_t { edNotExists, edExists, edDeleted };

using TIOnSetAttrErrorEvent =
    TDelegate<void(std::string& AsAttr, std::string& AsMessage, bool& AIgnoreStandard)>;
using TIOnParseParamText =
    TDelegate<std::string(TplPerObject* APerObject, const std::string& AValue)>;
using TIOnOne2OneViolationType = TDelegate<void(TObject* ASender, TPlBoList* AboList)>;
using TIOnReloadObjectsInDictionary = TDelegate<void(TplPerObject* APerObject)>;

// Where the attributes of a class stand in the rows of one statement.
struct TRowBinding {
  struct TColumn {
    int index = -1;
    bool isDate = false;
  };
  std::shared_ptr<const TColumnLayout> layout;
  std::vector<TColumn> columns;  // by attribute
};

// What a parameter of a statement stands for in a class: the value of an attribute or, named
// ":OLD_X", the one from before the edit.
struct TParamMeaning {
  int index;  // of the attribute; -1: it is none
  bool isOld;
  TFieldType type;
};

// The same of all parameters of one statement.
struct TParamBinding {
  TStatementTextPtr statement;
  int attributes = 0;   // how many the class had then
  bool isPlain = true;  // each stands for the value of an attribute
  std::vector<TParamMeaning> params;
};

class TplProvider : public TplAuthorizedObject {
  TCLASS(TplProvider, TplAuthorizedObject)
 public:
  // REQUIRES: ARetainer is a TcmpClassMap; anything else is shown and raises EInvalidCast. Raises
  // "No query for %s" when the map has no query of the class.
  void Create(TPlBaseObject* AOwner, TObject* ARetainer) override;
  void Destroy() override;

  // --- what a class overrides ---

  virtual TPlClassMetaData* GetMetaData();
  // Copies the class's query from the class map, with the replacements that hold for this call.
  virtual void GetQuery(TIQuery* quDest);
  // Line 0 is the select list, line 1 the FROM.
  virtual void OverrideReplacementSELECTorFROM(TIQuery* quDest);
  virtual void SetQueryName();
  // Puts the condition, with that on the active field, into the query. The order is not used: lists
  // are sorted in memory.
  virtual bool FetchSpecToSQL(TIQuery* Query, const std::string& FetchSpec,
                              const std::string& Order);
  virtual void IdToSQL(const std::string& sId, TIQuery* NewQuery);
  // Which provider makes the object of the current row. An override reads a discriminating column
  // and may put into AObjectSQL a new query that reads the subclass's own table; it becomes the
  // caller's to free.
  virtual TplProvider* GetProviderFromDataSet(TDataSet* ASourceDataSet, TIQuery*& AObjectSQL);
  // Makes an empty object of the class, with `this` as owner.
  virtual TplPerObject* InternalCreateObject(TObject* ARetainer) = 0;
  virtual void ResetInternalCache();
  virtual void Finalize() {}
  virtual bool GetRegisterNotify() { return FbRegisterNotify; }
  virtual void SetRegisterNotify(bool ARegisterNotify) { FbRegisterNotify = ARegisterNotify; }
  virtual void OnSetAttrError(std::string& AsAttr, std::string& AsMessage, bool& AIgnoreStandard);
  virtual void DoCommit() {}
  virtual void DoRollback() {}
  virtual bool GetIncludeDeactivated() { return FIncludeDeactivated; }
  // The first part of an object's key; classes that share it share identity.
  virtual std::string GetTableNameKeyForDict();
  // A new open query on the row of that ID, yours to free. With AFreeExisting the one that AQuery
  // refers to is freed first.
  virtual void GetQueryForObject(const std::string& sId, TIQuery*& AQuery, bool AFreeExisting);
  virtual TplPerObject* GetObject(TObject* ARetainer, const std::string& sId,
                                  bool bIncludeSubclasses);
  // An object that has no row yet, with the class's defaults and, in green mode, a temporary ID.
  // Raises "%s nima pravice kreirati objekta!" where the class does not offer inserting.
  virtual TplPerObject* NewObject(TObject* ARetainer);
  virtual void SetDefaultNewObjectValues(TplPerObject* ANewObject);
  // An object of the current row of an open data set.
  virtual TplPerObject* GetObjectFromDataSet(TObject* ARetainer, TDataSet* ds,
                                             bool bIncludeSubclasses);
  // ACorrectProvider makes the object; nullptr: the one that the row tells. An empty data set is
  // told to the user and gives nullptr.
  virtual TplPerObject* FetchObjectFromDataSet(TObject* ARetainer, TDataSet* ds,
                                               TplProvider* ACorrectProvider);
  // The object that the condition (SQL) finds. When it finds several: the first, after the event
  // aiOnOne2OneViolation has been given a list of all; without that event it raises.
  virtual TplPerObject* FetchObject(TObject* ARetainer, const std::string& FetchSpec,
                                    bool bIncludeSubclasses);
  // A new empty list of this provider.
  virtual TPlBoList* GetObjectList(TObject* ARetainer);
  // A new list of the objects that the condition (SQL; empty: all) finds, in that order (see
  // TPlBoList::OrderBy). nullptr where whoever was called on the way has released it.
  virtual TPlBoList* FetchObjectList(TObject* ARetainer, const std::string& FetchSpec,
                                     const std::string& Order, bool bIncludeSubclasses);
  // The same with another select list and FROM, for this call; an empty text replaces nothing.
  virtual TPlBoList* FetchObjectListWithReplacementSELECTandFROM(
      TObject* ARetainer, const std::string& FetchSpec, const std::string& Order,
      bool bIncludeSubclasses, const std::string& AReplacementSELECT,
      const std::string& AReplacementFROM);
  virtual std::string GetIDAttrName();
  // The shared query that describes the fields of an object's statements.
  virtual TIQuery* GetQueryForBo(TplPerObject* APerObject);

  // ASQL narrowed to the attributes that the object has changed; ASQL itself when that is switched
  // off, not possible, or nothing has changed. Raise "Attribute not defined %s [%s]" for a column
  // that is no attribute.
  virtual std::string GetOptimizedInsertStatementForBo(const std::string& ASQL,
                                                       TplPerObject* AplPerObject);
  virtual std::string GetOptimizedModifyStatementForBo(const std::string& ASQL,
                                                       TplPerObject* AplPerObject);
  // Cuts the assignment of the ID out, by the first places where its name and its parameter stand.
  virtual std::string RemoveIdFieldFromModifyStatement(const std::string& ASQL,
                                                       const std::string& AIdAttrName);

  // Whether this provider makes objects of that class, by the rule of names.
  virtual bool CreatesClass(std::string_view AClassName);
  virtual std::string DoGetUser_IPLFieldName() { return "USER_IPL"; }
  virtual std::string DoGetDatumIPLFieldName() { return "DATUMIPL"; }

  TIAccessRights GetRights() override { return {TIAccessRight::arInsert}; }
  int GetImageIndex() override { return 59; }
  std::string GetTextDescription() override { return GetCaption(); }

  // --- what an application calls ---

  // Whether the ID attribute has that name, in any case.
  bool IsIDAttr(std::string_view AName) {
    const std::string& id = IDAttrName();
    // Most names differ in their first letter already.
    const int a = AName.empty() ? 0 : AName[0] | 0x20;
    const int b = id[0] | 0x20;
    return (a == b || (a | b) < 0) && SameText(AName, id);
  }
  // GetIDAttrName, without a copy where the class leaves that as it is. Lives until the next call.
  const std::string& IDAttrName() {
    if (!FHasPlainID || FIdAttrName.empty()) return FAskedIDAttrName = GetIDAttrName();
    return FIdAttrName;
  }

  // As FetchObject with the condition sAttrName='sAttrValue'. The value is not escaped.
  TplPerObject* GetObjectFor(TObject* ARetainer, const std::string& sAttrName,
                             const std::string& sAttrValue, bool bIncludeSubclasses);
  // As FetchObjectList with that condition.
  TPlBoList* GetListFor(TObject* ARetainer, const std::string& sAttrName,
                        const std::string& sAttrValue, const std::string& sOrder,
                        bool bIncludeSubclasses);
  // As FetchObjectList, into a list that can be divided by classes.
  TplBOListWithSubClass* FetchObjectListWithSubClass(TObject* ARetainer,
                                                     const std::string& FetchSpec,
                                                     const std::string& Order,
                                                     bool bIncludeSubclasses);
  // A new list of the objects of those IDs, fetched so many at a time (0: all at once). The IDs
  // stand in the statement as they are given.
  TPlBoList* FetchObjectListFromIDList(TObject* ARetainer, const TStringList* AIDList,
                                       int AMaxObjectsInOneFetch);
  // Whether the row is there, deactivated or not.
  TIObjectExistsInDatabaseResult ExistsInDatabase(const std::string& sID);
  // Reloads the object of that ID, or calls the event in its stead, if it is in memory.
  void ReloadObjectInGlobalDictionary(const std::string& AGid,
                                      const TIOnReloadObjectsInDictionary& AOnReloadEvent);
  // Fetches anew what an open data set shows and is in memory, and returns to its row: each such
  // object goes to the one event before, each fetched one to the other event after the fetch. A
  // closed data set shows nothing.
  void ReloadObjectsInGlobalDictionary(TDataSet* ADataSet,
                                       const TIOnReloadObjectsInDictionary& AOnReloadEvent,
                                       const TIOnReloadObjectsInDictionary& AOnFetchEvent);
  // A timing aid: FetchObject, then 20001 rounds of fetching from the open row. Answers nullptr.
  TplPerObject* FetchObjectTest(TObject* ARetainer, const std::string& FetchSpec,
                                bool bIncludeSubclasses);

  // The statements that write a row of the class, made on first use from the update SQL of the
  // class map: one statement, or for several tables a block of one for each. Inserts and updates go
  // by the order of the map, deletes the other way round. Raise "No UpdateSQL for %s".
  void GetSQLStatements();
  const std::string& GetInsertStatement();
  const std::string& GetModifyStatement();
  const std::string& GetDeleteStatement();
  // The text of the class's query, whole and without the line below its last WHERE.
  std::string GetSelectStatement();
  std::string GetSelectStatementWithoutParameters();
  // One statement narrowed; empty when the object has changed nothing in it.
  std::string OptimizeInsertStatement(TplPerObject* AplPerObject, const std::string& ASQL);
  std::string OptimizeModifyStatement(TplPerObject* AplPerObject, const std::string& ASQL);
  // Large objects of the class's table, by the ID of the row: see TISQLHelper. The caller's
  // transaction covers a save. LoadBlob appends to the stream at its position and answers whether
  // the stream has any bytes then.
  void SaveBlob(const std::string& AGID, const std::string& ABlobFieldName, TStream* AData);
  void SaveClob(const std::string& AGID, const std::string& AClobFieldName, std::string AData);
  bool LoadBlob(const std::string& AGID, const std::string& ABlobFieldName, TStream* AData);
  std::string LoadClob(const std::string& AGID, const std::string& AClobFieldName);
  // False for a statement that returns values: it keeps its columns.
  bool AllowedToOptimizeQuery(const std::string& ASQL);
  // The list becomes the statements of a block.
  void GetSQLStatementsList(const std::string& ACombinedSQLStatement, TStringList& ASQLList);

  // Raises the exception that tells a row whose class cannot be told. May be called on nullptr.
  [[noreturn]] static TplProvider* CannotDetermineProvider(
      TplProvider* AProvider, const std::string& AField, const std::string& ACurrentValue,
      std::span<const std::string> AValidValues);
  // The defaults of the class, written as while initializing; nullptr is left alone.
  void SetDefaultValues(TplPerObject* AplObject);
  void CheckQueryExistance();

  std::string GetCaption();
  TStringList* GetDefaults();  // NAME=VALUE lines; this object's
  // The table of the class's INSERT statement, without its owner.
  std::string GetTableName();
  void SetTableName(const std::string& ATableName) { FsTableName = ATableName; }
  void SetActiveFieldName(const std::string& AName) { FActiveFieldName = AName; }
  void SetOptimizationSet(TIProviderOptimizationSet ASet) { FOptimizationSet = ASet; }
  TIProviderOptimizationSet GetOptimizationSet() const { return FOptimizationSet; }
  void SetOnSetAttrErrorEvent(TIOnSetAttrErrorEvent event) {
    FOnSetAttrErrorEvent = std::move(event);
  }
  std::string GetUser_IPLFieldName() { return DoGetUser_IPLFieldName(); }
  std::string GetDatumIPLFieldName() { return DoGetDatumIPLFieldName(); }
  void OnCommit() { DoCommit(); }
  void OnRollback() { DoRollback(); }

  // Where the attributes stand in rows of that layout; worked out once per layout. Raises when an
  // attribute has no column.
  const TRowBinding& BindRow(const std::shared_ptr<const TColumnLayout>& layout);
  // What the parameters of that statement stand for; worked out once for each of the statements
  // that were used last.
  std::shared_ptr<const TParamBinding> BindParams(const TStatementTextPtr& statement);

  // The provider registry and the application's hooks for all providers.
  static TplProviderList* GetProviderList();
  static TIProviderCallBacks* GetCallBackObject();
  // In green mode, on at start, new objects get a temporary ID and stay out of the dictionary.
  static bool GetGreenMode();
  static void SetGreenMode(bool AGreenMode);

  TPlClassMetaData* aiMetaData() { return GetMetaData(); }
  const std::string& aiActiveFieldName() const { return FActiveFieldName; }
  void aiActiveFieldName(const std::string& name) { SetActiveFieldName(name); }
  std::string aiTableName() { return GetTableName(); }
  void aiTableName(const std::string& name) { SetTableName(name); }
  const std::string& aiTableOwner() const { return FsTableOwner; }
  void aiTableOwner(const std::string& owner) { FsTableOwner = owner; }
  TIProviderOptimizationSet aiOptimization() const { return GetOptimizationSet(); }
  void aiOptimization(TIProviderOptimizationSet set) { SetOptimizationSet(set); }
  const std::string& aiTablePrefix() const { return FTablePrefix; }
  void aiTablePrefix(const std::string& prefix) { FTablePrefix = prefix; }
  const TIOnParseParamText& aiOnParseParamText() const { return FOnParseParamText; }
  void aiOnParseParamText(TIOnParseParamText event) { FOnParseParamText = std::move(event); }
  TStringList* aiDefaults() { return GetDefaults(); }
  bool aiBindVariables() const { return FBindVariables; }
  void aiBindVariables(bool bind) { FBindVariables = bind; }
  bool aiRegisterNotify() { return GetRegisterNotify(); }
  void aiRegisterNotify(bool notify) { SetRegisterNotify(notify); }
  const TIOnSetAttrErrorEvent& aiOnSetAttrErrorEvent() const { return FOnSetAttrErrorEvent; }
  void aiOnSetAttrErrorEvent(TIOnSetAttrErrorEvent event) {
    SetOnSetAttrErrorEvent(std::move(event));
  }
  const TIOnOne2OneViolationType& aiOnOne2OneViolation() const { return FOnOne2OneViolation; }
  void aiOnOne2OneViolation(TIOnOne2OneViolationType event) {
    FOnOne2OneViolation = std::move(event);
  }
  TcmpClassMap* aiClassMap() const;  // raises "No class map defined for provider %s"
  // The class map as a retainer: nullptr once it has gone.
  TObject* ClassMapAsRetainer() const { return cmpClassMap.Get(); }
  const std::string& aiQueryName() const { return FQueryName; }
  void aiQueryName(const std::string& name) { FQueryName = name; }
  bool aiIncludeDeactivated() { return GetIncludeDeactivated(); }
  void aiIncludeDeactivated(bool include) { FIncludeDeactivated = include; }
  std::string aiCaption() { return GetCaption(); }
  std::string aiTableNameKeyForDict() { return GetTableNameKeyForDict(); }
  std::string aiInsertStatement() { return GetInsertStatement(); }
  std::string aiModifyStatement() { return GetModifyStatement(); }
  std::string aiDeleteStatement() { return GetDeleteStatement(); }
  std::string aiSelectStatement() { return GetSelectStatement(); }
  std::string aiSelectStatementWithoutParameters() { return GetSelectStatementWithoutParameters(); }
  // The last condition, for diagnostics.
  const std::string& FetchSpecOfLastFetch();

 protected:
  TIQuery* ClassMapQuery();
  // A query of the class with the condition in it, open.
  TIQuery* OpenFetchSpec(const std::string& FetchSpec);

  TPlClassMetaData* FMetaData = nullptr;  // one reference is this provider's
  std::string FActiveFieldName;
  std::string FIdAttrName;
  std::string FsTableName;
  std::string FsTableOwner;
  TIProviderOptimizationSet FOptimizationSet;
  std::string fInsertStatement;
  std::string fModifyStatement;
  std::string fDeleteStatement;
  std::string FTablePrefix;
  TIOnParseParamText FOnParseParamText;
  TStringList* FDefaults = nullptr;  // owned
  std::string FReplacementFROM;
  std::string FReplacementSELECT;
  bool FBindVariables = true;
  bool FbRegisterNotify = true;
  TIOnSetAttrErrorEvent FOnSetAttrErrorEvent;
  TIOnOne2OneViolationType FOnOne2OneViolation;
  TObjectHandle cmpClassMap;  // also the retainer
  std::string FQueryName;
  bool FIncludeDeactivated = false;

 private:
  friend class TClass;
  // What class T leaves as it is here.
  enum TTrait : std::uint32_t { kPlainID = 1 };
  template <class T>
  static constexpr std::uint32_t ClassFacts() {
    if constexpr (requires {
                    requires std::is_same_v<decltype(&T::GetIDAttrName),
                                            decltype(&TplProvider::GetIDAttrName)>;
                  }) {
      return kPlainID;
    } else {
      return 0;
    }
  }
  const bool FHasPlainID = (ClassType().Facts() & kPlainID) != 0;
  std::string FAskedIDAttrName;  // as it was answered last
  void AppendActiveCondition(TIQuery* query);
  TOwned<TList> UpdateSQLList();  // not empty
  std::string QualifiedTableName();
  struct TCutStatement;
  struct TCutText;
  TCutStatement CutInsert(const std::string& ASQL);
  TCutStatement CutModify(const std::string& ASQL);
  std::shared_ptr<const TCutText> Cut(TIProviderOptimization kind, const std::string& ASQL);
  std::string NarrowStatement(const TCutStatement& cut, TplPerObject* AplPerObject);
  std::string Narrowed(TIProviderOptimization kind, const std::string& ASQL,
                       TplPerObject* AplPerObject);
  std::string RowText(TDataSet* ds, const std::string& field);
  struct TFetch {
    TObject* retainer;
    const std::string& condition;
    bool includeSubclasses;
  };
  void CheckOneRow(TIQuery* query, TplPerObject* object, const TFetch& fetch);
  void InternalFetchObjectList(TPlBoList* AboList, const std::string& AFetchSpec,
                               const std::string& AOrder, bool AbIncludeSubClasses);
  TPlBoList* FillList(TPlBoList* list, const TFetch& fetch, const std::string& order);

  std::vector<std::shared_ptr<const TCutText>> FCutTexts;            // the last used first
  TObjectHandle FClassMapQuery;                                      // as it was found last
  TRowBinding FRowBinding;                                           // of the layout that came last
  std::vector<std::shared_ptr<const TParamBinding>> FParamBindings;  // the last used first
  // The statement that the active condition was last appended to, and what came of it.
  TStatementTextPtr FActiveFrom;
  TStatementTextPtr FActiveTo;
  std::string FActiveToField;
  std::string FsFetchSpec;  // the last condition; that of a fetch by ID is not put together
  std::string FFetchedID;   // before somebody asks: until then this is the ID, else empty
};

// The provider of classes that link to another database.
class TplProviderDBLink : public TplProvider {
  TCLASS(TplProviderDBLink, TplProvider)
};

// A new temporary ID: "-1", "-2" ...
std::string CDefNumericNoIdValue();
// False for an empty text, true when it begins with "-".
bool IndexIsTemporary(std::string_view AId);

}  // namespace perlayer
