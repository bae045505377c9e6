#pragma once
// TplGlobalDictionary: the identity map. One entry for each live persistent object, from its key
// (its provider's key and its ID, nothing between, compared in any case) to the object. Every fetch
// passes through it, so that two holders of a row hold the same object.
//
// It holds nobody: an object lives by its retainers alone, and leaves the map when it goes. Keys of
// one provider key are neighbours, in the order of a sorted string list. An entry whose object has
// gone without leaving is deleted by whoever reads it.
//
// Invariant, while the switch is on: no two live objects with an entry have the same key, and the
// entry of an object stands under the ID that it has.
//
// A class that is only read may have no key. While the map is empty nobody is asked for one.
//
// The switch, aiUSEDICTIONARY, is off at start. The layer also turns it off and on as a mode of the
// code that is running: while a fetched twin is copied into the entry and ends, and in a reload.
//
// It also decides how objects are reclaimed: aiReleaseType, and Decide. Main thread only.

#include <cstdint>
#include <string>

#include "perlayer/foundation/TPlDictionary.h"
#include "perlayer/platform/Exception.h"
#include "perlayer/platform/TDelegate.h"
#include "perlayer/platform/TLayer.h"
#include "perlayer/reclaim/TFindTimes.h"
#include "perlayer/reclaim/TIReleaseType.h"

namespace perlayer {

class TPlBoList;
class TplPerObject;
class TplProvider;

class TplGlobalDictionary : public TPlDictionary {
  TCLASS(TplGlobalDictionary, TPlDictionary)
 public:
  void Create();
  void Destroy() override;

  // --- looking up ---

  // The key under which the object of that ID stands.
  static std::string Key(TplProvider* AProvider, const std::string& AID);
  int ObjectIndex(TplProvider* AProvider, const std::string& AID);  // -1 when it is not there
  // The live object of the row, with one more reference, ARetainer's. nullptr, and the caller goes
  // to the database: it is not in memory, the switch is off, or AProvider is nullptr.
  TplPerObject* GetObject(TObject* ARetainer, TplProvider* AProvider, const std::string& AID,
                          bool AIncludeSubclasses);
  // The same for a provider, with the switch on; the statistics time it as well.
  TplPerObject* GetObjectForProvider(TObject* ARetainer, TplProvider* AProvider,
                                     const std::string& AID);
  // The same by the whole key.
  TplPerObject* GetObjectByObjectIndex(TObject* ARetainer, const std::string& AKey);
  // The live object or nullptr, whatever the switch says. Adds no reference.
  TplPerObject* TakeObject(TplProvider* AProvider, const std::string& AID);
  // The object that the condition NAME = VALUE tells by an exact value, among those of AProvider,
  // with one more reference. nullptr, and the caller goes to the database: there is none in memory,
  // or the condition is another one. Walks the objects of the provider.
  TplPerObject* FetchObject(TObject* ARetainer, TplProvider* AProvider,
                            const std::string& AFetchSpec);
  TplPerObject* GetPerObjectWithIndex(int AIndex);
  // The lowest index whose key begins with the provider's, or -1. A provider key that begins like
  // this one matches too.
  int GetFirstObjectIndexForProvider(TplProvider* AProvider);
  // The entry's object. One that has gone, or is no persistent object, is told in the log, its
  // entry is deleted, and the answer is nullptr.
  using TPlDictionary::Objects;
  TObject* Objects(int AIndex) const override;

  // --- entries ---

