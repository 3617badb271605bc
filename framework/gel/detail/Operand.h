#pragma once

#include "gel/Value.h"
#include "gel/detail/Numbers.h"

#include <cmath>
#include <cstdint>
#include <forward_list>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace gel::detail {

/// The temporary texts of one evaluation: stable addresses until it ends.
using Temporaries = std::forward_list<std::string>;

/// A value during evaluation: 16 bytes, trivially copied. A text is a view of a constant, fetched value or temporary,
/// or is an owned temporary, which the operation that consumes it may change and pass on.
class Operand {
public:
    Operand() = default;   // uninitialised, as stacks are
    static Operand undefined() noexcept { return Operand(UNDEFINED); }
    static Operand absent() noexcept { return Operand(ABSENT); }   // a symbol not yet fetched

    /// The value as the language reads it: NaN is undefined, every zero is +0.
    explicit Operand(Value const& value) noexcept;
    explicit Operand(bool logical) noexcept : Operand(LOGICAL) { m_number = logical ? 1 : 0; }
    explicit Operand(std::string_view text) noexcept;

    /// An owned text, kept in `temporaries`.
    Operand(std::string&& text, Temporaries& temporaries);

    /// The result of a computation: undefined if it is NaN, or infinite from finite operands.
    static Operand computed(double result, bool fromFinite) noexcept;

    bool isAbsent() const noexcept { return m_sizeAndKind == ABSENT; }
    bool isUndefined() const noexcept { return m_sizeAndKind == UNDEFINED; }
    bool isNumber() const noexcept { return m_sizeAndKind == NUMBER; }
    bool isLogical() const noexcept { return m_sizeAndKind == LOGICAL; }
    bool isNumeric() const noexcept { return isNumber() || isLogical(); }
    bool isText() const noexcept { return m_sizeAndKind >= TEMPORARY; }

    /// The number; 1 or 0 for a logical. *Requires* a numeric operand.
    double numeric() const noexcept { return m_number; }

    /// The text. *Requires* a text operand.
    std::string_view text() const noexcept;

    /// The temporary that this operand owns; null if there is none.
    std::string* temporary() const noexcept { return m_sizeAndKind == TEMPORARY ? m_temporary : nullptr; }

    bool truth() const noexcept;

    /// Equal kind and content.
    friend bool operator==(Operand const& left, Operand const& right) noexcept;

    /// The value for the host; moves from a temporary.
    Value release() const;
    /// The value for the host; copies a temporary.
    Value copy() const { return isText() ? Value(std::string(text())) : release(); }

private:
    // A kind or, beyond them, TEXT plus the size of a borrowed text.
    enum Kind : std::uint64_t { ABSENT, UNDEFINED, NUMBER, LOGICAL, TEMPORARY, TEXT };

    explicit Operand(std::uint64_t sizeAndKind) noexcept : m_sizeAndKind(sizeAndKind) {}
    explicit Operand(double number) noexcept : Operand(NUMBER) { m_number = number + 0.0; }   // -0 + 0 is +0
    Value releaseText() const;

    union {
        double m_number;   // of a logical 1 or 0
        char const* m_bytes;
        std::string* m_temporary;
    };
    std::uint64_t m_sizeAndKind;
};
static_assert(sizeof(Operand) == 16 && std::is_trivially_default_constructible_v<Operand>);

/// The text of a text, number or logical operand, as `+` and `text()` produce it.
class Spelling {
public:
    explicit Spelling(Operand const& operand) noexcept;
    Spelling(Spelling const&) = delete;
    Spelling& operator=(Spelling const&) = delete;

    std::string_view view() const noexcept { return m_view; }

private:
    std::optional<NumberText> m_number;
    std::string_view m_view;
};

inline Operand::Operand(Value const& value) noexcept : Operand(UNDEFINED)
{
    if (value.isDouble()) {
        if (!std::isnan(value.getDouble()))
            *this = Operand(value.getDouble());
    } else if (value.isLogical()) {
        *this = Operand(value.getBool());
    } else if (value.isString()) {
        *this = Operand(std::string_view(value.getString()));
    }
}

inline Operand::Operand(std::string_view text) noexcept : Operand(TEXT + text.size())
{
    m_bytes = text.data();
}

inline Operand Operand::computed(double result, bool fromFinite) noexcept
{
    if (std::isfinite(result) || (std::isinf(result) && !fromFinite))
        return Operand(result);
    return undefined();
}

inline std::string_view Operand::text() const noexcept
{
    return m_sizeAndKind == TEMPORARY ? std::string_view(*m_temporary)
                                      : std::string_view(m_bytes, static_cast<std::size_t>(m_sizeAndKind - TEXT));
}

inline bool operator==(Operand const& left, Operand const& right) noexcept
{
    if (left.isText() && right.isText())
        return left.text() == right.text();
    if (left.m_sizeAndKind != right.m_sizeAndKind)
        return false;
    return left.isUndefined() || left.m_number == right.m_number;
}

inline Value Operand::release() const
{
    if (isNumber())
        return Value(m_number);
    if (isLogical())
        return Value(m_number != 0);
    return isText() ? releaseText() : Value();
}

inline bool Operand::truth() const noexcept
{
    if (isNumeric())
        return m_number != 0;
    return isText() && !text().empty();
}

}   // namespace gel::detail
