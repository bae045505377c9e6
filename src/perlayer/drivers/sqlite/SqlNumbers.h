#pragma once
// Reckoning with decimals: what is rounded is the number as it is written, not the binary fraction
// next to it, so that 2.675 becomes 2.68.

#include <cstdint>

namespace perlayer {

// To that many decimals, which may be negative: halves away from 0 when `nearest`, else cut.
double RoundSqlNumber(double value, std::int64_t decimals, bool nearest = true);
// What is left of `value` divided by `divisor`, with the sign of `value`; by 0 it is `value`.
double SqlMod(double value, double divisor);

}  // namespace perlayer
