#include "perlayer/reclaim/TplGlobalDictionary.h"

#include "perlayer/corekit/ILog.h"
#include "perlayer/corekit/ISystemParameters.h"
#include "perlayer/foundation/BoMessageDlg.h"
#include "perlayer/foundation/FoundationState.h"
#include "perlayer/object/TplPerObject.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/TPlClassMetaData.h"
#include "perlayer/provider/TplProvider.h"
#include "perlayer/reclaim/TIPerLayerStatistics.h"

namespace perlayer {

// --- life ---

void TplGlobalDictionary::Create() {
  Sorted(true);
  FslReleasingList = New<TStringList>();
  FslReleasingList->Sorted(true);
  FCheckReleaseWhenAddingToDictionary = UpperCase(ParamValue("CHECKRELEASING")) == "TRUE";
}

void TplGlobalDictionary::Destroy() {
  FreeAndNil(FslReleasingList);
  TPlDictionary::Destroy();
  if (TLayer::IsLoaded()) LayerFinalizing(true);
}

void TplGlobalDictionary::SetReleaseType(TIReleaseType AType) {
  using enum TIReleaseType;
  if (!MayFollow(FReleaseType, AType)) {
    throw Exception("TplGlobalDictionary.SetReleaseType: Cannot swith release type!");
  }
  if (AType == rtTimer || AType == rtThreadSimple || AType == rtReleaserThread) {
    NotImplemented("TplGlobalDictionary.SetReleaseType: release by a collector or a thread");
  }
  FReleaseType = AType;
}

// --- looking up ---

std::string TplGlobalDictionary::Key(TplProvider* AProvider, const std::string& AID) {
  return AProvider->GetTableNameKeyForDict() + AID;
}

int TplGlobalDictionary::ObjectIndex(TplProvider* AProvider, const std::string& AID) {
  return Timed([&] { return IndexOf(Key(AProvider, AID)); });
}

// What stands beside the key. An entry whose object has gone is read by its index, which mends the
// list.
TplPerObject* TplGlobalDictionary::Live(std::string_view ABeginning, std::string_view ARest) {
  TFound found;
  if (!FindObject(ABeginning, ARest, found)) return nullptr;
  if (found.cls != nullptr && found.cls->InheritsFrom(TplPerObject::ClassInfo())) {
    return static_cast<TplPerObject*>(found.object);
  }
  const int index = IndexOf(std::string(ABeginning).append(ARest));
  return index < 0 ? nullptr : GetPerObjectWithIndex(index);
}

TplPerObject* TplGlobalDictionary::GetObject(TObject* ARetainer, TplProvider* AProvider,
                                             const std::string& AID, bool) {
  if (!FUSEDICTIONARY || AProvider == nullptr) return nullptr;
  return Timed([&] { return TakeFor(ARetainer, AProvider, AID); });
}

TplPerObject* TplGlobalDictionary::GetObjectForProvider(TObject* ARetainer, TplProvider* AProvider,
                                                        const std::string& AID) {
  return PerLayerStatistics()->Timed(
      TIPerLayerStatisticsStartTimingType::ttDictionary, FTimes,
      [&] { return FUSEDICTIONARY ? TakeFor(ARetainer, AProvider, AID) : nullptr; });
}

TplPerObject* TplGlobalDictionary::TakeFor(TObject* ARetainer, TplProvider* AProvider,
                                           const std::string& AID) {
  TplPerObject* object = TakeObject(AProvider, AID);
  if (object == nullptr) return nullptr;
  object->AddRef(ARetainer);
  ++FFetchSaveNumber;
  return object;
}

TplPerObject* TplGlobalDictionary::GetObjectByObjectIndex(TObject* ARetainer,
                                                          const std::string& AKey) {
  TplPerObject* object = FUSEDICTIONARY ? Live(AKey, {}) : nullptr;
  if (object != nullptr) object->AddRef(ARetainer);
  return object;
}

TplPerObject* TplGlobalDictionary::TakeObject(TplProvider* AProvider, const std::string& AID) {
  if (Count() == 0) return nullptr;
  return Live(AProvider->GetTableNameKeyForDict(), AID);
}

TplPerObject* TplGlobalDictionary::GetPerObjectWithIndex(int AIndex) {
  return As<TplPerObject>(Objects(AIndex));
}

TObject* TplGlobalDictionary::Objects(int AIndex) const {
  try {
    TObject* object = TPlDictionary::Objects(AIndex);
    if (object == nullptr) {
      throw Exception(
          Format("TplGlobalDictionary.GetPerObjectWithIndex: No object at index %s!", AIndex));
    }
    if (!LayerFinalizing() && !Is<TplPerObject>(object)) {
      throw Exception(
          Format("TplGlobalDictionary.GetPerObjectWithIndex: Object at %s - %s not TplPerObject!",
                 AIndex, Strings(AIndex)));
    }
    return object;
  } catch (const std::exception& e) {
    const std::string message = e.what();
    ILog(Format("TplGlobalDictionary.GetObject(%s) (before delete): %s", AIndex, message));
    try {
      const_cast<TplGlobalDictionary*>(this)->Delete(AIndex);
      ILog(Format("TplGlobalDictionary.GetObject(%s) (after delete): %s", AIndex, message));
    } catch (const std::exception&) {
      // There is no such entry: the answer is the same.
    }
    return nullptr;
  }
}

int TplGlobalDictionary::GetFirstObjectIndexForProvider(TplProvider* AProvider) {
  return FindFirstPrefix(AProvider->GetTableNameKeyForDict());
}

namespace {
// The parts of a condition NAME = VALUE; false for any other condition.
bool SplitCondition(const std::string& condition, std::string& name, std::string& value) {
  const std::size_t sign = condition.find('=');
  if (sign == std::string::npos) return false;
  name = Trim(condition.substr(0, sign));
  value = Trim(condition.substr(sign + 1));
  if (value.size() >= 2 && value.front() == '\'' && value.back() == '\'') {
    value = value.substr(1, value.size() - 2);
  }
  return value.find_first_of("='") == std::string::npos;
}
}  // namespace

TplPerObject* TplGlobalDictionary::FetchObject(TObject* ARetainer, TplProvider* AProvider,
                                               const std::string& AFetchSpec) {
  std::string name;
  std::string value;
  if (!SplitCondition(AFetchSpec, name, value) || !AProvider->GetMetaData()->HasAttribute(name)) {
    return nullptr;
  }
  const std::string key = AProvider->GetTableNameKeyForDict();
  int index;
  Find(key, index);
  // By index, and the count read anew: what an attribute is read by may fetch.
  while (index < Count()) {
    const int count = Count();
    TplPerObject* object = GetPerObjectWithIndex(index);
    if (object == nullptr) {
      if (Count() == count) ++index;
      continue;
    }
    TplProvider* provider = object->aiProvider();
    if (provider == AProvider) {
      const TAlive alive(object);
      if (object->GetAttrValue(name) == value && alive) {
        object->AddRef(ARetainer);
        return object;
      }
    } else if (provider == nullptr || provider->GetTableNameKeyForDict() != key) {
      return nullptr;
    }
    ++index;
  }
  return nullptr;
}

// --- entries ---

bool TplGlobalDictionary::AddPerObject(TplProvider* AProvider, TplPerObject* AObject,
                                       TObject* ARetainer) {
  if (!FUSEDICTIONARY) return true;
  if (AObject == nullptr) {
    throw Exception(
        Format("TplGlobalDictionary.AddPerObject: Napačna zahteva za dodajanje objekta s "
               "providerjem %s: Object=nil!",
               AProvider == nullptr ? "nil" : AProvider->ClassName()));
  }
  TplProvider* provider = AObject->aiProvider();
  if (provider == nullptr) {
    throw Exception(Format("TplGlobalDictionary.AddPerObject: Ni providerja za objekt razreda %s!",
                           AObject->ClassName()));
  }
  Enter(Key(provider, AObject->GetGID()), AObject, ARetainer);
  return true;
}

bool TplGlobalDictionary::TryEnter(const std::string& AKey, TplPerObject* AObject,
                                   TObject* ARetainer) {
  if (!Timed([&] { return AddNew(AKey, AObject); })) return false;
  CheckExistanceInReleasingList(AKey, ARetainer);
  return true;
}

void TplGlobalDictionary::Enter(const std::string& AKey, TplPerObject* AObject,
                                TObject* ARetainer) {
  // One that has gone makes room when it is read.
  while (!TryEnter(AKey, AObject, ARetainer)) {
    if (const TplPerObject* other = Live(AKey, {})) {
      throw Exception(
          Format("TplGlobalDictionary.AddPerObject: Objekt razreda %s (ID=%s) je nov, vendar že "
                 "obstaja v slovarju!?  V slovarju je objekt tipa %s.",
                 AObject->ClassName(), AObject->GetGID(), other->ClassName()));
    }
  }
}

int TplGlobalDictionary::ChangeID(TplProvider* AProvider, const std::string& AOldID,
                                  TplPerObject* AObject, const std::string& ANewID) {
  if (!FUSEDICTIONARY) return -1;
  const std::string oldKey = Key(AObject->aiProvider(), AOldID);
  const std::string newKey = Key(AObject->aiProvider(), ANewID);
  const bool greenMode = TplProvider::GetGreenMode();
  const bool known = Live(oldKey, {}) == AObject;
  if (!known && !greenMode) {
    ILog(Format("TplGlobalDictionary.AddPerObject: Objekta, ki ima provider %s in ID=%s, ni!",
                AProvider == nullptr ? "nil" : AProvider->ClassName(), AOldID));
  }
  if (known && SameText(oldKey, newKey)) return IndexOf(newKey);
  // The new entry first: where there is no memory for it, the object keeps the old one.
  const bool enters = !greenMode || !IndexIsTemporary(ANewID);
  if (enters && Live(newKey, {}) == nullptr) AddObject(newKey, AObject);
  if (known) Delete(IndexOf(oldKey));
  return enters ? IndexOf(newKey) : -1;
}

// One whose making has failed may have no provider, or no values yet.
bool TplGlobalDictionary::HasKey(TplPerObject* AObject) {
  return AObject->aiProvider() != nullptr && AObject->data.Count() > 0;
}

bool TplGlobalDictionary::RemoveFromDictionary(TplPerObject* AObject) {
  if (LayerFinalizing()) return false;  // nobody looks anything up any more
  if (!FUSEDICTIONARY || Count() == 0 || !HasKey(AObject)) return false;
  const std::string key = Key(AObject->aiProvider(), AObject->GetGID());
  if (!Timed([&] { return DeleteOf(key, AObject); })) return false;
  AObject->DeletingFromDictionary();
  return true;
}

void TplGlobalDictionary::AddToReleasingList(TplPerObject* AObject, std::string& AKey) {
  AKey.clear();
  if (!FCheckReleaseWhenAddingToDictionary || !HasKey(AObject)) return;
  AKey = Key(AObject->aiProvider(), AObject->GetGID());
  FslReleasingList->Add(AKey);
}

void TplGlobalDictionary::RemoveFromReleasingList(const std::string& AKey) {
  if (!FCheckReleaseWhenAddingToDictionary) return;
  const int index = FslReleasingList->IndexOf(AKey);
  if (index >= 0) FslReleasingList->Delete(index);
}

void TplGlobalDictionary::CheckExistanceInReleasingList(const std::string& AKey,
                                                        TObject* ARetainer) {
  if (!FCheckReleaseWhenAddingToDictionary || FslReleasingList->IndexOf(AKey) < 0) return;
  auto* object = As<TplPerObject>(ARetainer);
  ILog(
      Format("Alert! Adding object that is releasing back to dictionary!!! Object key = %s, "
             "retainer = %s",
             AKey,
             object != nullptr      ? object->GetGlobalID()
             : ARetainer == nullptr ? "nil"
                                    : ARetainer->ClassName()));
}

// --- for monitors ---

std::size_t TplGlobalDictionary::MemoryUsed() {
  std::size_t bytes = 0;
  for (int i = 0; i < Count(); ++i) {
    if (const TObject* object = ObjectHandle(i).Get()) bytes += object->ClassType().InstanceSize();
  }
  return bytes;
}

void TplGlobalDictionary::ShowDictionary() {
  if (FOnShowDictionaryToGUI) FOnShowDictionaryToGUI(this);
}

}  // namespace perlayer
