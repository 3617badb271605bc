#include "gel/detail/Operand.h"

namespace gel::detail {

Operand::Operand(std::string&& text, Temporaries& temporaries) : Operand(TEMPORARY)
{
    m_temporary = &temporaries.emplace_front(std::move(text));
}

Value Operand::releaseText() const
{
    return m_sizeAndKind == TEMPORARY ? Value(std::move(*m_temporary)) : Value(std::string(text()));
}

Spelling::Spelling(Operand const& operand) noexcept
{
    if (operand.isText())
        m_view = operand.text();
    else if (operand.isNumber())
        m_view = m_number.emplace(operand.numeric()).view();
    else
        m_view = operand.truth() ? "true" : "false";
}

}   // namespace gel::detail
