#include "gel/detail/Evaluator.h"

#include "gel/detail/EvaluationFrame.h"
#include "gel/detail/Functions.h"
#include "gel/detail/Operand.h"

#include <cmath>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>

namespace gel::detail {

namespace {

template <class Compute>
Operand arithmetic(Operand const& left, Operand const& right, Compute compute) noexcept
{
    if (!left.isNumeric() || !right.isNumeric())
        return Operand::undefined();
    double const first = left.numeric();
    double const second = right.numeric();
    double const result = compute(first, second);
    bool const fromFinite = std::isfinite(result) || (std::isfinite(first) && std::isfinite(second));
    return Operand::computed(result, fromFinite);
}

/// Each interpreter has this function for itself, too.
template <class Tracer>
Operand add(Operand const& left, Operand const& right, EvaluationFrame<Tracer>& frame)
{
    if (!left.isText() && !right.isText())
        return arithmetic(left, right, [](double a, double b) { return a + b; });
    if (left.isUndefined() || right.isUndefined())
        return Operand::undefined();
    Spelling const head(left);
    Spelling const tail(right);
    if (std::string* const made = left.temporary()) {
        made->append(tail.view());   // appending in place keeps a chain of joins linear
        return left;
    }
    std::string joined;
    joined.reserve(head.view().size() + tail.view().size());
    joined.append(head.view()).append(tail.view());
    return Operand(std::move(joined), frame.temporaries());
}

template <class Compare>
Operand order(Operand const& left, Operand const& right, Compare compare) noexcept
{
    if (left.isNumeric() && right.isNumeric())
        return Operand(compare(left.numeric(), right.numeric()));
    if (left.isText() && right.isText())
        return Operand(compare(left.text().compare(right.text()), 0));
    return Operand(false);
}

Operand negate(Operand const& operand) noexcept
{
    return operand.isNumeric() ? Operand::computed(-operand.numeric(), false) : Operand::undefined();
}

/// Follows nothing.
struct NoTracer {
    static void reach(Instruction const*, Instruction const*, Operand const*) noexcept {}
};

/// Stores the value of each node when the evaluation reaches the end of its code.
class NodeTracer {
public:
    NodeTracer(Instruction const* first, std::span<CodeExtent const> code, std::span<std::optional<Value>> values)
        : m_first(first), m_code(code), m_values(values)
    {}

    /// The instruction `last` has run, and `next` comes: the top is the value of every node whose code ends there and
    /// has run. A jump over the code of a node begins before it.
    void reach(Instruction const* last, Instruction const* next, Operand const* top)
    {
        auto const from = static_cast<std::uint32_t>(last - m_first);
        auto const to = static_cast<std::uint32_t>(next - m_first);
        while (m_node != m_code.size() && m_code[m_node].end < to)
            ++m_node;
        for (; m_node != m_code.size() && m_code[m_node].end == to; ++m_node)
            if (m_code[m_node].begin <= from)
                m_values[m_node] = top->copy();
    }

private:
    Instruction const* m_first;
    std::span<CodeExtent const> m_code;
    std::span<std::optional<Value>> m_values;
    std::size_t m_node = 0;   // the first whose end was not reached: ends ascend, and no jump goes back
};

template <class Tracer>
Value run(Routine const& routine, std::size_t begin, DataSource const& source, Tracer tracer)
{
    EvaluationFrame<Tracer> frame(routine);
    Operand* top = frame.bottom();
    Instruction const* const code = routine.code.data();
    Instruction const* const end = code + routine.code.size();
    for (Instruction const* next = code + begin; next != end;) {
        [[maybe_unused]] Instruction const* const last = next;
        Instruction const now = *next++;
        auto const join = [&](auto combine) {   // combines the two topmost operands, or top and a constant
            Operand const& right = now.small == 0 ? *top-- : routine.constants[now.index];
            *top = combine(*top, right);
        };
        auto const compute = [&](auto of) { join([&](auto& a, auto& b) { return arithmetic(a, b, of); }); };
        auto const compare = [&](auto of) { join([&](auto& a, auto& b) { return order(a, b, of); }); };
        switch (now.operation) {
        case Operation::Constant: *++top = routine.constants[now.index]; break;
        case Operation::Read: {
            std::string const& symbol = routine.symbols[now.index];
            *++top = now.small == 0 ? frame.fetch(now.index, symbol, source) : frame.read(now.index, symbol, source);
            break;
        }
        case Operation::Not: *top = Operand(!top->truth()); break;
        case Operation::Negate: *top = negate(*top); break;
        case Operation::Truth: *top = Operand(top->truth()); break;
        case Operation::Match:
            *top = Operand(top->isText() && routine.patterns[now.index]->matches(top->text()));
            break;
        case Operation::Call:
            top -= now.small - 1;
            *top = functionAt(now.index).apply(std::span<Operand const>(top, now.small), frame.temporaries());
            break;
        case Operation::SkipIfFalse:
        case Operation::SkipIfTrue:
            if (top->truth() == (now.operation == Operation::SkipIfTrue)) {
                *top = Operand(now.operation == Operation::SkipIfTrue);
                next = code + now.index;
            } else {
                --top;
            }
            break;
        case Operation::SkipIfDefined:
            if (top->isUndefined())
                --top;
            else
                next = code + now.index;
            break;
        case Operation::Choose:
            if (!top--->truth())
                next = code + now.index;
            break;
        case Operation::Jump: next = code + now.index; break;
        case Operation::SkipIfItem:
            --top;
            if (top[0] == top[1]) {
                *top = Operand(now.small != 0);
                next = code + now.index;
            }
            break;
        case Operation::EndOfList: *top = Operand(now.small != 0); break;
        case Operation::Add: join([&](auto& a, auto& b) { return add(a, b, frame); }); break;
        case Operation::Subtract: compute([](double a, double b) { return a - b; }); break;
        case Operation::Multiply: compute([](double a, double b) { return a * b; }); break;
        case Operation::Divide: compute([](double a, double b) { return a / b; }); break;
        case Operation::Remainder: compute([](double a, double b) { return std::fmod(a, b); }); break;
        case Operation::Equal: join([](auto& a, auto& b) { return Operand(a == b); }); break;
        case Operation::NotEqual: join([](auto& a, auto& b) { return Operand(!(a == b)); }); break;
        case Operation::Less: compare([](auto a, auto b) { return a < b; }); break;
        case Operation::LessOrEqual: compare([](auto a, auto b) { return a <= b; }); break;
        case Operation::Greater: compare([](auto a, auto b) { return a > b; }); break;
        case Operation::GreaterOrEqual: compare([](auto a, auto b) { return a >= b; }); break;
        }
        tracer.reach(last, next, top);
    }
    return top->release();
}

}   // namespace

Value evaluate(Instructions const& program, DataSource const& source)
{
    return run(program.routine(), 0, source, NoTracer());
}

Value evaluate(Routine const& routine, std::size_t begin, DataSource const& source)
{
    return run(routine, begin, source, NoTracer());
}

void trace(Instructions const& program, std::span<CodeExtent const> code, DataSource const& source,
           std::span<std::optional<Value>> values)
{
    Routine const routine = program.routine();
    run(routine, 0, source, NodeTracer(routine.code.data(), code, values));
}

}   // namespace gel::detail
