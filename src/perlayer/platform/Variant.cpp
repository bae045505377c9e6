#include "perlayer/platform/Variant.h"

#include <cmath>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Text.h"

namespace perlayer {

const char* VariantKindName(TVariantKind kind) {
  constexpr const char* kNames[] = {"Unassigned", "Null", "Boolean", "Integer",
                                    "Float",      "Date", "String",  "Array"};
  return kNames[static_cast<std::size_t>(kind)];
}

Variant::Variant(const Variant& other)
    : FKind(other.FKind),
      FInteger(other.FInteger),
      FNumber(other.FNumber),
      FText(other.FText),
      FArray(other.FArray == nullptr ? nullptr : std::make_unique<TArray>(*other.FArray)) {}

Variant::Variant(Variant&& other) noexcept
    : FKind(std::exchange(other.FKind, TVariantKind::Unassigned)),
      FInteger(std::exchange(other.FInteger, 0)),
      FNumber(std::exchange(other.FNumber, 0)),
      FText(std::exchange(other.FText, {})),
      FArray(std::move(other.FArray)) {}

Variant& Variant::operator=(Variant other) noexcept {
  std::swap(FKind, other.FKind);
  std::swap(FInteger, other.FInteger);
  std::swap(FNumber, other.FNumber);
  std::swap(FText, other.FText);
  std::swap(FArray, other.FArray);
  return *this;
}

void Variant::RaiseNo(const char* wanted) const {
  throw EVariantError(std::string("Variant of kind ") + VariantKindName(FKind) +
                      " cannot be read as " + wanted);
}

void Variant::RaiseTooLarge() { throw EVariantError("Variant: number does not fit kind Integer"); }

bool Variant::IsEmpty() const {
  if (IsUnassigned() || IsNull()) return true;
  return FKind == TVariantKind::String && Empty(FText);
}

std::string Variant::AsText() const {
  switch (FKind) {
    case TVariantKind::Unassigned:
    case TVariantKind::Null:
      break;
    case TVariantKind::Boolean:
      return FInteger != 0 ? "True" : "False";
    case TVariantKind::Integer:
      return IntToStr(FInteger);
    case TVariantKind::Float:
      return FloatToStr(FNumber);
    case TVariantKind::Date:
      return DateTimeToStr(FNumber);
    case TVariantKind::String:
      return FText;
    case TVariantKind::Array:
      RaiseNo("String");
  }
  return {};
}

double Variant::Number(const char* wanted) const {
  switch (FKind) {
    case TVariantKind::Unassigned:
    case TVariantKind::Null:
    case TVariantKind::Array:
      break;
    case TVariantKind::Boolean:
    case TVariantKind::Integer:
      return static_cast<double>(FInteger);
    case TVariantKind::Float:
    case TVariantKind::Date:
      return FNumber;
    case TVariantKind::String: {
      double value = 0;
      if (TryStrToFloat(FText, value)) return value;
    }
  }
  RaiseNo(wanted);
}

double Variant::AsFloat() const { return Number("Float"); }

std::int64_t Variant::AsInteger() const {
  // Through a float a long number would lose its last digits.
  std::int64_t integer = FInteger;
  if (FKind == TVariantKind::Integer) return integer;
  if (FKind == TVariantKind::String && TryStrToInt(FText, integer)) return integer;
  const double number = std::nearbyint(Number("Integer"));
  constexpr double kLimit = 9223372036854775808.0;  // 2 to the power 63
  if (!(number >= -kLimit && number < kLimit)) RaiseNo("Integer");
  return static_cast<std::int64_t>(number);
}

bool Variant::AsBoolean() const {
  if (FKind == TVariantKind::String) {
    if (SameText(Trim(FText), "True")) return true;
    if (SameText(Trim(FText), "False")) return false;
  }
  return Number("Boolean") != 0;
}

TDateTime Variant::AsDate() const {
  switch (FKind) {
    case TVariantKind::Integer:
    case TVariantKind::Float:
    case TVariantKind::Date:
      return AsFloat();
    case TVariantKind::String: {
      TDateTime value = 0;
      if (TryStrToDateTime(FText, value)) return value;
      break;
    }
    default:
      break;
  }
  RaiseNo("Date");
}

bool Variant::Equals(const Variant& other) const {
  const auto either = [&](TVariantKind kind) { return FKind == kind || other.FKind == kind; };
  if (either(TVariantKind::Unassigned) || either(TVariantKind::Null)) return FKind == other.FKind;
  if (either(TVariantKind::Array)) {
    if (!IsArray()) RaiseNo("Array");
    if (!other.IsArray()) other.RaiseNo("Array");
    return FArray->bounds == other.FArray->bounds && FArray->elements == other.FArray->elements;
  }
  if (FKind == other.FKind) {
    return FInteger == other.FInteger && FNumber == other.FNumber && FText == other.FText;
  }
  if (either(TVariantKind::Boolean)) return AsBoolean() == other.AsBoolean();
  if (either(TVariantKind::Date) && either(TVariantKind::String)) {
    return AsDate() == other.AsDate();
  }
  return AsFloat() == other.AsFloat();
}

}  // namespace perlayer
