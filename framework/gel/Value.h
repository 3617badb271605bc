#pragma once

#include "foundation/Export.h"

#include <new>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

namespace gel {

/// What a data source answers and what an evaluation yields: undefined, a number, a logical or a text.
/// A value type: copies are independent. A text holds any bytes; the language reads them as UTF-8.
class STUDIO_DATA_EXPORT Value {
public:
    /// The undefined value.
    Value() noexcept = default;

    Value(double number) noexcept : m_content(number) {}
    Value(bool logical) noexcept : m_content(logical) {}
    Value(std::string text) noexcept : m_content(std::move(text)) {}

    Value(Value const& other) : m_content(contentOf(other)) {}
    Value(Value&& other) noexcept : m_content(contentOf(std::move(other))) {}
    Value& operator=(Value const& other);
    Value& operator=(Value&& other) noexcept;
    ~Value() = default;

    /// A text; the undefined value when `text` is null.
    Value(char const* text);

    /// A number, from any other arithmetic type.
    template <class Number, std::enable_if_t<std::is_arithmetic_v<Number>, int> = 0>
    Value(Number number) noexcept : m_content(static_cast<double>(number))
    {}

    /// Refused: any pointer would convert to a logical.
    template <class Pointee>
    Value(Pointee const*) = delete;

    bool isUndefined() const noexcept { return std::holds_alternative<std::monostate>(m_content); }
    bool isDouble() const noexcept { return std::holds_alternative<double>(m_content); }
    bool isLogical() const noexcept { return std::holds_alternative<bool>(m_content); }
    bool isString() const noexcept { return std::holds_alternative<std::string>(m_content); }
    bool isNumeric() const noexcept { return isDouble() || isLogical(); }

    /// The number. Throws `std::bad_variant_access` for every other kind, as do the two operations that follow.
    double getDouble() const { return std::get<double>(m_content); }
    bool getBool() const { return std::get<bool>(m_content); }
    std::string const& getString() const { return std::get<std::string>(m_content); }

    /// The number, or 1.0 and 0.0 for a logical. Throws `std::bad_variant_access` for the other kinds.
    double getNumeric() const;

    /// True for the same kind with the same content: numbers as IEEE doubles (a NaN equals nothing), texts by bytes.
    friend bool operator==(Value const& left, Value const& right) noexcept;

private:
    using Content = std::variant<std::monostate, double, bool, std::string>;

    template <class Other>
    static Content contentOf(Other&& other);
    template <class Other>
    void assign(Other&& other);

    Content m_content;
};

// The common kinds are copied, moved and compared in line, texts as the variant does it: visiting costs three times as
// much. Nor does libstdc++ 12 leave a variant in a defined state when copying it finds no memory.

template <class Other>
inline Value::Content Value::contentOf(Other&& other)
{
    if (other.isDouble())
        return Content(std::in_place_type<double>, *std::get_if<double>(&other.m_content));
    if (other.isLogical())
        return Content(std::in_place_type<bool>, *std::get_if<bool>(&other.m_content));
    if (other.isString())
        return Content(std::in_place_type<std::string>, std::get<std::string>(std::forward<Other>(other).m_content));
    return Content();
}

template <class Other>
inline void Value::assign(Other&& other)
{
    if (isString() || other.isString())
        m_content = std::forward<Other>(other).m_content;
    else
        ::new (static_cast<void*>(&m_content)) Content(contentOf(other));   // over nothing that needs an end
}

inline Value& Value::operator=(Value const& other)
{
    assign(other);
    return *this;
}

inline Value& Value::operator=(Value&& other) noexcept
{
    assign(std::move(other));
    return *this;
}

inline bool operator==(Value const& left, Value const& right) noexcept
{
    if (left.m_content.index() != right.m_content.index())
        return false;
    if (left.isDouble())
        return *std::get_if<double>(&left.m_content) == *std::get_if<double>(&right.m_content);
    if (left.isLogical())
        return *std::get_if<bool>(&left.m_content) == *std::get_if<bool>(&right.m_content);
    return left.isUndefined() || left.getString() == right.getString();
}

}   // namespace gel
