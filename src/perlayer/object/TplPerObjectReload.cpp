// TplPerObject: fresh values of the row, and how two objects differ.

#include <algorithm>
#include <optional>
#include <utility>

#include "perlayer/corekit/TIValidInfo.h"
#include "perlayer/foundation/BoMessageDlg.h"
#include "perlayer/object/TObjectEdits.h"
#include "perlayer/object/TplPerObject.h"
#include "perlayer/platform/Format.h"
#include "perlayer/platform/TStringList.h"
#include "perlayer/platform/Text.h"
#include "perlayer/provider/TPlClassMetaData.h"
#include "perlayer/provider/TplProvider.h"
#include "perlayer/reclaim/TplGlobalDictionary.h"

namespace perlayer {

// --- copying ---

// What every copy has around it: the object initializes meanwhile, so that nothing marks it as
// changed. An object that is not being edited takes the values as its row's: they are what a cancel
// returns to. A copy that fails leaves the values as they were. copy(write) calls write(index,
// value).
template <class TCopy>
bool TplPerObject::Copying(TCopy&& copy) {
  const TAlive alive(this);
  const bool initializing = FInitializingBo;
  std::optional<TIboData> before;  // from the first difference on
  const auto write = [&](int index, const std::string& value) {
    if (data.ValueView(index) == value) return;
    if (!before) before = data;
    SetAttrValueCommon(AttrName(index), value, false);
  };
  SetInitializingBo(true);
  TryFinally(
      [&] {
        try {
          copy(write);
        } catch (...) {
          if (alive && before) data = std::move(*before);
          throw;
        }
        if (alive && !FModified) data.CommitValues();
      },
      [&] {
        if (alive) SetInitializingBo(initializing);
      });
  if (alive) SetTimeStampAfterGetObject();
  return before.has_value();
}

bool TplPerObject::AssignFields(TplPerObject* AOther) {
  const TAlive alive(this);
  const TAlive otherAlive(AOther);
  if (AOther->FProvider != FProvider) ManageDiffrentProvider(AOther);
  if (!alive || !otherAlive) return false;
  const bool sameProvider = AOther->FProvider == FProvider;
  return Copying([&](const auto& write) {
    const int id = GetMetaData()->GetAttrIndex(FProvider->GetIDAttrName());
    const int count = AttrCount();
    // The first attribute is never copied, be it the ID or not. Who shows the object hears of each
    // value and may end either object.
    for (int i = 1; alive && otherAlive && i < count; ++i) {
      if (i == id) continue;
      if (!sameProvider) {
        write(i, AOther->GetAttrValue(AttrName(i)));
      } else if (data.ValueView(i) != AOther->data.ValueView(i)) {
        write(i, AOther->data.GetAttrValueByIndex(i));
      }
    }
  });
}

bool TplPerObject::AssignFieldsForLoad(TplPerObject* AOther) {
  const TAlive alive(this);
  const bool changed = AssignFields(AOther);
  if (alive) FNewObject = false;
  return changed;
}

bool TplPerObject::AssignFieldswithReloadFlag(TplPerObject* AOther, bool ACheck) {
  const TAlive alive(this);
  const TAlive otherAlive(AOther);
  FbReloading = true;
  return TryFinally(
      [&] {
        if (ACheck && (!CanAssignFieldsWithReloadFlag() || !alive || GetModified())) return false;
        return alive && otherAlive && AssignFields(AOther);
      },
      [&] {
        if (alive) FbReloading = false;
      });
}

bool TplPerObject::AssignFieldsFromDiffBO(TplPerObject* AOther, const std::string& ASkipAttr) {
  return Copying([&](const auto& write) {
    const TAlive alive(this);
    const TAlive otherAlive(AOther);
    const std::string active = FProvider->aiActiveFieldName();
    const std::string id = FProvider->GetIDAttrName();
    for (int i = 1; alive && otherAlive && i < AOther->AttrCount(); ++i) {
      const std::string name = AOther->AttrName(i);
      const int own = GetMetaData()->GetAttrIndex(name);
      if (own < 0 || SameText(name, id) || SameText(name, active) || SameText(name, ASkipAttr)) {
        continue;
      }
      write(own, AOther->GetAttrValue(name));
    }
  });
}

void TplPerObject::Assign(TplPerObject* AOther) {
  const TAlive alive(this);
  const TAlive otherAlive(AOther);
  AssignFields(AOther);
  if (alive && otherAlive) AssignRegistredPointers(AOther);
}

void TplPerObject::ManageDiffrentProvider(TplPerObject* AOther) {
  throw Exception(
      Format("TplPerObject.AssignFields: Different provider! (Spomin: %s, GID=%s -->> Baza: %s, "
             "GID=%s)",
             FProvider->ClassName(), GetGID(), AOther->FProvider->ClassName(), AOther->GetGID()));
}

void TplPerObject::SetProvider(TplProvider* AProvider) {
  if (AProvider == FProvider) return;
  if (AProvider == nullptr) {
    throw Exception("TplPerObject.SetProvider: Can not leave an object without provider!");
  }
  TplGlobalDictionary* dictionary = GlobalDictionary();
  TplProvider* const before = FProvider;
  const std::string id = GetGID();
  const bool changesKey = !SameText(dictionary->Key(before, id), dictionary->Key(AProvider, id)) &&
                          dictionary->aiUSEDICTIONARY() &&
                          dictionary->TakeObject(before, id) == this;
  TIboData values = data;
  values.SetProvider(AProvider);
  std::swap(data, values);
  FProvider = AProvider;
  if (!changesKey) return;
  try {
    dictionary->AddPerObject(AProvider, this, nullptr);
  } catch (...) {
    FProvider = before;
    std::swap(data, values);
    throw;
  }
  dictionary->Delete(dictionary->ObjectIndex(before, id));
}

void TplPerObject::InitializeFromBo(TplPerObject*) {
  NotImplemented("TplPerObject.InitializeFromBo");
}

// --- reload ---

void TplPerObject::Reload() { Reload(std::string()); }

void TplPerObject::Reload(const std::string& AFetchSpec) {
  if (FNewObject && AFetchSpec.empty()) {
    throw Exception("TplPerObject.Reload: Ne morem narediti \"reload\" za nov objekt!");
  }
  const TAlive alive(this);
  if (!FNewObject && GetModified()) UnLock(this, GetLockGroup());
  if (!alive) return;
  FbReloading = true;
  TryFinally([&] { GlobalDictionary()->Reload(this, AFetchSpec); },
             [&] {
               if (alive) FbReloading = false;
             });
  if (!alive) return;
  SetNeedToRefresh(false);
  FModified = false;
  DoReload();
}

// The twin, which is nullptr for a row that is gone, has been fetched for this object. What an edit
// that has been given up left is nothing to return to any more.
void TplPerObject::TakeReloaded(TplPerObject* ATwin, bool AUseDictionary) {
  const TAlive alive(this);
  if (ATwin == nullptr) {
    if (!FNewObject) SetObjectMarkedDeleted(true);
    if (alive) TakeAsLoaded();
    return;
  }
  AssignFields(ATwin);
  if (!alive) return;
  if (FNewObject) {
    const std::string id = ATwin->GetGID();
    TIboData written = data;  // aside: nothing may fail once the dictionary has the new key
    written.SetAttrValue(FProvider->GetIDAttrName(), id);
    const TUseDictionary use(AUseDictionary);
    GlobalDictionary()->ChangeID(FProvider, GetGID(), this, id);
    data = std::move(written);
    FNewObject = false;
  }
  TakeAsLoaded();
}

void TplPerObject::CancelAndRefreshDataSet() {
  const TAlive alive(this);
  if (!IsShown()) return;
  FEdits->FDataSet->Cancel();
  if (alive) Refresh();
}

void TplPerObject::Refresh() {
  if (IsShown()) FEdits->FDataSet->Refresh();
}

// --- differences ---

void TplPerObject::DifferenceAttributeList(TplPerObject* AOther,
                                           std::initializer_list<std::string_view> ANames,
                                           TStringList*& ADiffering, TStringList*& ADescribed,
                                           const std::string& AOwnTitle,
                                           const std::string& AOtherTitle) {
  for (TStringList** list : {&ADiffering, &ADescribed}) {
    if (*list == nullptr) *list = New<TStringList>();
    (*list)->Clear();
  }
  const auto title = [](const std::string& text) { return text.empty() ? text : "(" + text + ")"; };
  for (int i = 0; i < AttrCount(); ++i) {
    const std::string name = AttrName(i);
    const auto isName = [&](std::string_view other) { return SameText(name, other); };
    if (std::any_of(ANames.begin(), ANames.end(), isName)) continue;
    const std::string own = GetAttrValue(name);
    const std::string other = AOther->GetAttrValue(name);
    if (own == other) continue;
    ADiffering->Add(std::to_string(i));
    ADescribed->Add(GetMetaData()->ValInfoOf(i).displayLabel + " : " + title(AOwnTitle) + own +
                    " - " + title(AOtherTitle) + other);
  }
}

}  // namespace perlayer
