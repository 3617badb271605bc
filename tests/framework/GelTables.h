#pragma once

#include "gel/DataSource.h"
#include "gel/Value.h"

#include <map>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace gel::test {

/// Answers from a map, and writes down what it was asked for.
class RecordingSource : public DataSource {
public:
    explicit RecordingSource(std::map<std::string, Value> values = {}) : values(std::move(values)) {}

    Value lookup(std::string const& symbol) const override
    {
        asked += (asked.empty() ? "" : " ") + symbol;
        auto const found = values.find(symbol);
        return found == values.end() ? Value() : found->second;
    }

    std::map<std::string, Value> values;
    mutable std::string asked;
};

/// A value that a table can hold ready made.
struct Cell {
    enum class Kind { Undefined, Number, Logical, Text };

    constexpr Cell() = default;
    constexpr Cell(int number) : Cell(static_cast<double>(number)) {}
    constexpr Cell(double number) : kind(Kind::Number), number(number) {}
    constexpr Cell(bool logical) : kind(Kind::Logical), number(logical ? 1 : 0) {}
    constexpr Cell(char const* text) : kind(Kind::Text), text(text) {}

    Value value() const;

    Kind kind = Kind::Undefined;
    double number = 0;
    char const* text = nullptr;
};

struct Holding {
    char const* symbol = nullptr;   // null ends the list
    Cell cell;
};

/// A text, what its symbols hold, and what it yields; `lookups` names the symbols in the order in which they are asked
/// for, or is null where a row is not about that.
struct Row {
    char const* text;
    Holding symbols[4];
    Cell expected;
    char const* lookups = nullptr;
};

struct Table {
    char const* name;
    std::span<Row const> rows;
};

/// A text that does not parse, the place as LINE:COLUMN, and why.
struct Refusal {
    char const* text;
    char const* place;
    char const* reason;
};

std::vector<Table> tables();
std::span<Refusal const> refusals();

}   // namespace gel::test
