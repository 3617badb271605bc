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
    /// The kind tests compare the index of the alternative, so the order is fixed.
    using Variant = std::variant<undefined, boost::uuids::uuid, double, bool, std::string>;

    /// Undefined.
    PropertyValue() noexcept = default;
    /// The value of that alternative.
    PropertyValue(Variant variant) noexcept : value{std::move(variant)} {}
    /// A number.
    PropertyValue(double number) noexcept : value{number} {}
    /// A logical.
    PropertyValue(bool logical) noexcept : value{logical} {}
    /// A text: any bytes. The expression language reads them as UTF-8.
    PropertyValue(std::string text) noexcept : value{std::move(text)} {}
    /// A text. *Throws* std::logic_error for a null pointer.
    PropertyValue(char const* text) : PropertyValue{std::string(text)} {}
    /// A UUID, of a context or of anything else.
    PropertyValue(boost::uuids::uuid const& uuid) noexcept : value{uuid} {}
    /// The id of the provider, undefined for null. *Lifetime*: the value does not keep the provider alive.
    PropertyValue(std::shared_ptr<ContextProvider> const& provider);

    /// Any other arithmetic type is a number; integers above 2^53 round to the nearest one.
    template <Arithmetic T>
    PropertyValue(T number) noexcept : PropertyValue{static_cast<double>(number)}
    {}

    /// Refused at compile time: other pointers would silently become logicals.
    template <class T>
    PropertyValue(T* pointer) = delete;
    template <class T, class Class>
    PropertyValue(T Class::*pointer) = delete;

    PropertyValue(PropertyValue const& other) { *this = other; }
    PropertyValue(PropertyValue&&) noexcept = default;
    PropertyValue& operator=(PropertyValue const& other)
    {
        // Numbers first, the most common case: a fifth of what the variant takes. What may find no memory is assigned,
        // not copied: libstdc++ 12 leaves a variant whose copying fails in no defined state.
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

    /// True for the absence of a value.
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
    /// True for the UUID of a provider that lives now: the answer changes when that provider comes or goes.
    /// *Throws* std::bad_weak_ptr while that provider is being destroyed.
    bool isContextProvider() const;

    // Each getter throws std::invalid_argument when the value is of no kind that it accepts.

    /// The absence of a value.
    undefined getUndefined() const;
    /// The UUID.
    boost::uuids::uuid getUUID() const;
    /// The number.
    double getDouble() const;
    /// The number, or 1 and 0 for the logicals. A text is not parsed.
    double getNumeric() const;
    /// The truth of a condition: a logical's own, a number other than 0 (NaN too), a text that is not empty.
    bool getBool() const;
    /// *Lifetime*: refers into this value, until it is assigned to or dies.
    std::string const& getString() const;
    /// The living provider that the UUID names. *Throws* also as isContextProvider does.
    std::shared_ptr<ContextProvider> getContextProvider() const;

    /// The value as text, whatever its kind and the locale. An integral number has no decimal point, and one outside
    /// the range of a 32-bit int gives "-2147483648"; every other number has six decimals.
    std::string asString() const;

    /// True for the same kind and the same value: 1 is neither `true` nor "1", and NaN differs from itself.
    friend bool operator==(PropertyValue const& left, PropertyValue const& right) noexcept
    {
        // The kinds first: values of different kinds, by far the most common difference, cost one comparison.
        if (left.value.index() != right.value.index())
            return false;
        if (double const* const number = std::get_if<double>(&left.value))
            return *number == *std::get_if<double>(&right.value);
        return equalOfOneKind(left, right);
    }

    /// Writes the value as a person reads it in a log or in a failed test: texts quoted and escaped, so that 1, "1",
    /// true and undefined look different, and numbers so that they read back as they are. Whatever the stream's locale
    /// and flags; its width counts for the whole.
    STUDIO_DATA_EXPORT friend std::ostream& operator<<(std::ostream& out, PropertyValue const& value);

private:
    static bool equalOfOneKind(PropertyValue const& left, PropertyValue const& right) noexcept;

    Variant value;
};

}   // namespace studio::data
