#include <cmath>
#include <limits>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Text.h"
#include "perlayer/platform/Variant.h"

namespace perlayer {

namespace {

// An operand of arithmetic: its number, and the same as an Integer where it is whole.
struct TNumber {
  explicit TNumber(const Variant& v) {
    switch (v.Kind()) {
      case TVariantKind::Boolean:
      case TVariantKind::Integer:
        whole = true;
        integer = v.AsInteger();
        break;
      case TVariantKind::String:
        whole = TryStrToInt(v.AsText(), integer);
        break;
      default:
        break;
    }
    number = whole ? static_cast<double>(integer) : v.AsFloat();
  }
  bool whole = false;
  std::int64_t integer = 0;
  double number = 0;
};

// `wholeOf` answers true when the Integer result does not fit.
template <class TWhole, class TFloat>
Variant Compute(const Variant& a, const Variant& b, TWhole wholeOf, TFloat floatOf) {
  const TNumber x(a);
  const TNumber y(b);
  std::int64_t result = 0;
  if (x.whole && y.whole && !wholeOf(x.integer, y.integer, &result)) return result;
  return floatOf(x.number, y.number);
}

bool IsDate(const Variant& v) { return v.Kind() == TVariantKind::Date; }
bool IsText(const Variant& v) { return v.Kind() == TVariantKind::String; }
bool IsBoolean(const Variant& v) { return v.Kind() == TVariantKind::Boolean; }
bool IsBoolean(const Variant& v, bool value) { return IsBoolean(v) && v.AsBoolean() == value; }

[[noreturn]] void RaiseDivisionByZero(const Variant& a, const Variant& b) {
  throw EVariantError(std::string("Variant of kind ") + VariantKindName(a.Kind()) +
                      " cannot be divided by a zero of kind " + VariantKindName(b.Kind()));
}

}  // namespace

void Variant::RequireOperands(const Variant& a, const Variant& b) {
  for (const Variant* v : {&a, &b}) {
    if (v->IsUnassigned() || v->IsArray()) v->RaiseNo("an operand");
  }
}

std::partial_ordering operator<=>(const Variant& a, const Variant& b) {
  const auto either = [&](TVariantKind kind) { return a.Kind() == kind || b.Kind() == kind; };
  if (either(TVariantKind::Array)) (a.IsArray() ? a : b).RaiseNo("a value with an order");
  if (either(TVariantKind::Unassigned) || either(TVariantKind::Null)) return a.Kind() <=> b.Kind();
  if (IsText(a) && IsText(b)) return a.FText.compare(b.FText) <=> 0;
  if (either(TVariantKind::Boolean)) return a.AsBoolean() <=> b.AsBoolean();
  if (a.Kind() == TVariantKind::Integer && b.Kind() == TVariantKind::Integer) {
    return a.FInteger <=> b.FInteger;
  }
  if (either(TVariantKind::Date) && either(TVariantKind::String)) return a.AsDate() <=> b.AsDate();
  return a.AsFloat() <=> b.AsFloat();
}

Variant operator+(const Variant& a, const Variant& b) {
  Variant::RequireOperands(a, b);
  if (a.IsNull() || b.IsNull()) return Variant::Null();
  if (IsText(a) && IsText(b)) return a.FText + b.FText;
  if (IsDate(a) || IsDate(b)) return Variant::Date(a.AsFloat() + b.AsFloat());
  return Compute(
      a, b, [](auto x, auto y, auto* sum) { return __builtin_add_overflow(x, y, sum); },
      [](double x, double y) { return x + y; });
}

Variant operator-(const Variant& a, const Variant& b) {
  Variant::RequireOperands(a, b);
  if (a.IsNull() || b.IsNull()) return Variant::Null();
  if (IsDate(a) && !IsDate(b)) return Variant::Date(a.AsFloat() - b.AsFloat());
  return Compute(
      a, b,
      [](auto x, auto y, auto* difference) { return __builtin_sub_overflow(x, y, difference); },
      [](double x, double y) { return x - y; });
}

Variant operator*(const Variant& a, const Variant& b) {
  Variant::RequireOperands(a, b);
  if (a.IsNull() || b.IsNull()) return Variant::Null();
  return Compute(
      a, b, [](auto x, auto y, auto* product) { return __builtin_mul_overflow(x, y, product); },
      [](double x, double y) { return x * y; });
}

Variant operator/(const Variant& a, const Variant& b) {
  Variant::RequireOperands(a, b);
  if (a.IsNull() || b.IsNull()) return Variant::Null();
  const double dividend = a.AsFloat();
  const double divisor = b.AsFloat();
  if (divisor == 0) RaiseDivisionByZero(a, b);
  return dividend / divisor;
}

Variant VarDiv(const Variant& a, const Variant& b) {
  Variant::RequireOperands(a, b);
  if (a.IsNull() || b.IsNull()) return Variant::Null();
  const std::int64_t dividend = a.AsInteger();
  const std::int64_t divisor = b.AsInteger();
  if (divisor == 0) RaiseDivisionByZero(a, b);
  // The one quotient that is too large.
  if (divisor == -1 && dividend == std::numeric_limits<std::int64_t>::min()) {
    Variant::RaiseTooLarge();
  }
  return dividend / divisor;
}

Variant operator%(const Variant& a, const Variant& b) {
  Variant::RequireOperands(a, b);
  if (a.IsNull() || b.IsNull()) return Variant::Null();
  const std::int64_t dividend = a.AsInteger();
  const std::int64_t divisor = b.AsInteger();
  if (divisor == 0) RaiseDivisionByZero(a, b);
  return divisor == -1 ? 0 : dividend % divisor;
}

Variant operator&(const Variant& a, const Variant& b) {
  Variant::RequireOperands(a, b);
  if (a.IsNull() || b.IsNull()) {
    if (IsBoolean(a, false) || IsBoolean(b, false)) return false;
    return Variant::Null();
  }
  if (IsBoolean(a) || IsBoolean(b)) {
    const bool x = a.AsBoolean();
    const bool y = b.AsBoolean();
    return x && y;
  }
  return a.AsInteger() & b.AsInteger();
}

Variant operator|(const Variant& a, const Variant& b) {
  Variant::RequireOperands(a, b);
  if (a.IsNull() || b.IsNull()) {
    if (IsBoolean(a, true) || IsBoolean(b, true)) return true;
    return Variant::Null();
  }
  if (IsBoolean(a) || IsBoolean(b)) {
    const bool x = a.AsBoolean();
    const bool y = b.AsBoolean();
    return x || y;
  }
  return a.AsInteger() | b.AsInteger();
}

Variant operator^(const Variant& a, const Variant& b) {
  Variant::RequireOperands(a, b);
  if (a.IsNull() || b.IsNull()) return Variant::Null();
  if (IsBoolean(a) || IsBoolean(b)) return a.AsBoolean() != b.AsBoolean();
  return a.AsInteger() ^ b.AsInteger();
}

Variant operator~(const Variant& a) {
  Variant::RequireOperands(a, a);
  if (a.IsNull()) return Variant::Null();
  if (IsBoolean(a)) return !a.AsBoolean();
  return ~a.AsInteger();
}

Variant operator-(const Variant& a) { return Variant(0) - a; }

}  // namespace perlayer
