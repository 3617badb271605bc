#include "gel/detail/Functions.h"

#include "gel/detail/Power.h"
#include "gel/detail/Utf8.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace gel::detail {

namespace {

using Arguments = std::span<Operand const>;

bool allTexts(Arguments arguments) noexcept
{
    return std::all_of(arguments.begin(), arguments.end(), [](Operand const& each) { return each.isText(); });
}

bool allNumeric(Arguments arguments) noexcept
{
    return std::all_of(arguments.begin(), arguments.end(), [](Operand const& each) { return each.isNumeric(); });
}

// Numbers

template <auto const& compute>
Operand ofNumber(Arguments arguments, Temporaries&)
{
    if (!arguments[0].isNumeric())
        return Operand::undefined();
    double const number = arguments[0].numeric();
    return Operand::computed(compute(number), std::isfinite(number));
}

Operand pow(Arguments arguments, Temporaries&)
{
    if (!allNumeric(arguments))
        return Operand::undefined();
    double const base = arguments[0].numeric();
    double const exponent = arguments[1].numeric();
    return Operand::computed(power(base, exponent), std::isfinite(base) && std::isfinite(exponent));
}

template <auto const& isBetter>
Operand best(Arguments arguments, Temporaries&)
{
    if (!allNumeric(arguments))
        return Operand::undefined();
    double found = arguments[0].numeric();
    for (Operand const& argument : arguments.subspan(1))
        if (isBetter(argument.numeric(), found))
            found = argument.numeric();
    return Operand::computed(found, false);
}

// Texts

std::string_view trimmed(std::string_view text) noexcept
{
    constexpr std::string_view SPACE = " \t\r\n";
    std::size_t const first = text.find_first_not_of(SPACE);
    if (first == text.npos)
        return text.substr(0, 0);
    return text.substr(first, text.find_last_not_of(SPACE) + 1 - first);
}

Operand length(Arguments arguments, Temporaries&)
{
    if (!arguments[0].isText())
        return Operand::undefined();
    return Operand::computed(static_cast<double>(countCodePoints(arguments[0].text())), true);
}

template <char from, char to, int change>
Operand letters(Arguments arguments, Temporaries& temporaries)
{
    if (!arguments[0].isText())
        return Operand::undefined();
    Operand const result =
        arguments[0].temporary() ? arguments[0] : Operand(std::string(arguments[0].text()), temporaries);
    for (char& byte : *result.temporary())
        if (byte >= from && byte <= to)
            byte = static_cast<char>(byte + change);
    return result;
}

Operand trim(Arguments arguments, Temporaries&)
{
    return arguments[0].isText() ? Operand(trimmed(arguments[0].text())) : Operand::undefined();
}

/// Test of two texts; false if either operand is no text.
template <bool (*test)(std::string_view, std::string_view)>
Operand ofTexts(Arguments arguments, Temporaries&)
{
    return Operand(allTexts(arguments) && test(arguments[0].text(), arguments[1].text()));
}

bool contains(std::string_view text, std::string_view part) noexcept
{
    return text.find(part) != text.npos;
}

bool startsWith(std::string_view text, std::string_view part) noexcept
{
    return text.substr(0, part.size()) == part;
}

bool endsWith(std::string_view text, std::string_view part) noexcept
{
    return text.size() >= part.size() && text.substr(text.size() - part.size()) == part;
}

/// True if the whole text matches the pattern. Backtracks to the last `*` only: an earlier one could only take more of
/// what the last one takes as well. A `\` at the end of the pattern stands for itself.
bool like(std::string_view text, std::string_view pattern) noexcept
{
    std::size_t at = 0;     // in the text
    std::size_t next = 0;   // in the pattern
    std::size_t afterStar = pattern.npos;
    std::size_t starTook = 0;   // end of what the last star matched
    auto const step = [&](std::size_t from) {
        do
            ++from;
        while (from < text.size() && continues(text[from]));
        return from;
    };

    while (at < text.size() || next < pattern.size()) {
        if (next < pattern.size()) {
            char const sign = pattern[next];
            if (sign == '*') {
                afterStar = ++next;
                starTook = at;
                continue;
            }
            bool const escape = sign == '\\' && next + 1 < pattern.size();
            if (at < text.size() && sign == '?') {
                at = step(at);
                ++next;
                continue;
            }
            if (at < text.size() && text[at] == pattern[next + (escape ? 1 : 0)]) {
                ++at;
                next += escape ? 2 : 1;
                continue;
            }
        }
        if (afterStar == pattern.npos || starTook >= text.size())
            return false;
        starTook = step(starTook);
        at = starTook;
        next = afterStar;
    }
    return true;
}

Operand hasItem(Arguments arguments, Temporaries&)
{
    if (!allTexts(arguments))
        return Operand(false);
    std::string_view rest = arguments[0].text();
    std::string_view const item = arguments[1].text();
    std::string_view const separator = arguments.size() > 2 ? arguments[2].text() : ",";
    if (rest.empty())
        return Operand(false);
    if (separator.empty())
        return Operand(rest == item);
    for (;;) {
        std::size_t const end = rest.find(separator);
        if (rest.substr(0, end) == item)
            return Operand(true);
        if (end == rest.npos)
            return Operand(false);
        rest.remove_prefix(end + separator.size());
    }
}

// Kinds

Operand defined(Arguments arguments, Temporaries&)
{
    return Operand(!arguments[0].isUndefined());
}

Operand number(Arguments arguments, Temporaries&)
{
    Operand const& operand = arguments[0];
    if (operand.isNumeric())
        return Operand::computed(operand.numeric(), false);
    if (!operand.isText())
        return Operand::undefined();
    std::string_view digits = trimmed(operand.text());
    bool const negative = startsWith(digits, "-");
    if (negative || startsWith(digits, "+"))
        digits.remove_prefix(1);
    if (digits.empty() || numberLength(digits) != digits.size())
        return Operand::undefined();
    double const value = numberValue(digits);
    return Operand::computed(negative ? -value : value, true);
}

Operand text(Arguments arguments, Temporaries& temporaries)
{
    Operand const& operand = arguments[0];
    if (operand.isNumber())
        return Operand(std::string(Spelling(operand).view()), temporaries);
    if (operand.isLogical())
        return Operand(std::string_view(operand.truth() ? "true" : "false"));
    return operand;
}

constexpr auto absolute = [](double number) { return std::fabs(number); };
constexpr auto roundedUp = [](double number) { return std::ceil(number); };
constexpr auto roundedDown = [](double number) { return std::floor(number); };
constexpr auto truncated = [](double number) { return std::trunc(number); };
constexpr auto squareRoot = [](double number) { return std::sqrt(number); };
constexpr auto rounded = [](double number) { return std::round(number); };   // halves away from zero
constexpr auto less = [](double left, double right) { return left < right; };
constexpr auto greater = [](double left, double right) { return left > right; };

constexpr std::array FUNCTIONS{
    Function{"abs", 1, 1, ofNumber<absolute>},
    Function{"ceil", 1, 1, ofNumber<roundedUp>},
    Function{"floor", 1, 1, ofNumber<roundedDown>},
    Function{"round", 1, 1, ofNumber<rounded>},
    Function{"sqrt", 1, 1, ofNumber<squareRoot>},
    Function{"trunc", 1, 1, ofNumber<truncated>},
    Function{"pow", 2, 2, pow},
    Function{"min", 1, MAX_ARGUMENTS, best<less>},
    Function{"max", 1, MAX_ARGUMENTS, best<greater>},
    Function{"length", 1, 1, length},
    Function{"lower", 1, 1, letters<'A', 'Z', 'a' - 'A'>},
    Function{"upper", 1, 1, letters<'a', 'z', 'A' - 'a'>},
    Function{"trim", 1, 1, trim},
    Function{"contains", 2, 2, ofTexts<contains>},
    Function{"startsWith", 2, 2, ofTexts<startsWith>},
    Function{"endsWith", 2, 2, ofTexts<endsWith>},
    Function{"like", 2, 2, ofTexts<like>},
    Function{"hasItem", 2, 3, hasItem},
    Function{"defined", 1, 1, defined},
    Function{"number", 1, 1, number},
    Function{"text", 1, 1, text},
};

}   // namespace

Function const* functionNamed(std::string_view name) noexcept
{
    for (Function const& function : FUNCTIONS)
        if (function.name == name)
            return &function;
    return nullptr;
}

std::uint32_t indexOf(Function const& function) noexcept
{
    return static_cast<std::uint32_t>(&function - FUNCTIONS.data());
}

Function const& functionAt(std::uint32_t index) noexcept
{
    return FUNCTIONS[index];
}

}   // namespace gel::detail
