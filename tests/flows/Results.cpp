#include "framework/GelGenerator.h"
#include "framework/GelTables.h"
#include "gel/Eval.h"
#include "gel/ParseError.h"
#include "gel/Tree.h"
#include "studio/data/PropertyValue.h"
#include "studio/host/Meanings.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <iostream>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

// What expressions yield, for a comparison byte for byte between platforms.
// Usage: results FILE [--from N --to M]. Writes all results to FILE: those of the tables, of 2,000 doubles, and a sum
// for each 1,000 of 150,000 random expressions. With a range of those it writes only them, each on a line of its own.
namespace {

using namespace gel::test;
using gel::Value;

constexpr int TREES = 150'000;
constexpr int TREES_PER_LINE = 1'000;
constexpr int DOUBLES = 2'000;
constexpr char DIGITS[] = "0123456789abcdef";

std::string hex(std::uint64_t bits)
{
    std::string text(16, '0');
    for (std::size_t at = 16; at-- != 0; bits >>= 4)
        text[at] = DIGITS[bits & 15];
    return text;
}

std::string bitsOf(double number)
{
    return hex(std::bit_cast<std::uint64_t>(number));
}

/// A text as a literal of printable ASCII.
std::string asLiteral(std::string_view text)
{
    std::string written = "\"";
    for (char const character : text) {
        auto const byte = static_cast<unsigned char>(character);
        if (byte < 0x20 || byte > 0x7e)
            ((written += "\\x") += DIGITS[byte / 16]) += DIGITS[byte % 16];
        else
            (written += character == '"' || character == '\\' ? "\\" : "") += character;
    }
    return written + '"';
}

/// The text of a number as the language writes it.
std::string spelt(double number)
{
    return gel::eval("text(n)", RecordingSource({{"n", number}})).getString();
}

/// Kind and content; of a number, its bits.
std::string shown(Value const& value)
{
    if (value.isDouble())
        return "number " + bitsOf(value.getDouble());
    if (value.isLogical())
        return value.getBool() ? "true" : "false";
    return value.isString() ? "text " + asLiteral(value.getString()) : "undefined";
}

void writeTables(std::ostream& out)
{
    for (Table const& table : tables())
        for (Row const& row : table.rows) {
            RecordingSource source;
            for (Holding const* held = row.symbols; held->symbol; ++held)
                source.values[held->symbol] = held->cell.value();
            Value const value = gel::eval(row.text, source);
            out << table.name << ' ' << asLiteral(row.text) << " = " << shown(value)
                << (value.isDouble() ? ' ' + spelt(value.getDouble()) : "") << " <" << source.asked << ">\n";
        }
    for (Refusal const& row : refusals())
        try {
            gel::symbols(row.text);
            out << "Accepted " << asLiteral(row.text) << '\n';
        } catch (gel::ParseError const& error) {
            out << "Refused " << asLiteral(row.text) << ' ' << error.offset() << ' ' << asLiteral(error.what()) << ' '
                << asLiteral(error.excerpt()) << '\n';
        }
}

/// Doubles whose texts are awkward, then ones with random bits or few decimals.
std::vector<double> doubles()
{
    std::vector<double> list{0.1, 1 / 3.0, 2 / 3.0, 1e21, 1e-6, 1e-7, 5e-324, 1.7976931348623157e308, 0x1p53, 0x1p63};
    for (int exponent = -330; exponent <= 308; exponent += 11)
        list.push_back(std::strtod(("1e" + std::to_string(exponent)).c_str(), nullptr));
    for (int exponent = -1'074; exponent <= 1'023; exponent += 23)
        for (double const factor : {1.0, 1 + 0x1p-52, -1 - 0x1p-51})
            list.push_back(std::ldexp(factor, exponent));
    std::mt19937_64 random(4);
    while (list.size() < DOUBLES) {
        std::uint64_t const bits = random();
        double const decimal = static_cast<double>(bits >> 40) / 1'000;
        double const number = list.size() % 3 == 0 ? decimal : std::bit_cast<double>(bits);
        if (std::isfinite(number))
            list.push_back(number);
    }
    return list;
}

void writeDoubles(std::ostream& out)
{
    studio::host::Meanings meanings;
    for (double const number : doubles()) {
        std::string const text = spelt(number);
        studio::data::PropertyValue const value(number);
        Value const again = gel::eval("number(s)", RecordingSource({{"s", text}}));
        // A power: of small bases, which stay finite.
        double const base = std::fmod(number, 16);
        Value const power = gel::eval("pow(n, 7) / pow(n, -3)", RecordingSource({{"n", base}}));
        Value const root = gel::eval("n * n + sqrt(abs(n)) * 0.1 - n % 0.7", RecordingSource({{"n", base}}));
        out << bitsOf(number) << ' ' << text << ' ' << value.asString() << ' ' << value << ' '
            << (again.isDouble() ? bitsOf(again.getDouble()) : "unread") << ' ' << shown(power) << ' ' << shown(root)
            << ' ' << meanings.add(gel::Tree("n == " + text)).value.back() << '\n';
    }
}

/// A random expression and what it yields.
std::string treeLine(int number)
{
    static std::vector<Value> const s_numbers{0.1,         1 / 3.0, -1e308,  5e-324, 123456.789, 1e21, 0x1p53, "1e3",
                                              1 + 0x1p-52, -0.7,    Value(), true,   "x",        1e-7, 3,      "a"};
    Generator generator(static_cast<std::uint64_t>(number));
    std::string const text = print(generator.tree(number % 6)).text;
    RecordingSource const source(number / 6 % 2 == 0 ? generator.values() : generator.values(s_numbers));
    Value const value = gel::eval(text, source);
    return std::to_string(number) + ' ' + asLiteral(text) + " = " + shown(value) + " <" + source.asked + '>';
}

/// FNV-1a.
void addTo(std::uint64_t& sum, std::string_view text)
{
    for (char const character : text)
        sum = (sum ^ static_cast<unsigned char>(character)) * 0x100000001b3u;
}

void writeTrees(std::ostream& out)
{
    for (int first = 1; first <= TREES; first += TREES_PER_LINE) {
        std::uint64_t sum = 0xcbf29ce484222325u;
        for (int number = first; number != first + TREES_PER_LINE; ++number)
            addTo(sum, treeLine(number));
        out << "trees " << first << ' ' << hex(sum) << '\n';
    }
}

int write(std::ostream& out, int from, int to)
{
    if (from == 0) {
        writeTables(out);
        writeDoubles(out);
        writeTrees(out);
    }
    for (int number = from; number != 0 && number <= to; ++number)
        out << treeLine(number) << '\n';
    return out.flush() ? 0 : 1;
}

}   // namespace

int main(int count, char** words)
{
    bool const isRange = count == 6 && std::strcmp(words[2], "--from") == 0 && std::strcmp(words[4], "--to") == 0;
    if (count != 2 && !isRange) {
        std::cerr << "usage: results FILE [--from N --to M]\n";
        return 2;
    }
    try {
        std::ofstream file(words[1], std::ios::binary);
        return write(file, isRange ? std::atoi(words[3]) : 0, isRange ? std::atoi(words[5]) : 0);
    } catch (std::exception const& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
