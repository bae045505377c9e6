#include "perlayer/foundation/TPlDictionary.h"

#include <new>

namespace perlayer {

bool TPlDictionary::FindObject(std::string_view beginning, std::string_view rest, TFound& found) {
  if (FHashState == THashState::none && Sorted() && !CaseSensitive()) MakeHash();
  TEntry listed;
  const TEntry* entry;
  if (FHashState == THashState::kept) {
    entry = FHash.Find(TFoldedKey(beginning, rest));
  } else {
    const int index = IndexOf(std::string(beginning).append(rest));
    if (index >= 0) listed = TEntry(ObjectHandle(index));
    entry = index < 0 ? nullptr : &listed;
  }
  if (entry == nullptr) return false;
  found.cls = entry->handle.Class();
  found.object = found.cls == nullptr ? nullptr : entry->object;
  return true;
}

// Without memory there is none: whatever asks for it has another way.
void TPlDictionary::MakeHash() {
  try {
    FHash.Reserve(static_cast<std::size_t>(Count()));
    FHashState = THashState::kept;
    for (int i = 0; i < Count() && FHashState == THashState::kept; ++i) {
      if (!FHash.Insert(Strings(i), TEntry(ObjectHandle(i)))) DropHash(THashState::refused);
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
      *entry = TEntry(ObjectHandle(index));
      if (FHash.Count() != static_cast<std::size_t>(Count())) DropHash(THashState::refused);
    } else {
      FHash.Insert(key, TEntry(ObjectHandle(index)));
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
