#pragma once
// TClass: what the system knows about a class at run time. One immutable TClass exists per class,
// made on first use; its address identifies the class, and it is never destroyed before exit.
//
// Safe on every thread: nothing changes after construction.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <type_traits>
#include <typeinfo>

namespace perlayer {

class TObject;

// A 128-bit interface identifier.
struct TGuid {
  std::uint64_t high = 0;
  std::uint64_t low = 0;
  friend bool operator==(const TGuid&, const TGuid&) = default;
};

// One row of a class's interface table: how to get from the object to that interface.
struct TInterfaceEntry {
  TGuid iid;
  void* (*cast)(TObject*);
};

class TClass {
 public:
  static constexpr int kMaxDepth = 15;

  // The description of class `Self`, whose direct base is `Base`. Used by the TCLASS macro only.
  template <class Self, class Base>
  static TClass Describe(const char* name);

  TClass(const char* name, const TClass* parent, const std::type_info& info, std::size_t size,
         TObject* (*factory)(), std::span<const TInterfaceEntry> (*interfaces)(),
         std::uint32_t facts = 0);
  TClass(const TClass&) = delete;
  TClass& operator=(const TClass&) = delete;

  std::string_view Name() const { return FName; }
  const TClass* Parent() const { return FDepth == 0 ? nullptr : FLine[FDepth - 1]; }
  const std::type_info& TypeInfo() const { return *FInfo; }
  std::size_t InstanceSize() const { return FSize; }
  bool IsAbstract() const { return FFactory == nullptr; }
  // What a base class has found out about this class when it was compiled: bits of the base's own,
  // which it answers in a static member template ClassFacts<Self>(). 0 where no base does.
  std::uint32_t Facts() const { return FFacts; }

  // True for the class itself and for each of its ancestors. Takes constant time.
  bool InheritsFrom(const TClass& other) const {
    return other.FDepth <= FDepth && FLine[other.FDepth] == &other;
  }

  // The table row for `iid` in this class or the nearest ancestor; nullptr when nobody offers it.
  const TInterfaceEntry* FindInterface(const TGuid& iid) const;

  // Makes an object of this class, phase one only; see New() and TClassRef. Raises EAbstractError
  // for an abstract class.
  TObject* Allocate() const;

 private:
  const char* FName;
  const std::type_info* FInfo;
  std::size_t FSize;
  TObject* (*FFactory)();
  std::span<const TInterfaceEntry> (*FInterfaces)();
  std::uint32_t FFacts;
  int FDepth;
  std::array<const TClass*, kMaxDepth + 1> FLine;  // ancestors from the root down, itself last
};

template <class Self, class Base>
TClass TClass::Describe(const char* name) {
  const TClass* parent = nullptr;
  if constexpr (!std::is_void_v<Base>) {
    static_assert(std::is_base_of_v<Base, Self>, "TCLASS names a class that is not its base");
    parent = &Base::ClassInfo();
  }
  TObject* (*factory)() = nullptr;
  if constexpr (!std::is_abstract_v<Self>) {
    factory = []() -> TObject* { return new Self(); };
  }
  std::uint32_t facts = 0;
  if constexpr (requires { Self::template ClassFacts<Self>(); }) {
    facts = Self::template ClassFacts<Self>();
  }
  return TClass(name, parent, typeid(Self), sizeof(Self), factory, &Self::InterfaceTable, facts);
}

}  // namespace perlayer
