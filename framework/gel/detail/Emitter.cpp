#include "gel/detail/Emitter.h"

#include "gel/detail/Evaluator.h"

#include <algorithm>
#include <utility>

namespace gel::detail {

Emitter::Emitter()
{
    m_program.code.reserve(32);   // most programs are no longer
    m_program.constants.reserve(8);
    m_program.slots.reserve(8);
}

Emitter::Start Emitter::start() const noexcept
{
    return {m_program.code.size(), m_program.constants.size(), m_reads, m_depth, m_program.stackDepth};
}

void Emitter::constant(Value value)
{
    append(Operation::Constant, m_program.constants.size());
    m_program.constants.push_back(std::move(value));
    push();
}

void Emitter::read(std::string const& symbol)
{
    auto const [entry, isNew] = m_program.symbols.try_emplace(symbol, m_program.slots.size());
    if (isNew)
        m_program.slots.push_back(&entry->first);
    append(Operation::Read, entry->second);
    ++m_reads;
    push();
}

void Emitter::apply(Operation operation)
{
    append(operation);
    if (operation != Operation::Not && operation != Operation::Negate && operation != Operation::Truth)
        --m_depth;
}

void Emitter::match(std::unique_ptr<Pattern const> pattern)
{
    append(Operation::Match, m_program.patterns.size());
    m_program.patterns.push_back(std::move(pattern));
}

void Emitter::call(Function const& function, std::size_t arguments)
{
    append(Operation::Call, indexOf(function), arguments);
    m_depth -= arguments - 1;
}

void Emitter::jump(Operation operation, Jumps& jumps, bool result)
{
    std::uint32_t const before = std::exchange(jumps.last, static_cast<std::uint32_t>(m_program.code.size()));
    append(operation, before, result ? 1 : 0);
    --m_depth;
}

void Emitter::endOfList(bool result)
{
    append(Operation::EndOfList, 0, result ? 1 : 0);
}

void Emitter::land(Jumps const& jumps) noexcept
{
    auto const target = static_cast<std::uint32_t>(m_program.code.size());
    for (std::uint32_t jump = jumps.last; jump != NO_JUMP;)
        jump = std::exchange(m_program.code[jump].index, target);
}

void Emitter::fold(Start const& start)
{
    if (m_reads != start.reads || m_program.code.size() <= start.code + 1)
        return;
    Value value = evaluateConstant(m_program, start.code);
    m_program.code.resize(start.code);
    m_program.constants.resize(start.constants);
    m_program.stackDepth = start.deepest;
    m_depth = start.depth;
    constant(std::move(value));
}

void Emitter::append(Operation operation, std::size_t index, std::size_t small)
{
    m_program.code.push_back({operation, static_cast<std::uint8_t>(small), static_cast<std::uint32_t>(index)});
}

void Emitter::push() noexcept
{
    m_program.stackDepth = std::max(m_program.stackDepth, ++m_depth);
}

}   // namespace gel::detail
