#pragma once

namespace gel::detail {

/// `base` to the power of `exponent`, as `std::pow`. With a whole exponent of -1,024 to 1,024 the result has the same
/// bits on every platform: those of the nearest double, unless the exact power is closer than 2^-90 to the middle of
/// two. With other exponents it is that of the platform's mathematical library, whose last digit may differ.
/// *Cost*: with an exponent of 2, 10 and 1,000, twice, twice and six times that of `std::pow`.
double power(double base, double exponent) noexcept;

}   // namespace gel::detail
