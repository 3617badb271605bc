#pragma once

#include "studio/data/ContextProvider.h"
#include "studio/host/Export.h"

#include <cmath>
#include <concepts>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace studio::host {

/// The kind of value that a key declares.
enum class KeyKind : std::uint8_t { Logical, Number, Text, Context };

/// A declared property, whatever its type in C++: what a `Schema` collects.
struct KeyDescription {
    /// The name of the property in its context.
    std::string name;
    /// The kind of its values.
    KeyKind kind;
    /// The value that `addTo` adds and that `get` returns where there is none.
    data::PropertyValue defaultValue;
    /// A sentence for people who write expressions.
    std::string description;
    /// The values that the property may have; any of its kind if it is empty.
    std::vector<data::PropertyValue> allowed;
};

/// The enumerators of an enum with the texts that stand for them in properties and expressions.
template <class Enum>
using EnumNames = std::vector<std::pair<Enum, std::string>>;

namespace detail {

// Conversions between the type of a key and values of properties. An enum is stored as a text, by the key's own table.

template <class T>
concept Number = std::integral<T> || std::floating_point<T>;

template <class T>
constexpr KeyKind kindOf() noexcept
{
    if constexpr (std::same_as<T, bool>)
        return KeyKind::Logical;
    else if constexpr (Number<T>)
        return KeyKind::Number;
    else if constexpr (std::same_as<T, std::shared_ptr<data::ContextProvider>>)
        return KeyKind::Context;
    else
        return KeyKind::Text;
}

}   // namespace detail

/// What keys do whatever their type. For `ContextKey` only.
struct STUDIO_HOST_EXPORT KeyFunctions {
    /// Refuses a declaration: *throws* `std::invalid_argument` for a name that is empty or has a dot, for allowed
    /// values of another kind or named twice, and for a default that is not allowed.
    static void refuseBadDescription(KeyDescription const& key);
    /// Refuses a value: *throws* `std::invalid_argument` unless it is of the key's kind and allowed.
    static void refuseBadValue(KeyDescription const& key, data::PropertyValue const& value);
    /// Refuses a missing context: *throws* `std::invalid_argument` for null.
    static void refuseNull(KeyDescription const& key, data::ContextProvider const* context);
    /// True for an integral number from `least` up to, but not including, `beyond`.
    static bool isInteger(data::PropertyValue const& value, double least, double beyond) noexcept;
    /// Writes or adds the property. Returns true if something has changed: not if the context's element is gone.
    /// *Throws* as `refuseBadValue`.
    static bool write(KeyDescription const& key, data::ContextProvider& context, data::PropertyValue const& value);
};

/// A declared property: its name, type, default, description and allowed values in one object, which hosts define once
/// and use instead of names in quotes. `T` is `bool`, an integer, `float`, `double`, `std::string`, an enum, or
/// `std::shared_ptr<data::ContextProvider>` for a reference.
template <class T>
class ContextKey {
public:
    /// Declares a key. An empty list allows every value of the type. *Throws* `std::invalid_argument` for a name that
    /// is empty or has a dot, and for a default that is not allowed.
    ContextKey(std::string name, T defaultValue, std::string description,
               std::vector<T> allowed = {}) requires(!std::is_enum_v<T>)
        : described{std::move(name), detail::kindOf<T>(), toValue(defaultValue), std::move(description), {}},
          fallback{std::move(defaultValue)}
    {
        for (T const& value : allowed)
            described.allowed.push_back(toValue(value));
        KeyFunctions::refuseBadDescription(described);
    }

    /// Declares a key of an enum by the texts of its enumerators, which are the allowed values. *Throws* as above.
    ContextKey(std::string name, T defaultValue, std::string description,
               EnumNames<T> enumerators) requires std::is_enum_v<T>
        : names{std::move(enumerators)},
          described{std::move(name), KeyKind::Text, toValue(defaultValue), std::move(description), {}},
          fallback{defaultValue}
    {
        for (auto const& [value, text] : names)
            described.allowed.emplace_back(text);
        KeyFunctions::refuseBadDescription(described);
    }

    /// Returns the name of the property in its context.
    std::string const& name() const noexcept { return described.name; }
    /// Returns what a schema collects.
    KeyDescription const& description() const noexcept { return described; }

    /// Adds the property with its default to a context; does nothing if there is one of that name. *Throws*
    /// `std::invalid_argument` for a null context, and what its commit throws.
    void addTo(std::shared_ptr<data::ContextProvider> const& context) const
    {
        KeyFunctions::refuseNull(described, context.get());
        context->addProperty(described.name, described.defaultValue);
    }
    /// Returns the value in a context; the default if there is no such property, or none that the type can hold.
    /// *Throws* `std::invalid_argument` for a null context.
    T get(std::shared_ptr<data::ContextProvider> const& context) const
    {
        KeyFunctions::refuseNull(described, context.get());
        return fromValue(context->getPropertyValue(described.name));
    }
    /// Writes the property, or adds it. Returns true if the value has changed: not if a rollback has taken the
    /// context's element away. *Throws* `std::invalid_argument` for a null context, for a value that is not allowed and
    /// for an integer beyond 2^53, which a number does not hold exactly; nothing is written then. *Throws* what its
    /// commit throws.
    bool set(std::shared_ptr<data::ContextProvider> const& context, T const& value) const
    {
        KeyFunctions::refuseNull(described, context.get());
        return KeyFunctions::write(described, *context, toValue(value));
    }

private:
    data::PropertyValue toValue(T const& value) const
    {
        if constexpr (std::is_enum_v<T>) {
            for (auto const& [enumerator, text] : names)
                if (enumerator == value)
                    return text;
            return {};   // which is not allowed
        } else if constexpr (std::same_as<T, bool> || std::floating_point<T>) {
            return value;
        } else if constexpr (std::integral<T>) {
            auto const number = static_cast<double>(value);
            bool const isExact = std::abs(number) <= std::ldexp(1.0, std::numeric_limits<double>::digits) &&
                                 static_cast<T>(number) == value;
            return isExact ? data::PropertyValue{number} : data::PropertyValue{};   // which is not allowed
        } else {
            return data::PropertyValue{value};
        }
    }
    T fromValue(data::PropertyValue const& value) const
    {
        if constexpr (std::is_enum_v<T>) {
            if (value.isString())
                for (auto const& [enumerator, text] : names)
                    if (value.getString() == text)
                        return enumerator;
        } else if constexpr (std::same_as<T, bool>) {
            if (value.isLogical())
                return value.getBool();
        } else if constexpr (std::integral<T>) {
            using Limits = std::numeric_limits<T>;
            if (KeyFunctions::isInteger(value, static_cast<double>((Limits::min)()), std::ldexp(1.0, Limits::digits)))
                return static_cast<T>(value.getDouble());
        } else if constexpr (std::floating_point<T>) {
            // An infinity is one in every type; a number beyond the range of the type is not.
            if (value.isDouble() && (std::isinf(value.getDouble()) || !std::isinf(static_cast<T>(value.getDouble()))))
                return static_cast<T>(value.getDouble());
        } else if constexpr (std::same_as<T, std::string>) {
            if (value.isString())
                return value.getString();
        } else {
            if (value.isContextProvider())
                return value.getContextProvider();
        }
        return fallback;
    }

    EnumNames<T> names;   // of an enum
    KeyDescription described;
    T fallback;
};

}   // namespace studio::host
