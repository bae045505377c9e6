#pragma once
// Variant: a value that knows its kind. It holds and tells values; where a value is asked for as
// another kind, fixed rules convert it or EVariantError names both kinds (never the value, which
// may be a patient's).
//
//               AsText          AsBoolean     AsInteger       AsFloat       AsDate
//   Unassigned  empty           error         error           error         error
//   Null        empty           error         error           error         error
//   Boolean     True, False     itself        1, 0            1, 0          error
//   Integer     decimal         not 0         itself          the number    that day
//   Float       FloatToStr      not 0         nearest, ties   itself        that day
//   Date        DateTimeToStr   not 0           to even       days          itself
//   String      itself          True, False,  a number,       StrToFloat    StrToDateTime
//                               or a number   then as Float
//
// A copy is independent. Texts use FormatSettings(), so that conversions from and to text belong to
// the main thread; everything else is safe on every thread that owns the variant.

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "perlayer/platform/TDateTime.h"

namespace perlayer {

enum class TVariantKind : std::uint8_t { Unassigned, Null, Boolean, Integer, Float, Date, String };

// "Unassigned", "Null" ...
const char* VariantKindName(TVariantKind kind);

// Integers without Boolean and characters.
template <class T>
concept VariantInteger = std::integral<T> && !std::same_as<T, bool> && !std::same_as<T, char> &&
                         !std::same_as<T, wchar_t> && !std::same_as<T, char8_t> &&
                         !std::same_as<T, char16_t> && !std::same_as<T, char32_t>;

// Not const char*, which is a text.
template <class T>
concept VariantNoText = !std::same_as<std::remove_cv_t<T>, char>;

class Variant {
 public:
  Variant() = default;  // Unassigned
  static Variant Null() { return Variant(TVariantKind::Null, 0, 0); }
  static Variant Date(TDateTime value) { return Variant(TVariantKind::Date, 0, value); }

  template <std::same_as<bool> T>
  Variant(T value) : Variant(TVariantKind::Boolean, value ? 1 : 0, 0) {}
  // Raises EVariantError for a number above the largest int64.
  template <VariantInteger T>
  Variant(T value) : Variant(TVariantKind::Integer, static_cast<std::int64_t>(value), 0) {
    if (!std::in_range<std::int64_t>(value)) RaiseTooLarge();
  }
  template <std::floating_point T>
  Variant(T value) : Variant(TVariantKind::Float, 0, static_cast<double>(value)) {}
  Variant(std::string value) : FKind(TVariantKind::String), FText(std::move(value)) {}
  Variant(std::string_view value) : FKind(TVariantKind::String), FText(value) {}
  // A C text becomes a String; any other pointer does not compile.
  Variant(const char* value) : FKind(TVariantKind::String), FText(value == nullptr ? "" : value) {}
  template <VariantNoText T>
  Variant(T*) = delete;
  Variant(std::nullptr_t) = delete;

  TVariantKind Kind() const { return FKind; }
  bool IsUnassigned() const { return FKind == TVariantKind::Unassigned; }
  bool IsNull() const { return FKind == TVariantKind::Null; }
  // Unassigned, Null, or a text of blanks.
  bool IsEmpty() const;

  std::string AsText() const;
  bool AsBoolean() const;
  std::int64_t AsInteger() const;
  double AsFloat() const;
  TDateTime AsDate() const;

  // Null equals only Null, Unassigned only Unassigned. Texts compare exactly. For two other kinds
  // the first that is present decides as what both compare: Boolean, Date where the other is a
  // text, number. Raises EVariantError when a text does not convert to that.
  friend bool operator==(const Variant& a, const Variant& b) { return a.Equals(b); }

 private:
  Variant(TVariantKind kind, std::int64_t integer, double number)
      : FKind(kind), FInteger(integer), FNumber(number) {}
  bool Equals(const Variant& other) const;
  double Number(const char* wanted) const;  // `wanted` names the kind that the error tells of
  [[noreturn]] void RaiseNo(const char* wanted) const;
  [[noreturn]] static void RaiseTooLarge();

  TVariantKind FKind = TVariantKind::Unassigned;
  std::int64_t FInteger = 0;  // of Boolean (0 or 1) and Integer
  double FNumber = 0;         // of Float and Date
  std::string FText;          // of String
};

}  // namespace perlayer
