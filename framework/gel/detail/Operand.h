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

/// The texts that one evaluation makes. They live until it ends, at addresses that stay.
using Temporaries = std::forward_list<std::string>;

/// A value while it is computed: 16 bytes, copied freely. A text is a view into a constant, a fetched value or a
/// temporary, or it is a temporary of its own, which the operation that consumes it may change and hand on.
class Operand {
public:
    Operand() = default;   // no value at all: stacks are not initialised
    static Operand undefined() noexcept { return Operand(Kind::Undefined); }

    /// What the value says inside the language: a NaN is undefined, every zero is +0.
    explicit Operand(Value const& value) noexcept;
    explicit Operand(bool logical) noexcept : Operand(Kind::Logical) { m_logical = logical; }
    explicit Operand(std::string_view text) noexcept;

    /// A text of its own, kept in `temporaries`.
    Operand(std::string&& text, Temporaries& temporaries);

    /// The result of a computation: undefined when it is NaN, or infinite although all it was made of was finite.
    static Operand computed(double result, bool fromFinite) noexcept;

    bool isUndefined() const noexcept { return kind() == Kind::Undefined; }
    bool isNumber() const noexcept { return kind() == Kind::Number; }
    bool isLogical() const noexcept { return kind() == Kind::Logical; }
    bool isNumeric() const noexcept { return isNumber() || isLogical(); }
    bool isText() const noexcept { return kind() >= Kind::Text; }

    /// The number, or 1 and 0 for a logical; of a numeric operand.
    double numeric() const noexcept { return isNumber() ? m_number : m_logical ? 1.0 : 0.0; }

    /// The text, of an operand that is one.
    std::string_view text() const noexcept;

    /// The text that this operand alone refers to, null when there is none.
    std::string* temporary() const noexcept { return kind() == Kind::Temporary ? m_temporary : nullptr; }

    bool truth() const noexcept;

    /// Equal kind and content.
    friend bool operator==(Operand const& left, Operand const& right) noexcept;

    /// The value for the host; empties a temporary.
    Value release() const;

private:
    enum class Kind : std::uint8_t { Undefined, Number, Logical, Text, Temporary };
    static constexpr std::uint64_t KIND_BITS = 3;

    explicit Operand(Kind kind, std::uint64_t size = 0) noexcept
        : m_sizeAndKind((size << KIND_BITS) | static_cast<std::uint64_t>(kind))
    {}
    explicit Operand(double number) noexcept : Operand(Kind::Number) { m_number = number + 0.0; }   // -0 + 0 is +0

    Kind kind() const noexcept { return static_cast<Kind>(m_sizeAndKind & ((1U << KIND_BITS) - 1)); }

    union {
        double m_number;
        bool m_logical;
        char const* m_bytes;
        std::string* m_temporary;
    };
    std::uint64_t m_sizeAndKind;
};
static_assert(sizeof(Operand) == 16 && std::is_trivially_default_constructible_v<Operand>);

/// The text of a text, number or logical operand, as `+` joins it and `text()` gives it.
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

inline Operand::Operand(Value const& value) noexcept : Operand(Kind::Undefined)
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

inline Operand::Operand(std::string_view text) noexcept : Operand(Kind::Text, text.size())
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
    return kind() == Kind::Temporary ? std::string_view(*m_temporary)
                                     : std::string_view(m_bytes, m_sizeAndKind >> KIND_BITS);
}

inline bool Operand::truth() const noexcept
{
    switch (kind()) {
    case Kind::Undefined: return false;
    case Kind::Number: return m_number != 0;
    case Kind::Logical: return m_logical;
    default: return !text().empty();
    }
}

}   // namespace gel::detail
