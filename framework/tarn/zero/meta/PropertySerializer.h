#pragma once

#include "tarn/zero/ReportException.h"
#include "tarn/zero/Value.h"
#include "tarn/zero/meta/Type.h"
#include "tarn0/messages/Messages.h"

#include <boost/optional/optional.hpp>

#include <concepts>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace tarn::zero::meta {

/// Converts the values of one type to text and back, for callers that store models.
class STUDIO_DATA_EXPORT PropertySerializer {
public:
    PropertySerializer() = default;
    PropertySerializer(PropertySerializer const&) = delete;
    PropertySerializer& operator=(PropertySerializer const&) = delete;
    virtual ~PropertySerializer() = default;

    /// The text of `value`, also of the value inside an optional; for an empty value, the text of the default. *Throws*
    /// `CannotCastIncompatibleTypes` for a value of another type.
    virtual std::u16string serializeValue(Value const& value) = 0;
    /// The value of `text`. *Throws* what the type's parser throws for a text that is not of the type.
    [[nodiscard]] virtual Value parseValue(std::u16string const& text) = 0;
    /// The value of `text` as an optional. *Throws* what the type's parser throws for a text that is not of the type.
    [[nodiscard]] virtual Value parseOptionalValue(std::u16string const& text) = 0;

    /// The value of a default-constructed object of the type.
    [[nodiscard]] virtual Value createDefaultValue() const = 0;
    /// An empty optional value.
    [[nodiscard]] virtual Value createEmptyOptionalValue() const = 0;

    /// The values as one unmanaged vector value, in the same order. *Throws* `CannotCastIncompatibleTypes` if one is of
    /// another type.
    virtual Value combineAsUnmanagedSequenceValue(std::vector<Value> const& values) const = 0;
    /// The values as one unmanaged set value. *Throws* `CannotCastIncompatibleTypes` if one is of another type, and
    /// `InvalidValue` for a type without an order.
    virtual Value combineAsUnmanagedSetValue(std::vector<Value> const& values) const = 0;
};

/// Implements the serializer for C++ type `T`, except for the text of one value. Optional values are
/// `boost::optional<T>`.
template <class T>
class DefaultPropertySerializer : public PropertySerializer {
public:
    /// A serializer of `type`, which it keeps; null if the values need no type.
    explicit DefaultPropertySerializer(Type const& type) : m_type{type} {}

    std::u16string serializeValue(Value const& value) override
    {
        if (T const* const held = value.peekValue<T>())
            return doSerializeValue(*held);
        if (auto const* const optional = value.peekValue<boost::optional<T>>(); optional && *optional)
            return doSerializeValue(**optional);
        return doSerializeValue(value.getValue<T>());
    }
    Value parseValue(std::u16string const& text) override { return make(doParseValue(text)); }
    Value parseOptionalValue(std::u16string const& text) override
    {
        return make(boost::optional<T>{doParseValue(text)});
    }

    Value createDefaultValue() const override { return make(T()); }
    Value createEmptyOptionalValue() const override { return make(boost::optional<T>{}); }

    Value combineAsUnmanagedSequenceValue(std::vector<Value> const& values) const override
    {
        std::vector<T> combined;
        combined.reserve(values.size());
        for (Value const& value : values)
            combined.push_back(value.getValue<T>());
        return makeUnmanaged(std::move(combined));
    }
    Value combineAsUnmanagedSetValue(std::vector<Value> const& values) const override
    {
        if constexpr (std::totally_ordered<T>) {
            std::set<T> combined;
            for (Value const& value : values)
                combined.insert(value.getValue<T>());
            return makeUnmanaged(std::move(combined));
        } else {
            (void)values;
            reportException(tarn0::messages::InvalidValue{"a set of values that have no order"});
        }
    }

    /// The text of one value, implemented per type.
    virtual std::u16string doSerializeValue(T const& value) = 0;
    /// The value of one text, implemented per type. *Throws* what the type's parser throws.
    virtual T doParseValue(std::u16string const& text) = 0;

protected:
    /// The serialized type.
    Type const& type() const noexcept { return m_type; }

private:
    template <class Payload>
    Value make(Payload payload) const
    {
        return Value{ValueMeta{m_type}, std::move(payload)};
    }
    template <class Payload>
    Value makeUnmanaged(Payload payload) const
    {
        ValueMeta meta{m_type};
        meta.setUnmanaged();
        return Value{std::move(meta), std::move(payload)};
    }

    Type m_type;
};

}   // namespace tarn::zero::meta