  // Enters an object, under its own provider's key; true, also with the switch off. Raises when
  // there is no object ("Object=nil!"), it has no provider, or its key is taken.
  bool AddPerObject(TplProvider* AProvider, TplPerObject* AObject, TObject* ARetainer);
  // Makes one of a freshly fetched object, which ARetainer holds, and the entry of its key: the
  // entry takes the fetched values and comes in the place of the fetched object. Without an entry
  // the object gets one. What copying raises leaves the switch off.
  // Whatever it raises, ARetainer holds what AObject is then; nullptr where ARetainer has let go of
  // it meanwhile.
  void ConsultDictionary(TObject* ARetainer, TplPerObject*& AObject);
  // The same for each member of a list, which holds them itself. Keys are those of the list's
  // provider. Raises when an entry is of a class that has nothing to do with the member's.
  void ConsultDictionaryForList(TPlBoList*& AList, TObject* ARetainer);
  // Moves the object to another key and returns its index; -1 with the switch off. An object that
  // stood nowhere is entered; one that gets a temporary ID in green mode leaves (-1). A key that is
  // taken stays with who has it.
  int ChangeID(TplProvider* AProvider, const std::string& AOldID, TplPerObject* AObject,
               const std::string& ANewID);
  // The object goes: takes its entry out, if the entry is that object's, and answers whether it
  // was.
  bool RemoveFromDictionary(TplPerObject* AObject);
  // Copies a fetched twin into the entry of its key, edited or not.
  void AssignFieldValuesToObjectInDictionary(TplPerObject* ATwin);

  // The watch over destruction, on with the system parameter "CHECKRELEASING" = "True": an object
  // that is entered again while it is being destroyed is told in the log. AKey is empty while the
  // watch is off.
  void AddToReleasingList(TplPerObject* AObject, std::string& AKey);
  void RemoveFromReleasingList(const std::string& AKey);
  void CheckExistanceInReleasingList(const std::string& AKey, TObject* ARetainer);

  // --- reading anew ---

  // Fetches the row of an object again, by ASpec (SQL) if that is not empty, and copies it into the
  // live object; a row that is gone marks the object deleted. Of a list, see TPlBoList::Reload.
  // Notifies with paReload. Raises "TplGlobalDictionary.Reload: Class not valid!" for anything
  // else.
  void Reload(TObject* AObject, const std::string& ASpec);

  // --- relations in memory ---

  // The objects of AProvider whose AChildAttr has the value of AOwner's AOwnerAttr, ordered by
  // AOrder if that is not empty. They come into AResult, which is made for AOwner on need, and
  // which is the answer. Looks at AList alone where the setting aiLimitedOne2ManyRelation is on and
  // a list is given, else at the whole dictionary.
  TPlBoList* GetOne2ManyRelation(TPlBoList* AList, TplPerObject* AOwner, TPlBoList*& AResult,
                                 const std::string& AChildAttr, TplProvider* AProvider,
                                 const std::string& AOwnerAttr, const std::string& AOrder);
  // Adds to what AResult has. AOwner's value is read under AChildAttr too: one name on both sides.
  TPlBoList* GetOne2ManyRelationOptimized(TPlBoList* AList, TplPerObject* AOwner,
                                          TPlBoList*& AResult, const std::string& AChildAttr,
                                          TplProvider* AProvider, const std::string& AOwnerAttr,
                                          const std::string& AOrder);
  // Replaces what AResult has.
  TPlBoList* GetOne2ManyRelationOld(TplPerObject* AOwner, TPlBoList*& AResult,
                                    const std::string& AChildAttr, TplProvider* AProvider,
                                    const std::string& AOwnerAttr, const std::string& AOrder);

  // --- reclamation ---

  // Whether the object goes when ARetainer lets go of it.
  bool Decide(TplPerObject* AObject, TObject* ARetainer);
  TIReleaseType aiReleaseType() const { return FReleaseType; }
  void aiReleaseType(TIReleaseType type) { SetReleaseType(type); }
  // Raises "TplGlobalDictionary.SetReleaseType: Cannot swith release type!" for a change that
  // MayFollow refuses, and "Not implemented yet: %s" for types that need a collector or a thread.
  void SetReleaseType(TIReleaseType AType);
  // There is neither yet.
  bool GetUseGarbageCollector() const { return false; }
  bool GetUseReleaserThread() const { return false; }
  bool GetUseThreadGarbageCollector() const {
    return FReleaseType == TIReleaseType::rtThreadSimple;
  }

