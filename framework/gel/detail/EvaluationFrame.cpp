#include "gel/detail/EvaluationFrame.h"

#include <algorithm>

namespace gel::detail {

void EvaluationMemory::useFarMemory(Routine const& routine)
{
    std::size_t const operands = routine.stackDepth + 1;
    std::size_t const symbols = routine.symbols.size();
    m_far.emplace((operands + symbols) * sizeof(Operand) + symbols * sizeof(Text));
    m_stack = static_cast<Operand*>(m_far->data());
    m_known = m_stack + operands;
    m_texts = reinterpret_cast<Text*>(m_known + symbols);
}

void EvaluationMemory::forgetAll(std::size_t symbols) noexcept
{
    std::fill_n(m_known, symbols, Operand::absent());
}

}   // namespace gel::detail
