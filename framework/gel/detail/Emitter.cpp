#include "gel/detail/Emitter.h"

#include "gel/detail/Evaluator.h"

#include <algorithm>
#include <utility>

namespace gel::detail {

namespace {

/// The source for constant folding, never called.
class NoSource final : public DataSource {
    Value lookup(std::string const&) const override { return {}; }
};

/// True if the operation always leaves a logical on the stack; of a jump, when taken.
constexpr bool yieldsLogical(Operation operation) noexcept
{
    switch (operation) {
    case Operation::Not:
    case Operation::Truth:
    case Operation::Equal:
    case Operation::NotEqual:
    case Operation::Less:
    case Operation::LessOrEqual:
    case Operation::Greater:
    case Operation::GreaterOrEqual:
    case Operation::Match:
    case Operation::SkipIfFalse:
    case Operation::SkipIfTrue:
    case Operation::SkipIfItem:
    case Operation::EndOfList: return true;
    default: return false;
    }
}

}   // namespace

Emitter::Emitter(bool folds) : m_folds(folds)
{
    m_code.reserve(32);   // enough for most programs
    m_constants.reserve(8);
    m_symbols.reserve(8);
    m_byName.reserve(8);
    m_firstReads.reserve(8);
}

Emitter::Start Emitter::start() const noexcept
{
    return {m_code.size(), m_constants.size(), m_textCount, m_reads, m_depth, m_deepest};
}

void Emitter::constant(Operand const& value)
{
    append(Operation::Constant, m_constants.size());
    m_constants.push_back(value);
    push();
}

void Emitter::read(std::string_view symbol)
{
    std::size_t const index = indexOf(symbol);
    bool const again = index < m_firstReads.size();
    if (again)
        m_code[m_firstReads[index]].small = 1;
    else
        m_firstReads.push_back(static_cast<std::uint32_t>(m_code.size()));
    m_rereads = m_rereads || again;
    append(Operation::Read, index, again ? 1 : 0);
    ++m_reads;
    push();
}

void Emitter::apply(Operation operation)
{
    if (operation == Operation::Truth && endsLogical())
        return;
    if (operation <= Operation::Truth)
        return append(operation);
    --m_depth;
    if (m_folds && m_code.back().operation == Operation::Constant && m_landing != m_code.size())
        m_code.back() = {operation, 1, m_code.back().index};
    else
        append(operation);
}

void Emitter::match(std::unique_ptr<Pattern const> pattern)
{
    append(Operation::Match, m_patterns.size());
    m_patterns.push_back(std::move(pattern));
}

void Emitter::call(Function const& function, std::size_t arguments)
{
    append(Operation::Call, detail::indexOf(function), arguments);
    m_depth -= arguments - 1;
}

void Emitter::jump(Operation operation, Jumps& jumps, bool result)
{
    std::uint32_t const before = std::exchange(jumps.last, static_cast<std::uint32_t>(m_code.size()));
    append(operation, before, result ? 1 : 0);
    --m_depth;
}

void Emitter::endOfList(bool result)
{
    append(Operation::EndOfList, 0, result ? 1 : 0);
}

void Emitter::land(Jumps const& jumps) noexcept
{
    auto const target = static_cast<std::uint32_t>(m_code.size());
    for (std::uint32_t jump = jumps.last; jump != NO_JUMP;) {
        m_landsLogical = yieldsLogical(m_code[jump].operation) && (m_landsLogical || m_landing != target);
        m_landing = target;
        jump = std::exchange(m_code[jump].index, target);
    }
}

void Emitter::fold(Start const& start)
{
    if (!m_folds || m_reads != start.reads || m_code.size() <= start.code + 1)
        return;
    Routine const written{m_code, m_constants.data(), m_patterns.data(), {}, m_deepest, false};
    Value value = evaluate(written, start.code, NoSource());
    m_code.resize(start.code);
    m_constants.resize(start.constants);
    for (; m_textCount > start.texts; --m_textCount)
        m_texts.pop_front();
    m_deepest = start.deepest;
    m_depth = start.depth;
    if (!value.isString())
        return constant(Operand(value));
    m_texts.push_front(std::move(value));
    ++m_textCount;
    constant(Operand(m_texts.front()));
}

Program Emitter::finish(std::string text) &&
{
    return Instructions::make(
        {std::move(text), m_code, m_constants, m_symbols, m_byName, m_patterns, m_deepest, m_rereads});
}

void Emitter::append(Operation operation, std::size_t index, std::size_t small)
{
    m_code.push_back({operation, static_cast<std::uint8_t>(small), static_cast<std::uint32_t>(index)});
}

void Emitter::push() noexcept
{
    m_deepest = std::max(m_deepest, ++m_depth);
}

/// True if the top is a logical on every path.
bool Emitter::endsLogical() const noexcept
{
    return yieldsLogical(m_code.back().operation) && (m_landsLogical || m_landing != m_code.size());
}

/// The number of a symbol, assigned on first use.
std::size_t Emitter::indexOf(std::string_view symbol)
{
    auto const isBefore = [this](std::uint32_t index, std::string_view name) { return m_symbols[index] < name; };
    auto const place = std::lower_bound(m_byName.begin(), m_byName.end(), symbol, isBefore);
    if (place != m_byName.end() && m_symbols[*place] == symbol)
        return *place;
    m_byName.insert(place, static_cast<std::uint32_t>(m_symbols.size()));
    m_symbols.emplace_back(symbol);
    return m_symbols.size() - 1;
}

}   // namespace gel::detail
