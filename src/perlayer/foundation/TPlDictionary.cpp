#include "perlayer/foundation/TPlDictionary.h"

#include <new>

namespace perlayer {

bool TPlDictionary::FindObject(std::string_view beginning, std::string_view rest, TFound& found) {
  TEntry listed;
  const TEntry* entry;
  if (NeedHash()) {
    entry = FHash.Find(TFoldedKey(beginning, rest));
  } else {
    const int index = IndexOf(std::string(beginning).append(rest));
    if (index >= 0) listed = ObjectHandle(index);
    entry = index < 0 ? nullptr : &listed;
  }
  if (entry == nullptr) return false;
  found.cls = entry->handle.Class();
  found.object = found.cls == nullptr ? nullptr : entry->object;
  return true;
}

bool TPlDictionary::AddNew(std::string_view text, TObject* object) {
  if (text.empty() || !NeedHash()) {
    if (IndexOf(text) >= 0) return false;
    AddObject(text, object);
    return true;
  }
  const TFoldedKey key(text);
  if (FHash.Find(key) != nullptr) return false;
  AddUnplaced(text, object);
  try {
    FHash.Insert(key, TObjectHandle(object));
  } catch (const std::bad_alloc&) {
    DeleteUnplaced(text, object);
    throw;
  }
  Changed();
  return true;
}

void TPlDictionary::Expect(int count) noexcept {
  try {
    if (!NeedHash()) return;
    FHash.Reserve(FHash.Count() + static_cast<std::size_t>(count));
    ReserveUnplaced(count);
  } catch (const std::bad_alloc&) {
  }
}

bool TPlDictionary::DeleteOf(std::string_view text, const TObject* object) {
  const TObjectHandle handle(object);
  if (!text.empty() && NeedHash()) {
    const TFoldedKey key(text);
    const TEntry* entry = FHash.Find(key);
    if (entry == nullptr || entry->handle != handle) return false;
    if (DeleteUnplaced(text, object)) {
      FHash.Erase(key);
      Changed();
      return true;
    }
  }
  const int index = IndexOf(text);
  if (index < 0 || ObjectHandle(index) != handle) return false;
  Delete(index);
  return true;
}

// Without memory there is none: whatever asks for it has another way.
void TPlDictionary::MakeHash() {
  try {
    FHash.Reserve(static_cast<std::size_t>(Count()));
    FHashState = THashState::kept;
    for (int i = 0; i < Count() && FHashState == THashState::kept; ++i) {
      if (!FHash.Insert(Strings(i), ObjectHandle(i))) DropHash(THashState::refused);
    }
  } catch (const std::bad_alloc&) {
    DropHash(THashState::none);
  }
}

void TPlDictionary::DropHash(THashState state) noexcept {
  FHash.Clear();
  FHashState = state;
}

void TPlDictionary::Entered(int index) noexcept {
  if (FHashState != THashState::kept) return;
  try {
    const TFoldedKey key(Strings(index));
    if (TEntry* entry = FHash.Find(key)) {
      *entry = ObjectHandle(index);
      if (FHash.Count() != static_cast<std::size_t>(Count())) DropHash(THashState::refused);
    } else {
      FHash.Insert(key, ObjectHandle(index));
    }
  } catch (const std::bad_alloc&) {
    DropHash(THashState::none);
  }
}

void TPlDictionary::Leaving(int index) noexcept {
  if (FHashState != THashState::kept) return;
  try {
    FHash.Erase(Strings(index));
  } catch (const std::bad_alloc&) {  // a long text
    DropHash(THashState::none);
  }
}

void TPlDictionary::Rearranged() noexcept { DropHash(THashState::none); }

// The count is read anew at each step: what an object does when it goes may change the list.
void TPlDictionary::FreeWithContents() {
  for (int i = 0; i < Count(); ++i) {
    if (TObject* object = Objects(i)) object->Free();
  }
  Free();
}

void TPlList::FreeWithContents() {
  for (int i = 0; i < Count(); ++i) {
    if (TObject* object = Items(i)) object->Free();
  }
  Free();
}

}  // namespace perlayer
