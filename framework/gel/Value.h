#pragma once

#include "foundation/Export.h"

#include <string>
#include <type_traits>
#include <utility>
#include <variant>

namespace gel {

/// Value of a symbol or of an evaluation: undefined, a number, a logical or a text.
/// A value type: copies are independent. A text holds any bytes; the language reads them as UTF-8.
class STUDIO_DATA_EXPORT Value {
public:
    /// The undefined value.
    Value() noexcept = default;

    /// A number.
    Value(double number) noexcept : m_content(number) {}
    /// A logical.
    Value(bool logical) noexcept : m_content(logical) {}
    /// A text.
    Value(std::string text) noexcept : m_content(std::move(text)) {}

    // Copied kind by kind: in libstdc++ 12 a copy of a variant that throws bad_alloc leaves an undefined state, and
    // assignment takes three times as long for a text.
    Value(Value const& other) : m_content(copyOf(other.m_content)) {}
    Value(Value&&) noexcept = default;
    Value& operator=(Value const&) = default;
    Value& operator=(Value&&) noexcept = default;
    ~Value() = default;

    /// A text; the undefined value when `text` is null.
    Value(char const* text);

    /// A number, from any other arithmetic type.
    template <class Number, std::enable_if_t<std::is_arithmetic_v<Number>, int> = 0>
    Value(Number number) noexcept : m_content(static_cast<double>(number))
    {}

    /// Deleted: any pointer would convert to a logical.
    template <class Pointee>
    Value(Pointee const*) = delete;

    /// True for the undefined value.
    bool isUndefined() const noexcept { return std::holds_alternative<std::monostate>(m_content); }
    /// True for a number.
    bool isDouble() const noexcept { return std::holds_alternative<double>(m_content); }
    /// True for a logical.
    bool isLogical() const noexcept { return std::holds_alternative<bool>(m_content); }
    /// True for a text.
    bool isString() const noexcept { return std::holds_alternative<std::string>(m_content); }
    /// True for a number and for a logical.
    bool isNumeric() const noexcept { return isDouble() || isLogical(); }

    /// The number. *Throws* `std::bad_variant_access` for other kinds.
    double getDouble() const { return std::get<double>(m_content); }
    /// The logical. *Throws* `std::bad_variant_access` for other kinds.
    bool getBool() const { return std::get<bool>(m_content); }
    /// The text. *Throws* `std::bad_variant_access` for other kinds. *Lifetime*: refers into this value.
    std::string const& getString() const { return std::get<std::string>(m_content); }

    /// The number; 1.0 or 0.0 for a logical. *Throws* `std::bad_variant_access` for other kinds.
    double getNumeric() const;

    /// True for equal kind and content: numbers as IEEE doubles (a NaN equals nothing), texts by bytes.
    friend bool operator==(Value const&, Value const&) = default;

private:
    using Content = std::variant<std::monostate, double, bool, std::string>;

    static Content copyOf(Content const& content)
    {
        if (auto const* const number = std::get_if<double>(&content))
            return Content(*number);
        if (auto const* const logical = std::get_if<bool>(&content))
            return Content(*logical);
        if (auto const* const text = std::get_if<std::string>(&content))
            return Content(std::in_place_type<std::string>, *text);
        return Content();
    }

    Content m_content;
};

}   // namespace gel
