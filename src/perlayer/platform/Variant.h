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
//   Array       error           error         error           error         error
//
// Operators read their operands by the same table; what does not convert raises EVariantError.
//
//   + - *         two texts     + joins them; - and * read them as numbers
//                 Date          Date + x, x + Date and Date - x are a Date, days counted; two dates
//                               differ by a Float of days
//                 whole         Integer; Float where that is too small for the result. Whole are
//                               Boolean, Integer and texts of whole numbers.
//                 otherwise     Float
//   /             Float
//   VarDiv, %     Integer, cut towards zero; the remainder has the sign of the left operand
//   & | ^ ~       Boolean where an operand is one, otherwise bit by bit on Integers
//   < <= > >=     Unassigned before Null before the rest; then as == compares: texts by bytes,
//                 Boolean false first, dates and numbers by size
//
// Null passes through an operator: the result is Null, but for false & Null, which is false, and
// true | Null, which is true. Unassigned and Array are no operands, and dividing by zero is an
// error. An array equals an array with the same bounds and equal elements, and has no order.
//
// A copy is independent. Texts use FormatSettings(), so that conversions from and to text belong to
// the main thread; everything else is safe on every thread that owns the variant.

#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "perlayer/platform/TDateTime.h"

namespace perlayer {

enum class TVariantKind : std::uint8_t {
  Unassigned,
  Null,
  Boolean,
  Integer,
  Float,
  Date,
  String,
  Array
};

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

// The first and the last index of one dimension of an array; none where high is low - 1.
struct TVariantBounds {
  int low;
  int high;
  bool operator==(const TVariantBounds&) const = default;
};

class Variant {
 public:
  Variant() = default;  // Unassigned
  Variant(const Variant& other);
  Variant(Variant&& other) noexcept;  // leaves `other` Unassigned
  // `other` may be an element of this variant.
  Variant& operator=(Variant other) noexcept;
  ~Variant() = default;
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
  bool IsArray() const { return FKind == TVariantKind::Array; }
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
  // Unordered where a Float is no number.
  friend std::partial_ordering operator<=>(const Variant& a, const Variant& b);

  friend Variant operator+(const Variant& a, const Variant& b);
  friend Variant operator-(const Variant& a, const Variant& b);
  friend Variant operator*(const Variant& a, const Variant& b);
  friend Variant operator/(const Variant& a, const Variant& b);
  friend Variant operator%(const Variant& a, const Variant& b);
  friend Variant VarDiv(const Variant& a, const Variant& b);
  friend Variant operator&(const Variant& a, const Variant& b);
  friend Variant operator|(const Variant& a, const Variant& b);
  friend Variant operator^(const Variant& a, const Variant& b);
  friend Variant operator~(const Variant& a);
  friend Variant operator-(const Variant& a);

  // An element of an array: v[i], or v[{i, j}] by one index for each dimension. The reference lives
  // until the variant is assigned to or ends. Raises EVariantError for another kind, another number
  // of indices and an index outside the bounds.
  const Variant& operator[](int index) const { return (*this)[{index}]; }
  Variant& operator[](int index) { return (*this)[{index}]; }
  const Variant& operator[](std::initializer_list<int> indices) const;
  Variant& operator[](std::initializer_list<int> indices) {
    return const_cast<Variant&>(std::as_const(*this)[indices]);
  }

 private:
  friend Variant VarArrayCreate(std::initializer_list<TVariantBounds> bounds);
  friend Variant VarArrayOf(std::vector<Variant> elements);
  friend std::span<const TVariantBounds> VarArrayBounds(const Variant& v);

  struct TArray {
    std::vector<TVariantBounds> bounds;  // one for each dimension
    std::vector<Variant> elements;       // the last index runs fastest
  };
  explicit Variant(TArray array);
  Variant(TVariantKind kind, std::int64_t integer, double number)
      : FKind(kind), FInteger(integer), FNumber(number) {}
  bool Equals(const Variant& other) const;
  double Number(const char* wanted) const;  // `wanted` names the kind that the error tells of
  [[noreturn]] void RaiseNo(const char* wanted) const;
  [[noreturn]] static void RaiseTooLarge();
  static void RequireOperands(const Variant& a, const Variant& b);

  TVariantKind FKind = TVariantKind::Unassigned;
  std::int64_t FInteger = 0;       // of Boolean (0 or 1) and Integer
  double FNumber = 0;              // of Float and Date
  std::string FText;               // of String
  std::unique_ptr<TArray> FArray;  // of Array
};

// An array with these bounds, all elements Unassigned. An element may be of any kind, arrays
// included. Raises EVariantError without a dimension, for a dimension whose last index lies more
// than one before its first, and for more than 2^31 - 1 elements.
Variant VarArrayCreate(std::initializer_list<TVariantBounds> bounds);
// An array of one dimension, from 0.
Variant VarArrayOf(std::vector<Variant> elements);

// The bounds of all dimensions, none for what is no array; they live as long as the variant is not
// assigned to.
std::span<const TVariantBounds> VarArrayBounds(const Variant& v);
inline int VarArrayDimCount(const Variant& v) { return static_cast<int>(VarArrayBounds(v).size()); }
// Of one dimension; the first is 1. Raise EVariantError where there is no such dimension.
int VarArrayLowBound(const Variant& v, int dimension);
int VarArrayHighBound(const Variant& v, int dimension);

// The whole quotient; see the table.
Variant VarDiv(const Variant& a, const Variant& b);

}  // namespace perlayer
