#include "gel/detail/Evaluator.h"

#include "gel/detail/Functions.h"
#include "gel/detail/Operand.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <span>

namespace gel::detail {

namespace {

/// What one evaluation holds: its stack, the values that it fetched, the texts that it made. The usual sizes lie in
/// here, uninitialised until they are used; larger programs go to the heap.
class Frame {
public:
    explicit Frame(Instructions const& program);
    ~Frame();
    Frame(Frame const&) = delete;
    Frame& operator=(Frame const&) = delete;

    /// The place below the first operand, so that the top of an empty stack has an address.
    Operand* bottom() noexcept { return m_farStack ? m_farStack.get() : m_nearStack.data(); }
    Temporaries& temporaries() noexcept { return m_temporaries; }

    /// The value of a slot, asked for when this is the first time.
    Value const& read(std::uint32_t slot, DataSource const* source);

private:
    static constexpr std::size_t NEAR_OPERANDS = 24;
    static constexpr std::size_t NEAR_SLOTS = 16;

    union Slot {
        Slot() {}
        ~Slot() {}
        Value value;
    };

    Instructions const& m_program;
    std::uint32_t m_fetched = 0;   // a bit for each near slot that holds a value
    std::array<Slot, NEAR_SLOTS> m_nearSlots;
    std::array<Operand, NEAR_OPERANDS + 1> m_nearStack;
    std::unique_ptr<std::optional<Value>[]> m_farSlots;
    std::unique_ptr<Operand[]> m_farStack;
    Temporaries m_temporaries;
};

Frame::Frame(Instructions const& program) : m_program(program)
{
    if (program.slots.size() > NEAR_SLOTS)
        m_farSlots = std::make_unique<std::optional<Value>[]>(program.slots.size());
    if (program.stackDepth > NEAR_OPERANDS)
        m_farStack.reset(new Operand[program.stackDepth + 1]);
}

Frame::~Frame()
{
    for (std::size_t slot = 0; m_fetched >> slot != 0; ++slot)
        if ((m_fetched >> slot & 1U) != 0)
            m_nearSlots[slot].value.~Value();
}

Value const& Frame::read(std::uint32_t slot, DataSource const* source)
{
    if (m_farSlots) {
        std::optional<Value>& far = m_farSlots[slot];
        return far ? *far : far.emplace(source->fetch(slot, *m_program.slots[slot]));
    }
    Value& near = m_nearSlots[slot].value;
    std::uint32_t const bit = 1U << slot;
    if ((m_fetched & bit) == 0) {
        ::new (static_cast<void*>(&near)) Value(source->fetch(slot, *m_program.slots[slot]));
        m_fetched |= bit;
    }
    return near;
}

template <class Compute>
Operand arithmetic(Operand const& left, Operand const& right, Compute compute) noexcept
{
    if (!left.isNumeric() || !right.isNumeric())
        return Operand::undefined();
    double const first = left.numeric();
    double const second = right.numeric();
    return Operand::computed(compute(first, second), std::isfinite(first) && std::isfinite(second));
}

Operand add(Operand const& left, Operand const& right, Temporaries& temporaries)
{
    if (!left.isText() && !right.isText())
        return arithmetic(left, right, [](double a, double b) { return a + b; });
    if (left.isUndefined() || right.isUndefined())
        return Operand::undefined();
    Spelling const head(left);
    Spelling const tail(right);
    if (std::string* const made = left.temporary()) {
        made->append(tail.view());   // a chain of joins costs what its result is long
        return left;
    }
    std::string joined;
    joined.reserve(head.view().size() + tail.view().size());
    joined.append(head.view()).append(tail.view());
    return Operand(std::move(joined), temporaries);
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

Operand binary(Operation operation, Operand const& left, Operand const& right, Temporaries& temporaries)
{
    switch (operation) {
    case Operation::Add: return add(left, right, temporaries);
    case Operation::Subtract: return arithmetic(left, right, [](double a, double b) { return a - b; });
    case Operation::Multiply: return arithmetic(left, right, [](double a, double b) { return a * b; });
    case Operation::Divide: return arithmetic(left, right, [](double a, double b) { return a / b; });
    case Operation::Remainder: return arithmetic(left, right, [](double a, double b) { return std::fmod(a, b); });
    case Operation::NotEqual: return Operand(!(left == right));
    case Operation::Less: return order(left, right, [](auto a, auto b) { return a < b; });
    case Operation::LessOrEqual: return order(left, right, [](auto a, auto b) { return a <= b; });
    case Operation::Greater: return order(left, right, [](auto a, auto b) { return a > b; });
    case Operation::GreaterOrEqual: return order(left, right, [](auto a, auto b) { return a >= b; });
    default: return Operand(left == right);
    }
}

Value run(Instructions const& program, std::size_t begin, DataSource const* source)
{
    Frame frame(program);
    Operand* top = frame.bottom();
    Instruction const* const code = program.code.data();
    Instruction const* const end = code + program.code.size();
    for (Instruction const* next = code + begin; next != end;) {
        Instruction const now = *next++;
        switch (now.operation) {
        case Operation::Constant: *++top = Operand(program.constants[now.index]); break;
        case Operation::Read: *++top = Operand(frame.read(now.index, source)); break;
        case Operation::Not: *top = Operand(!top->truth()); break;
        case Operation::Negate: *top = negate(*top); break;
        case Operation::Truth: *top = Operand(top->truth()); break;
        case Operation::Match:
            *top = Operand(top->isText() && program.patterns[now.index]->matches(top->text()));
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
        default:
            --top;
            *top = binary(now.operation, top[0], top[1], frame.temporaries());
            break;
        }
    }
    return top->release();
}

}   // namespace

Value evaluate(Instructions const& program, DataSource const& source)
{
    return run(program, 0, &source);
}

Value evaluateConstant(Instructions const& program, std::size_t begin)
{
    return run(program, begin, nullptr);
}

}   // namespace gel::detail
