#include "perlayer/foundation/TPlDictionary.h"

#include <new>

namespace perlayer {

TObject* TPlDictionary::ObjectOf(std::string_view beginning, std::string_view rest) {
  if (FHashState == THashState::none && Sorted() && !CaseSensitive()) MakeHash();
  if (FHashState == THashState::kept) {
    const TObjectHandle* object = FHash.Find(TFoldedKey(beginning, rest));
    return object == nullptr ? nullptr : object->Get();
  }
  const int index = IndexOf(std::string(beginning).append(rest));
  return index < 0 ? nullptr : ObjectHandle(index).Get();
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
    if (TObjectHandle* object = FHash.Find(key)) {
      *object = ObjectHandle(index);
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
