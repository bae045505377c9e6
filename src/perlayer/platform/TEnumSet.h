#pragma once
// TEnumSet<E>: a set of enumerators of E, whose values lie from 0 to 63, as one bit mask.
//
//   TMsgDlgButtons buttons = {TMsgDlgBtn::mbYes, TMsgDlgBtn::mbNo};
//   if (buttons.has(TMsgDlgBtn::mbNo)) ...

#include <cstdint>
#include <initializer_list>
#include <type_traits>

namespace perlayer {

template <class E>
class TEnumSet {
  static_assert(std::is_enum_v<E>);

 public:
  using TMask = std::uint64_t;

  constexpr TEnumSet() = default;
  constexpr TEnumSet(std::initializer_list<E> items) {
    for (const E item : items) FMask |= Bit(item);
  }
  // The set whose mask() is `mask`; bits that no enumerator has stay as they are.
  static constexpr TEnumSet FromMask(TMask mask) {
    TEnumSet result;
    result.FMask = mask;
    return result;
  }

  constexpr bool has(E item) const { return (FMask & Bit(item)) != 0; }
  constexpr bool empty() const { return FMask == 0; }
  // Bit n stands for the enumerator of value n.
  constexpr TMask mask() const { return FMask; }

  // Union and difference; an enumerator in braces, {e}, is a set too.
  constexpr TEnumSet& operator+=(TEnumSet other) {
    FMask |= other.FMask;
    return *this;
  }
  constexpr TEnumSet& operator-=(TEnumSet other) {
    FMask &= ~other.FMask;
    return *this;
  }
  friend constexpr TEnumSet operator+(TEnumSet a, TEnumSet b) { return a += b; }
  friend constexpr TEnumSet operator-(TEnumSet a, TEnumSet b) { return a -= b; }
  friend constexpr TEnumSet operator+(TEnumSet a, E b) { return a += TEnumSet{b}; }
  friend constexpr TEnumSet operator-(TEnumSet a, E b) { return a -= TEnumSet{b}; }
  friend constexpr bool operator==(TEnumSet, TEnumSet) = default;

 private:
  static constexpr TMask Bit(E item) { return TMask{1} << static_cast<unsigned>(item); }

  TMask FMask = 0;
};

}  // namespace perlayer
