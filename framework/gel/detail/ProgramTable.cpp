#include "gel/detail/ProgramTable.h"

#include <utility>

namespace gel::detail {

namespace {

constexpr std::size_t FIRST_SLOTS = 64;

}   // namespace

void ProgramTable::insert(Instructions const& program, std::uint64_t hash)
{
    if (2 * m_size >= m_slots.size()) {
        std::vector<Slot> larger(m_slots.empty() ? FIRST_SLOTS : 2 * m_slots.size());
        for (Slot const& slot : m_slots)
            if (slot.program)
                put(larger, slot);
        m_slots = std::move(larger);
    }
    program.hold();
    put(m_slots, {hash, &program});
    ++m_size;
}

void ProgramTable::clear() noexcept
{
    if (m_size == 0)
        return;
    m_size = 0;
    for (Slot& slot : m_slots)
        if (Instructions const* const program = std::exchange(slot.program, nullptr))
            program->release();
}

void ProgramTable::swap(ProgramTable& other) noexcept
{
    m_slots.swap(other.m_slots);
    std::swap(m_size, other.m_size);
}

void ProgramTable::put(std::vector<Slot>& slots, Slot const& slot) noexcept
{
    std::size_t const mask = slots.size() - 1;
    std::size_t index = static_cast<std::size_t>(slot.hash) & mask;
    while (slots[index].program)
        index = (index + 1) & mask;
    slots[index] = slot;
}

}   // namespace gel::detail