  // --- the switch and what monitors read ---

  bool aiUSEDICTIONARY() const { return FUSEDICTIONARY; }
  void aiUSEDICTIONARY(bool use) { SetUSEDICTIONARY(use); }
  void SetUSEDICTIONARY(bool AUse) { FUSEDICTIONARY = AUse; }

  // How many times GetObject has been answered from memory.
  std::int64_t aiFetchSaveNumber() const { return FFetchSaveNumber; }
  // The longest search and the average, in the weights of TFindTimes; the average is 0 with the
  // switch off.
  double aiMaxFindTime() const { return GetMaxFindTime(); }
  double aiAverageFindTime() const { return GetAverageFindTime(); }
  double GetMaxFindTime() const { return FTimes.Max(); }
  double GetAverageFindTime() const { return FUSEDICTIONARY ? FTimes.Average() : 0; }
  // The bytes of all objects here, without their values.
  std::size_t MemoryUsed();
  void GetDictCount(int& ACount) const { ACount = Count(); }
  // Shows the map in the application's diagnostic view, if it has one.
  void ShowDictionary();
  const TNotifyEvent& aiOnShowDictionary() const { return FOnShowDictionaryToGUI; }
  void aiOnShowDictionary(TNotifyEvent event) { FOnShowDictionaryToGUI = std::move(event); }

 private:
  // Runs `search`, timed.
  template <class TSearch>
  auto Timed(TSearch&& search) {
    FTimes.Start();
    return TryFinally(search, [&] { FTimes.Stop(); });
  }
  static bool HasKey(TplPerObject* AObject);
  TplPerObject* Live(std::string_view ABeginning, std::string_view ARest);
  TplPerObject* TakeFor(TObject* ARetainer, TplProvider* AProvider, const std::string& AID);
  // Enters the object unless the key is taken, by whatever: whether it did.
  bool TryEnter(const std::string& AKey, TplPerObject* AObject, TObject* ARetainer);
  void Enter(const std::string& AKey, TplPerObject* AObject, TObject* ARetainer);  // raises then
  template <class TPut>
  void Merge(TplPerObject* AEntry, TplPerObject* ATwin, TObject* AHolder, TPut&& put);
  void ReloadPerObject(TplPerObject* AObject, const std::string& ASpec);
  void ReloadBoList(TPlBoList* AList);
  bool DropMembers(TPlBoList* AList, const TPlBoList* ATwins, bool AUse);
  bool TakeTwins(TPlBoList* AList, const TPlBoList* ATwins, bool AUse, bool ANotify);

  bool FUSEDICTIONARY = false;
  std::int64_t FFetchSaveNumber = 0;
  TFindTimes FTimes;
  TNotifyEvent FOnShowDictionaryToGUI;
  TIReleaseType FReleaseType = TIReleaseType::rtUndefined;
  bool FCheckReleaseWhenAddingToDictionary = false;
  TStringList* FslReleasingList = nullptr;  // owned; sorted
};

// The one instance, made on first call.
inline TplGlobalDictionary* GlobalDictionary() {
  return TLayer::ObjectPart<TplGlobalDictionary>(TLayerPart::dictionary);
}

// For the length of a scope the map is off, or on; then it is as it was.
class TUseDictionary {
 public:
  explicit TUseDictionary(bool AUse) : FOld(GlobalDictionary()->aiUSEDICTIONARY()) {
    GlobalDictionary()->SetUSEDICTIONARY(AUse);
  }
  ~TUseDictionary() { GlobalDictionary()->SetUSEDICTIONARY(FOld); }
  TUseDictionary(const TUseDictionary&) = delete;
  TUseDictionary& operator=(const TUseDictionary&) = delete;

 private:
  const bool FOld;
};

}  // namespace perlayer
