#include "gel/Program.h"

#include "gel/detail/Evaluator.h"
#include "gel/detail/Instructions.h"
#include "gel/detail/ProgramCache.h"

#include <utility>

namespace gel {

Program::Program(std::string const& text) : Program(detail::programOf(text)) {}

Program::~Program() = default;

std::set<std::string> Program::symbols() const
{
    std::set<std::string> names;
    for (auto const& [name, slot] : m_instructions->symbols)
        names.insert(names.end(), name);
    return names;
}

std::size_t Program::symbolCount() const noexcept
{
    return m_instructions->slots.size();
}

std::string const& Program::symbolAt(std::size_t index) const noexcept
{
    return *m_instructions->slots[index];
}

Value Program::eval(DataSource const& source) const
{
    // Held: a lookup may drop this handle, and the cache the text.
    std::shared_ptr<detail::Instructions const> const instructions = m_instructions;
    return detail::evaluate(*instructions, source);
}

Value Program::evalPinned(DataSource const& source) const
{
    return detail::evaluate(*m_instructions, source);
}

Program::Program(std::shared_ptr<detail::Instructions const> instructions) noexcept
    : m_instructions(std::move(instructions))
{}

}   // namespace gel
