#pragma once
// TPlDictionary: a string list that maps texts to objects. TPlList: a list of objects. What they
// add is FreeWithContents, and for the dictionary the way from a text to its object. Main thread
// only.
//
// While the dictionary is sorted, in any case and without equal texts, it looks an object up in
// constant time: a hash of the folded texts stands beside the list, made by the first look-up and
// kept from then on. The list remains what counts. Where the hash cannot follow it (the list is
// sorted anew or replaced, memory runs out) it is dropped, and the next look-up makes another.
// Texts that come and go by AddNew and DeleteOf are not put in order before somebody asks by order.

#include <cstdint>

#include "perlayer/platform/TKeyHash.h"
#include "perlayer/platform/TList.h"
#include "perlayer/platform/TStringList.h"

namespace perlayer {

class TPlDictionary : public TStringList {
  TCLASS(TPlDictionary, TStringList)
 public:
  void Delete(int index) override { TStringList::Delete(index); }
  // The object beside the text that IndexOf would find: nullptr when there is no such text, no
  // object beside it, or the object has been destroyed. The text may come in two parts, which
  // nobody has to put together.
  TObject* ObjectOf(std::string_view beginning, std::string_view rest = {}) {
    TFound found;
    FindObject(beginning, rest, found);
    return found.object;
  }
  // The same, whether there is such a text, and the class of the living object.
  struct TFound {
    TObject* object = nullptr;
    const TClass* cls = nullptr;
  };
  bool FindObject(std::string_view beginning, std::string_view rest, TFound& found);
  // Adds a text with its object, unless an equal one is there, whatever Duplicates says: whether it
  // did. When it raises, everything is as it was.
  bool AddNew(std::string_view text, TObject* object);
  // So many are likely to come by AddNew: takes the room for them at once, if there is memory.
  void Expect(int count) noexcept;
  // Deletes the entry that IndexOf would find if that object stands in it, alive or not: whether it
  // did. REQUIRES: object != nullptr
  bool DeleteOf(std::string_view text, const TObject* object);
  // Frees every object in index order, then the list itself.
  void FreeWithContents();

 protected:
  void Entered(int index) noexcept override;
  void Leaving(int index) noexcept override;
  void Rearranged() noexcept override;

 private:
  enum class THashState : std::uint8_t {
    none,     // the next look-up makes one
    kept,     // it has every text of the list
    refused,  // the list has equal texts
  };
  // Whether there is one.
  bool NeedHash() {
    if (FHashState == THashState::none && Sorted() && !CaseSensitive()) MakeHash();
    return FHashState == THashState::kept;
  }
  void MakeHash();
  void DropHash(THashState state) noexcept;

  // The address stands beside the handle so that both can be followed at once.
  struct TEntry {
    TEntry(TObjectHandle of) : handle(of), object(of.Get()) {}
    TEntry() = default;
    TObjectHandle handle;
    TObject* object = nullptr;
  };
  TKeyHash<TEntry> FHash;
  THashState FHashState = THashState::none;
};

class TPlList : public TList {
  TCLASS(TPlList, TList)
 public:
  // Frees every object in index order, then the list itself.
  void FreeWithContents();
};

}  // namespace perlayer
