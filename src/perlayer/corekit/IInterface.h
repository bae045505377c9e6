#pragma once
// Interfaces: abstract classes that an object can be asked for by identifier. A class offers them
// in its table:
//
//   class IPrintable : public IInterface {
//    public:
//     static constexpr TGuid IID = "{6F3C0C1E-98A4-4B7F-9C36-0D8A1F1B5E21}"_guid;
//     virtual void Print() = 0;
//   };
//   class TReport : public TObject, public IPrintable {
//     TCLASS(TReport, TObject)
//    public:
//     static std::span<const TInterfaceEntry> InterfaceTable() {
//       static constexpr TInterfaceEntry table[] = {InterfaceEntry<TReport, IPrintable>()};
//       return table;
//     }
//   };

#include <cstddef>
#include <cstdint>

#include "perlayer/platform/TObject.h"

namespace perlayer {

using HResult = std::int32_t;
inline constexpr HResult S_OK = 0;
inline constexpr HResult E_NOINTERFACE = static_cast<HResult>(0x80004002u);

namespace detail {
// An identifier that does not parse calls this, which no constant expression can.
inline void MalformedGuid() {}
}  // namespace detail

// "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}", hexadecimal in either case; anything else does not
// compile.
consteval TGuid operator""_guid(const char* text, std::size_t size) {
  if (size != 38 || text[0] != '{' || text[37] != '}') detail::MalformedGuid();
  std::uint64_t halves[2] = {0, 0};
  int digits = 0;
  for (std::size_t i = 1; i < 37; ++i) {
    const char c = text[i];
    if (i == 9 || i == 14 || i == 19 || i == 24) {
      if (c != '-') detail::MalformedGuid();
      continue;
    }
    unsigned digit = 0;
    if (c >= '0' && c <= '9') {
      digit = static_cast<unsigned>(c - '0');
    } else if (c >= 'A' && c <= 'F') {
      digit = static_cast<unsigned>(c - 'A' + 10);
    } else if (c >= 'a' && c <= 'f') {
      digit = static_cast<unsigned>(c - 'a' + 10);
    } else {
      detail::MalformedGuid();
    }
    std::uint64_t& half = halves[digits++ / 16];
    half = half << 4 | digit;
  }
  return TGuid{halves[0], halves[1]};
}

class IInterface {
 public:
  static constexpr TGuid IID = "{00000000-0000-0000-C000-000000000046}"_guid;

  // S_OK with the interface in `object`, counted for the caller; E_NOINTERFACE with nullptr.
  virtual HResult QueryInterface(const TGuid& iid, void** object) = 0;
  // Both answer the number of holders after the call. _Release may end the object.
  virtual int _AddRef() = 0;
  virtual int _Release() = 0;

 protected:
  ~IInterface() = default;
};

// The table row by which class T offers interface I.
template <class T, class I>
constexpr TInterfaceEntry InterfaceEntry() {
  return {I::IID,
          [](TObject* object) -> void* { return static_cast<I*>(static_cast<T*>(object)); }};
}

// Answers from the tables of the object's class and its ancestors: S_OK with the interface, which
// is not counted; E_NOINTERFACE with nullptr.
HResult FindInterface(TObject* object, const TGuid& iid, void** found);

// The interface, not counted, or nullptr.
template <class I>
I* FindInterface(TObject* object) {
  void* found = nullptr;
  FindInterface(object, I::IID, &found);
  return static_cast<I*>(found);
}

}  // namespace perlayer
