#include "gel/detail/Operators.h"

namespace gel::detail {

namespace {

constexpr std::size_t FIRST_SIGN = static_cast<std::size_t>(Sign::Identical);
constexpr std::size_t FIRST_WORD = static_cast<std::size_t>(Sign::True);

constexpr bool isInOrder()
{
    for (std::size_t row = 0; row < OPERATORS.size(); ++row)
        if (OPERATORS[row].sign != static_cast<Sign>(row))
            return false;
    return OPERATORS.size() == static_cast<std::size_t>(Sign::NotWord) + 1;
}
static_assert(isInOrder(), "rowOf() takes the sign for the index of its row");

/// The first row of the signs that start with a character, by character; 0 if there is none.
constexpr std::array<std::uint8_t, 128> FIRST_ROW = [] {
    std::array<std::uint8_t, 128> rows{};
    for (std::size_t row = FIRST_WORD; row-- > FIRST_SIGN;)
        rows[static_cast<std::size_t>(OPERATORS[row].spelling[0])] = static_cast<std::uint8_t>(row);
    return rows;
}();

}   // namespace

Operator const* signAt(std::string_view text) noexcept
{
    auto const first = static_cast<unsigned char>(text[0]);
    std::size_t row = first < FIRST_ROW.size() ? FIRST_ROW[first] : 0;
    if (row == 0)
        return nullptr;
    for (; row < FIRST_WORD && OPERATORS[row].spelling[0] == text[0]; ++row)
        if (text.substr(0, OPERATORS[row].spelling.size()) == OPERATORS[row].spelling)
            return &OPERATORS[row];
    return nullptr;
}

Operator const* reservedWord(std::string_view name) noexcept
{
    for (std::size_t row = FIRST_WORD; row < OPERATORS.size(); ++row)
        if (name == OPERATORS[row].spelling)
            return &OPERATORS[row];
    return nullptr;
}

}   // namespace gel::detail
