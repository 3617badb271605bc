#pragma once

#include "foundation/Export.h"
#include "foundation/UuidLayout.h"

#include <boost/uuid/uuid.hpp>

#include <iosfwd>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

namespace studio::data {

class ContextProvider;

/// The absence of a value.
struct undefined {
    friend constexpr bool operator==(undefined, undefined) noexcept { return true; }
};

template <class T>
concept Arithmetic = std::is_arithmetic_v<T>;

/// The one value type of contexts and expressions: undefined, a UUID, a number, a logical or a text. A reference to a
/// context is held as that context's UUID. A plain value: copies are independent, concurrent reads are safe.
class STUDIO_DATA_EXPORT PropertyValue {
public:
    /// The alternatives in a fixed order: the kind tests compare the index.
    using Variant = std::variant<undefined, boost::uuids::uuid, double, bool, std::string>;

    /// Makes an undefined value.
    PropertyValue() noexcept = default;
    /// Makes the value of that alternative.
    PropertyValue(Variant variant) noexcept : value{std::move(variant)} {}
    /// Makes a number.
    PropertyValue(double number) noexcept : value{number} {}
    /// Makes a logical.
    PropertyValue(bool logical) noexcept : value{logical} {}
    /// Makes a text of any bytes. The expression language reads them as UTF-8.
    PropertyValue(std::string text) noexcept : value{std::move(text)} {}
    /// Makes a text. *Throws* std::logic_error for a null pointer.
    PropertyValue(char const* text) : PropertyValue{std::string(text ? text : refuseNull())} {}
    /// Makes a UUID, of a context or of anything else.
    PropertyValue(boost::uuids::uuid const& uuid) noexcept : value{uuid} {}
    /// Makes the UUID of the provider, undefined for null. *Lifetime*: the value does not keep the provider alive.
    PropertyValue(std::shared_ptr<ContextProvider> const& provider);

    /// Makes a number from any other arithmetic type. Integers above 2^53 round to the nearest double.
    template <Arithmetic T>
    PropertyValue(T number) noexcept : PropertyValue{static_cast<double>(number)}
    {}

    /// Refused at compile time: any other pointer would silently become a logical.
    template <class T>
    PropertyValue(T* pointer) = delete;
    template <class T, class Class>
    PropertyValue(T Class::*pointer) = delete;

    PropertyValue(PropertyValue const& other) { *this = other; }
    PropertyValue(PropertyValue&&) noexcept = default;
    PropertyValue& operator=(PropertyValue const& other)
    {
        // Numbers first, the most common case: a fifth of the variant's cost. Kinds that may allocate are assigned, not
        // copied: in libstdc++ 12 a variant whose copy throws has no defined state.
        if (double const* const number = std::get_if<double>(&other.value))
            value = *number;
        else if (bool const* const logical = std::get_if<bool>(&other.value))
            value = *logical;
        else
            value = other.value;
        return *this;
    }
    PropertyValue& operator=(PropertyValue&&) noexcept = default;
    ~PropertyValue() = default;

    /// True if there is no value.
    bool isUndefined() const noexcept { return value.index() == 0; }
    /// True for a UUID, whether or not a provider has it.
    bool isUUID() const noexcept { return value.index() == 1; }
    /// True for a number.
    bool isDouble() const noexcept { return value.index() == 2; }
    /// True for a logical.
    bool isLogical() const noexcept { return value.index() == 3; }
    /// True for a text.
    bool isString() const noexcept { return value.index() == 4; }
    /// True for a number and for a logical.
    bool isNumeric() const noexcept { return isDouble() || isLogical(); }
    /// True for the UUID of a living provider; changes when that provider is created or destroyed. *Throws*
    /// std::bad_weak_ptr while that provider is being destroyed.
    bool isContextProvider() const;

    // Each getter throws std::invalid_argument if the value is of a kind that it does not accept.

    /// Returns the undefined value; accepts no other kind.
    undefined getUndefined() const;
    /// Returns the UUID.
    boost::uuids::uuid getUUID() const;
    /// Returns the number.
    double getDouble() const;
    /// Returns the number, or 1 or 0 for a logical. A text is not parsed.
    double getNumeric() const;
    /// Returns the value as a condition: a logical as it is; true for a number other than 0 (NaN too) and for a text
    /// that is not empty.
    bool getBool() const;
    /// Returns the text. *Lifetime*: a reference into this value, valid until it is assigned to or destroyed.
    std::string const& getString() const;
    /// Returns the living provider that the UUID names. *Throws* std::bad_weak_ptr while that provider is being
    /// destroyed.
    std::shared_ptr<ContextProvider> getContextProvider() const;

    /// Returns a value of any kind as text, independent of the locale. An integral number has no decimal point, and one
    /// outside the range of a 32-bit int gives "-2147483648"; every other number has six decimals.
    std::string asString() const;

    /// True for equal values of one kind: 1 equals neither `true` nor "1", and NaN does not equal itself.
    friend bool operator==(PropertyValue const& left, PropertyValue const& right) noexcept
    {
        // The kinds first: values of different kinds, by far the most common difference, cost one comparison.
        if (left.value.index() != right.value.index())
            return false;
        if (double const* const number = std::get_if<double>(&left.value))
            return *number == *std::get_if<double>(&right.value);
        return equalOfOneKind(left, right);
    }

    /// Writes the value for logs and failed tests. Texts are quoted and escaped, so that 1, "1", true and undefined
    /// look different; numbers have the digits needed to read them back. Independent of the stream's locale and flags;
    /// its width applies to the whole output.
    STUDIO_DATA_EXPORT friend std::ostream& operator<<(std::ostream& out, PropertyValue const& value);

private:
    [[noreturn]] static char const* refuseNull();
    static bool equalOfOneKind(PropertyValue const& left, PropertyValue const& right) noexcept;

    Variant value;
};

}   // namespace studio::data
