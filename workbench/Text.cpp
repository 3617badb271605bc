#include "workbench/Text.h"

#include <nlohmann/json.hpp>

#include <boost/uuid/uuid_io.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace workbench {

using nlohmann::json;
using studio::data::PropertyValue;

namespace {

struct Character {
    char32_t code;
    std::size_t length;   // in bytes
};

constexpr Character BAD{0xFFFD, 1};

/// Returns the first character of a text that is not empty. A byte that begins no character is `BAD`.
Character firstCharacter(std::string_view text)
{
    auto const byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    if (byte(0) < 0x80)
        return {byte(0), 1};
    std::size_t const length = byte(0) < 0xC2 ? 0 : byte(0) < 0xE0 ? 2 : byte(0) < 0xF0 ? 3 : byte(0) < 0xF5 ? 4 : 0;
    if (length == 0 || length > text.size())
        return BAD;
    char32_t code = byte(0) & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0U) != 0x80U)
            return BAD;
        code = code << 6U | (byte(i) & 0x3FU);
    }
    constexpr std::array<char32_t, 5> least{0, 0, 0x80, 0x800, 0x10000};
    bool const surrogate = code >= 0xD800 && code < 0xE000;
    return code < least[length] || surrogate || code > 0x10FFFF ? BAD : Character{code, length};
}

/// True for control characters, C0 and C1, and for what else a terminal takes for the end of a line.
bool isControl(char32_t code)
{
    return code < 0x20 || (code >= 0x7F && code < 0xA0) || code == 0x2028 || code == 0x2029;
}

struct Range {
    char32_t first;
    char32_t last;
    std::size_t columns;
};
/// The blocks whose characters do not take one column on a terminal.
constexpr std::array s_widths{
    Range{0x0300, 0x036F, 0},   Range{0x1100, 0x115F, 2},   Range{0x200B, 0x200F, 0},   Range{0x20D0, 0x20FF, 0},
    Range{0x2E80, 0x303E, 2},   Range{0x3041, 0xA4CF, 2},   Range{0xAC00, 0xD7A3, 2},   Range{0xF900, 0xFAFF, 2},
    Range{0xFE00, 0xFE0F, 0},   Range{0xFE30, 0xFE6F, 2},   Range{0xFF00, 0xFF60, 2},   Range{0xFFE0, 0xFFE6, 2},
    Range{0x1F300, 0x1F64F, 2}, Range{0x1F680, 0x1F6FF, 2}, Range{0x1F900, 0x1FAFF, 2}, Range{0x20000, 0x3FFFD, 2},
};

std::size_t columnsOf(char32_t code)
{
    for (Range const& range : s_widths)
        if (code >= range.first && code <= range.last)
            return range.columns;
    return 1;
}

}   // namespace

std::string shown(PropertyValue const& value)
{
    if (value.isUndefined())
        return "undefined";
    if (value.isUUID())
        return boost::uuids::to_string(value.getUUID());
    if (value.isLogical())
        return value.getBool() ? "true" : "false";
    if (value.isString())
        return json(value.getString()).dump(-1, ' ', false, json::error_handler_t::replace);
    double const number = value.getDouble();
    constexpr double exact = 9007199254740992.0;   // up to here a double represents every integer
    if (std::trunc(number) == number && std::abs(number) < exact)
        return json(static_cast<std::int64_t>(number)).dump();
    return std::isfinite(number) ? json(number).dump() : value.asString();
}

std::string counted(std::size_t count)
{
    std::string digits = std::to_string(count);
    for (std::size_t place = digits.size(); place > 3;) {
        place -= 3;
        digits.insert(place, ",");
    }
    return digits;
}

std::string counted(std::size_t count, std::string const& unit)
{
    return counted(count) + " " + unit + (count == 1 ? "" : "s");
}

std::string lasting(std::chrono::nanoseconds time)
{
    struct Unit {
        double nanoseconds;
        char const* name;
    };
    constexpr std::array units{Unit{1e9, "s"}, Unit{1e6, "ms"}, Unit{1e3, "µs"}, Unit{1, "ns"}};
    auto const count = static_cast<double>(time.count());
    Unit const* unit = std::find_if(units.begin(), units.end(), [&](Unit const& u) { return count >= u.nanoseconds; });
    if (unit == units.end())
        unit = &units.back();
    double const number = count / unit->nanoseconds;
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), number < 10 && unit->nanoseconds > 1 ? "%.1f %s" : "%.0f %s", number,
                  unit->name);
    return text.data();
}

std::string inQuotes(std::string_view name)
{
    return '"' + oneLine(name, 60) + '"';
}

std::string oneLine(std::string_view text, std::size_t width)
{
    constexpr std::string_view cut = "...";
    std::string line;
    std::size_t columns = 0;
    std::size_t fits = 0;   // bytes of the line that leave room for the dots
    while (!text.empty()) {
        Character const character = firstCharacter(text);
        bool const bad = character.code == BAD.code;
        std::string_view const bytes = isControl(character.code) ? " "
                                       : bad                     ? "\xEF\xBF\xBD"
                                                                 : text.substr(0, character.length);
        columns += isControl(character.code) ? 1 : columnsOf(character.code);
        if (columns > width) {
            line.resize(fits);
            return line.append(cut.substr(0, width));
        }
        line += bytes;
        if (columns + cut.size() <= width)
            fits = line.size();
        text.remove_prefix(character.length);
    }
    return line;
}

}   // namespace workbench
