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

bool startsCharacter(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
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
    constexpr double exact = 9007199254740992.0;   // up to here a double holds every whole number
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

std::string oneLine(std::string_view text, std::size_t width)
{
    constexpr std::string_view cut = "...";
    std::string line;
    std::size_t characters = 0;
    std::size_t fits = 0;   // bytes of the line that leave room for the dots
    for (char const byte : text) {
        if (startsCharacter(byte)) {
            if (characters + cut.size() <= width)
                fits = line.size();
            if (++characters > width) {
                line.resize(fits);
                return line.append(cut);
            }
        }
        auto const code = static_cast<unsigned char>(byte);
        line += code < 0x20 || code == 0x7F ? ' ' : byte;
    }
    return line;
}

}   // namespace workbench
