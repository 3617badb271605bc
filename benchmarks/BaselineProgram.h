#pragma once

#include "benchmarks/BaselineValue.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace benchmarks::baseline {

/// A value during an evaluation, not owned. No initializers, so that a stack of them costs nothing.
struct Cell {
    enum class Kind : std::uint8_t { undefined, number, logical, text };

    static Cell of(double number)
    {
        Cell cell;
        cell.kind = Kind::number;
        cell.number = number;
        return cell;
    }
    static Cell undefined()
    {
        Cell cell;
        cell.kind = Kind::undefined;
        cell.number = 0;
        return cell;
    }
    static Cell of(Value const& value)
    {
        Cell cell = undefined();
        switch (value.index()) {
        case 2: return of(*std::get_if<double>(&value));
        case 3:
            cell.kind = Kind::logical;
            cell.logical = *std::get_if<bool>(&value);
            return cell;
        case 4:
            cell.kind = Kind::text;
            cell.text = std::get_if<std::string>(&value);
            return cell;
        default: return cell;
        }
    }

    Kind kind;
    union {
        double number;
        bool logical;
        std::string const* text;
    };
};

/// Sums of numbers and numbered symbols, compiled for a stack machine. Computes with numbers only.
class Program {
public:
    enum class Code : std::uint8_t { number, load, add, subtract, multiply, divide };
    struct Instruction {
        Code code;
        std::uint32_t symbol = 0;
        double number = 0;
    };

    /// Compiles terms with " + " between them, each a number or a name; `numbered` returns the number of a name.
    Program(std::string_view text, std::function<std::uint32_t(std::string_view name)> const& numbered);

    /// Evaluates; `load` returns the cell of a symbol.
    template <class Load>
    Cell evaluate(Load const& load) const
    {
        Cell stack[16];
        Cell* top = stack - 1;
        auto const binary = [&](auto const& operation) {
            --top;
            *top = Cell::of(operation(top[0].number, top[1].number));
        };
        for (Instruction const& instruction : instructions)
            switch (instruction.code) {
            case Code::number: *++top = Cell::of(instruction.number); break;
            case Code::load: *++top = load(instruction.symbol); break;
            case Code::add: binary(std::plus<>{}); break;
            case Code::subtract: binary(std::minus<>{}); break;
            case Code::multiply: binary(std::multiplies<>{}); break;
            case Code::divide: binary(std::divides<>{}); break;
            }
        return *top;
    }

private:
    std::vector<Instruction> instructions;
};

}   // namespace benchmarks::baseline
