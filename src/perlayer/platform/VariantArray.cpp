#include <cstdint>
#include <limits>

#include "perlayer/platform/Exception.h"
#include "perlayer/platform/Variant.h"

namespace perlayer {

namespace {

std::int64_t Length(const TVariantBounds& bounds) {
  return std::int64_t{bounds.high} - bounds.low + 1;
}

[[noreturn]] void RaiseIndex(int index, std::size_t dimension, const TVariantBounds& bounds) {
  throw EVariantError("Variant: index " + std::to_string(index) + " of dimension " +
                      std::to_string(dimension) + " of an Array is outside " +
                      std::to_string(bounds.low) + " to " + std::to_string(bounds.high));
}

const TVariantBounds& Dimension(const Variant& v, int dimension) {
  const auto bounds = VarArrayBounds(v);
  if (dimension < 1 || static_cast<std::size_t>(dimension) > bounds.size()) {
    throw EVariantError(std::string("Variant of kind ") + VariantKindName(v.Kind()) +
                        " has no dimension " + std::to_string(dimension));
  }
  return bounds[static_cast<std::size_t>(dimension) - 1];
}

}  // namespace

Variant::Variant(TArray array)
    : FKind(TVariantKind::Array), FArray(std::make_unique<TArray>(std::move(array))) {}

Variant VarArrayCreate(std::initializer_list<TVariantBounds> bounds) {
  if (bounds.size() == 0) throw EVariantError("Variant: an Array needs a dimension");
  constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
  std::int64_t count = 1;
  bool tooMany = false;
  for (const TVariantBounds& dimension : bounds) {
    const std::int64_t length = Length(dimension);
    if (length < 0) {
      throw EVariantError("Variant: an Array cannot have the bounds " +
                          std::to_string(dimension.low) + " to " + std::to_string(dimension.high));
    }
    // An empty dimension empties the array, however long the others are.
    tooMany = length != 0 && (tooMany || count > kMost / length);
    count = tooMany ? kMost : count * length;
    if (length == 0) count = 0;
  }
  if (tooMany) throw EVariantError("Variant: too many elements for an Array");
  return Variant(Variant::TArray{bounds, std::vector<Variant>(static_cast<std::size_t>(count))});
}

Variant VarArrayOf(std::vector<Variant> elements) {
  const int high = static_cast<int>(elements.size()) - 1;
  return Variant(Variant::TArray{{TVariantBounds{0, high}}, std::move(elements)});
}

std::span<const TVariantBounds> VarArrayBounds(const Variant& v) {
  if (!v.IsArray()) return {};
  return v.FArray->bounds;
}

int VarArrayLowBound(const Variant& v, int dimension) { return Dimension(v, dimension).low; }
int VarArrayHighBound(const Variant& v, int dimension) { return Dimension(v, dimension).high; }

const Variant& Variant::operator[](std::initializer_list<int> indices) const {
  if (!IsArray()) RaiseNo("Array");
  const std::vector<TVariantBounds>& bounds = FArray->bounds;
  if (indices.size() != bounds.size()) {
    throw EVariantError("Variant: " + std::to_string(indices.size()) + " indices for an Array of " +
                        std::to_string(bounds.size()) + " dimensions");
  }
  std::size_t position = 0;
  std::size_t dimension = 0;
  for (const int index : indices) {
    const TVariantBounds& limits = bounds[dimension++];
    if (index < limits.low || index > limits.high) RaiseIndex(index, dimension, limits);
    position = position * static_cast<std::size_t>(Length(limits)) +
               static_cast<std::size_t>(std::int64_t{index} - limits.low);
  }
  return FArray->elements[position];
}

}  // namespace perlayer
