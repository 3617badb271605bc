#pragma once

#include "tarn/zero/ReportException.h"
#include "tarn/zero/collections/ElementMap.h"
#include "tarn/zero/collections/ElementSequence.h"
#include "tarn/zero/collections/PrimitiveSequence.h"
#include "tarn/zero/meta/Type.h"
#include "tarn0/messages/Messages.h"

#include <concepts>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace tarn::zero::meta {

/// The C++ type behind a meta type.
class STUDIO_DATA_EXPORT CollectionInstantiator {
public:
    CollectionInstantiator() = default;
    CollectionInstantiator(CollectionInstantiator const&) = delete;
    CollectionInstantiator& operator=(CollectionInstantiator const&) = delete;
    virtual ~CollectionInstantiator() = default;

    /// The C++ type of one value; of a class, its handle class.
    virtual std::type_info const& valueType() const noexcept = 0;
    /// True for an enumeration.
    virtual bool isEnum() const noexcept = 0;

    /// A new empty detached sequence of the type, as a value that holds a `CollectionRef`. *Throws* `InvalidValue` if
    /// the type allows no sequence.
    [[nodiscard]] virtual Value createSequence(Type const& type) const = 0;
    /// A new empty detached map by name, as a value that holds a `CollectionRef`. *Throws* `InvalidValue` if the type
    /// allows no map.
    [[nodiscard]] virtual Value createMap(Type const& type) const = 0;
};

/// Handle classes whose elements a map can hold: `getName()` returns the key.
template <class T>
concept NamedHandle = requires(typename T::Impl const& element)
{
    {
        element.getName()
        } -> std::convertible_to<std::string_view>;
};

/// The instantiator of C++ type `T`: a plain value, an enumeration or a handle class.
template <class T>
class CollectionInstantiatorOf final : public CollectionInstantiator {
public:
    std::type_info const& valueType() const noexcept override { return typeid(T); }
    bool isEnum() const noexcept override { return std::is_enum_v<T>; }

    Value createSequence(Type const& type) const override
    {
        if constexpr (!std::is_base_of_v<ModelElement, T>)
            return detached<PrimitiveSequence<T>>(type);
        else if constexpr (requires { T::Impl::classImpl(); })
            return detached<ElementSequence<T>>(type);
        else
            reportException(tarn0::messages::InvalidValue{
                "a sequence of any elements"});   // the root class: no type check possible
    }
    Value createMap(Type const& type) const override
    {
        if constexpr (std::is_base_of_v<ModelElement, T>)
            if constexpr (NamedHandle<T>)
                return detached<ElementMap<std::string, T>>(type);
        reportException(tarn0::messages::InvalidValue{"a map of " + ModelElement::Impl::describe(type) + " by name"});
    }

private:
    template <class C>
    static Value detached(Type const& type)
    {
        ValueMeta meta{type};
        meta.setUnmanaged();
        return Value{std::move(meta), CollectionRef<C>{*std::make_unique<C>().release()}};
    }
};

}   // namespace tarn::zero::meta
