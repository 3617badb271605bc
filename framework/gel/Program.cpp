#include "gel/Program.h"

#include "gel/detail/Evaluator.h"
#include "gel/detail/Instructions.h"
#include "gel/detail/ProgramCache.h"

namespace gel {

Program::Program(std::string const& text) : Program(detail::programOf(text)) {}

Program::Program(Program const& other) noexcept : Program(other.m_instructions)
{
    m_instructions->hold();
}

Program& Program::operator=(Program const& other) noexcept
{
    if (this != &other) {
        m_instructions->release();
        m_instructions = other.m_instructions;
        m_instructions->hold();
    }
    return *this;
}

Program::~Program()
{
    m_instructions->release();
}

std::string const& Program::text() const noexcept
{
    return m_instructions->text();
}

std::set<std::string> Program::symbols() const
{
    std::set<std::string> names;
    for (std::uint32_t const index : m_instructions->byName())
        names.insert(names.end(), symbolAt(index));
    return names;
}

std::size_t Program::symbolCount() const noexcept
{
    return m_instructions->symbols().size();
}

std::string const& Program::symbolAt(std::size_t index) const noexcept
{
    return m_instructions->symbols()[index];
}

Value Program::eval(DataSource const& source) const
{
    Program const held = *this;   // a lookup may drop this handle and evict the text from the cache
    return held.evalPinned(source);
}

Value Program::evalPinned(DataSource const& source) const
{
    return detail::evaluate(*m_instructions, source);
}

Program::Program(detail::Instructions const* made) noexcept : m_instructions(made) {}

}   // namespace gel
