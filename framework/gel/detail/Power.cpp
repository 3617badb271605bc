#include "gel/detail/Power.h"

#include <cmath>
#include <cstdlib>
#include <limits>

// The steps below rely on each operation being rounded by itself: compile without contraction of a * b + c.
namespace gel::detail {

namespace {

constexpr int MOST_WHOLE = 1'024;

/// A number of about 106 bits: the sum of two doubles, where `low` is at most half a unit in the last place of `high`.
struct Pair {
    double high;
    double low;
};

/// The exact sum. *Requires* that the first number is not the smaller one.
Pair sumOf(double larger, double smaller) noexcept
{
    double const sum = larger + smaller;
    return {sum, smaller - (sum - larger)};
}

/// The number as the sum of two with 26 bits each, whose products are exact (Veltkamp).
Pair halvesOf(double number) noexcept
{
    double const scaled = number * 134'217'729;   // 2^27 + 1
    double const high = scaled - (scaled - number);
    return {high, number - high};
}

/// The exact product (Dekker).
Pair productOf(double left, double right) noexcept
{
    Pair const a = halvesOf(left);
    Pair const b = halvesOf(right);
    double const product = left * right;
    return {product, a.high * b.high - product + a.high * b.low + a.low * b.high + a.low * b.low};
}

Pair productOf(Pair const& left, Pair const& right) noexcept
{
    Pair const product = productOf(left.high, right.high);
    return sumOf(product.high, product.low + (left.high * right.low + left.low * right.high));
}

Pair inverseOf(Pair const& number) noexcept
{
    double const nearly = 1 / number.high;
    Pair const product = productOf(nearly, number.high);
    double const remainder = 1 - product.high - product.low - nearly * number.low;
    return sumOf(nearly, remainder / number.high);
}

/// `number` · 2^`exponent`, rounded once.
double scaled(Pair const& number, int exponent) noexcept
{
    double const result = std::ldexp(number.high, exponent);
    if (std::fabs(result) > std::numeric_limits<double>::min() || number.low == 0)
        return result;
    // Subnormal, hence rounded a second time: in the middle of two it is `low` that decides.
    double const lost = number.high - std::ldexp(result, -exponent);
    bool const isMiddle = std::fabs(lost) * 2 == std::ldexp(std::numeric_limits<double>::denorm_min(), -exponent);
    bool const isBeyond = (lost > 0) == (number.low > 0);
    return isMiddle && isBeyond ? result + std::copysign(std::numeric_limits<double>::denorm_min(), lost) : result;
}

/// By repeated squaring of the significand, which is near 1, so that nothing overflows. *Requires* a finite base other
/// than 0 and an exponent other than 0.
double wholePower(double base, int exponent) noexcept
{
    int baseScale = 0;
    double significand = std::frexp(base, &baseScale);
    if (std::fabs(significand) < 0.7) {
        significand *= 2;
        --baseScale;
    }
    Pair result{1, 0};
    Pair square{significand, 0};
    for (int left = std::abs(exponent);;) {
        if (left % 2 != 0)
            result = productOf(result, square);
        left /= 2;
        if (left == 0)
            break;
        square = productOf(square, square);
    }
    return scaled(exponent < 0 ? inverseOf(result) : result, baseScale * exponent);
}

}   // namespace

double power(double base, double exponent) noexcept
{
    bool const isWhole = exponent != 0 && std::fabs(exponent) <= MOST_WHOLE && std::trunc(exponent) == exponent;
    if (isWhole && std::isfinite(base) && base != 0)
        return wholePower(base, static_cast<int>(exponent));
    return std::pow(base, exponent);
}

}   // namespace gel::detail
