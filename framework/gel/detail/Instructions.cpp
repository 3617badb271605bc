#include "gel/detail/Instructions.h"

#include <algorithm>
#include <new>
#include <string_view>
#include <utility>

namespace gel::detail {

namespace {

std::size_t textBytes(std::span<Operand const> constants) noexcept
{
    std::size_t bytes = 0;
    for (Operand const& constant : constants)
        bytes += constant.isText() ? constant.text().size() : 0;
    return bytes;
}

}   // namespace

Program Instructions::make(Parts parts)
{
    std::size_t const size = sizeof(Instructions) + parts.symbols.size_bytes() + parts.patterns.size_bytes() +
                             parts.constants.size_bytes() + parts.code.size_bytes() + parts.byName.size_bytes() +
                             textBytes(parts.constants);
    return Program(::new (::operator new(size)) Instructions(parts));
}

Instructions::Instructions(Parts& parts) noexcept
    : m_text(std::move(parts.text)),
      m_symbols(static_cast<std::uint32_t>(parts.symbols.size())),
      m_patterns(static_cast<std::uint32_t>(parts.patterns.size())),
      m_constants(static_cast<std::uint32_t>(parts.constants.size())),
      m_code(static_cast<std::uint32_t>(parts.code.size())),
      m_stackDepth(static_cast<std::uint32_t>(parts.stackDepth) & ~(1U << 31U)),
      m_rereads(parts.rereads ? 1 : 0)
{
    std::uninitialized_move(parts.symbols.begin(), parts.symbols.end(), symbolsBegin());
    std::uninitialized_move(parts.patterns.begin(), parts.patterns.end(), patternsBegin());
    std::uninitialized_copy(parts.code.begin(), parts.code.end(), codeBegin());
    std::uninitialized_copy(parts.byName.begin(), parts.byName.end(), byNameBegin());
    char* bytes = behind<char>(byNameBegin(), m_symbols);
    Operand* made = constantsBegin();
    for (Operand const& constant : parts.constants) {
        bool const isText = constant.isText();
        ::new (static_cast<void*>(made++))
            Operand(isText ? Operand(std::string_view(bytes, constant.text().size())) : constant);
        if (isText)
            bytes = std::copy(constant.text().begin(), constant.text().end(), bytes);
    }
}

Instructions::~Instructions()
{
    std::destroy_n(patternsBegin(), m_patterns);
    std::destroy_n(symbolsBegin(), m_symbols);
}

Program Instructions::handle() const noexcept
{
    hold();
    return Program(this);
}

void Instructions::release() const noexcept
{
    if (m_handles.fetch_sub(1, std::memory_order_acq_rel) != 1)
        return;
    this->~Instructions();
    ::operator delete(const_cast<Instructions*>(this));
}

}   // namespace gel::detail
