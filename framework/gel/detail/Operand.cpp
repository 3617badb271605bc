#include "gel/detail/Operand.h"

namespace gel::detail {

Operand::Operand(std::string&& text, Temporaries& temporaries) : Operand(Kind::Temporary)
{
    m_temporary = &temporaries.emplace_front(std::move(text));
}

bool operator==(Operand const& left, Operand const& right) noexcept
{
    if (left.isText() && right.isText())
        return left.text() == right.text();
    if (left.kind() != right.kind())
        return false;
    if (left.isNumber())
        return left.m_number == right.m_number;
    return left.isUndefined() || left.m_logical == right.m_logical;
}

Value Operand::release() const
{
    switch (kind()) {
    case Kind::Undefined: return Value();
    case Kind::Number: return Value(m_number);
    case Kind::Logical: return Value(m_logical);
    case Kind::Text: return Value(std::string(text()));
    case Kind::Temporary: break;
    }
    return Value(std::move(*m_temporary));
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
