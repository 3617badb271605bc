#pragma once

#include "tarn/zero/features/Features.h"

#include <tuple>
#include <type_traits>
#include <utility>

namespace tarn::zero {

namespace detail {

/// Calls `visit(feature)` for each feature of the list of `T`.
template <class T, class Visit>
void forEachFeature(Visit const& visit)
{
    std::apply([&](auto... feature) { (visit(feature), ...); }, T::features());
}

template <class Feature>
using OldSlot = typename Feature::Old;
template <class Feature>
using KeptSlot = typename Feature::Kept;

/// Adds the old values of an element of class `T` to `Base`: a `Slot` for each feature.
template <class T, class Base, template <class> class Slot>
class OldValuesOf : public Base {
public:
    using Base::Base;

    /// The slot of `Feature`, found by its index.
    template <class Feature>
    Slot<Feature>& old() noexcept
    {
        return std::get<position<Feature>()>(m_old);
    }
    template <class Feature>
    Slot<Feature> const& old() const noexcept
    {
        return std::get<position<Feature>()>(m_old);
    }

    void const* oldSlot(unsigned long index) const noexcept override
    {
        void const* slot = nullptr;
        if (this->isChanged(index))
            forEachFeature<T>([&](auto feature) {
                if (feature.index == index)
                    slot = &old<decltype(feature)>();
            });
        return slot;
    }

    Value getOldValue(meta::Property const& property, ModelElement::Impl::ReflectionPrivateTag tag) const override
    {
        unsigned long const index = property.index();
        if (index == 0 || !this->isChanged(index) || !(property == T::propertyAt(index)))
            return Base::getOldValue(property, tag);
        Value value;
        forEachFeature<T>([&](auto feature) {
            if (feature.index == index)
                value = feature.oldValue(kept<decltype(feature)>(), *this, property);
        });
        return value;
    }

private:
    template <class Feature>
    decltype(auto) kept() const
    {
        if constexpr (std::is_same_v<Slot<Feature>, typename Feature::Kept>)
            return (old<Feature>());
        else
            return Feature::keep(old<Feature>());
    }

    template <class List>
    struct OldTuple;
    template <class... Features>
    struct OldTuple<std::tuple<Features...>> {
        using type = std::tuple<Slot<Features>...>;
        template <class Feature>
        static constexpr std::size_t position()
        {
            std::size_t at = 0;
            (void)((Features::index == Feature::index || (++at, false)) || ...);
            return at;
        }
    };
    template <class Feature>
    static constexpr std::size_t position()
    {
        return OldTuple<decltype(T::features())>::template position<Feature>();
    }

    typename OldTuple<decltype(T::features())>::type m_old;
};

}   // namespace detail

/// Storage of an element of class `T`.
template <class T>
class StorageOf : public detail::OldValuesOf<T, ModelElement::Impl::Storage, detail::OldSlot> {
    using Base = detail::OldValuesOf<T, ModelElement::Impl::Storage, detail::OldSlot>;
    using RawStorage = ModelElement::Impl::Storage;

public:
    using Base::Base;

    void revertUnchanged(ModelElement const& element) override
    {
        T const& impl = static_cast<T const&>(*element.get());
        detail::forEachFeature<T>([&](auto feature) {
            if (this->isChanged(feature.index) && feature.unchanged(oldOf(feature), impl))
                this->clearChanged(feature.index);
        });
        RawStorage::revertUnchanged(element);
    }

    void mergeInto(RawStorage& outer) noexcept override
    {
        auto& target = static_cast<StorageOf&>(outer);
        detail::forEachFeature<T>([&](auto feature) {
            if (feature.isContainer || !this->isChanged(feature.index))
                return;
            feature.merge(target.oldOf(feature), outer.isChanged(feature.index), oldOf(feature));
            outer.setChanged(feature.index);
        });
        RawStorage::mergeInto(outer);
    }

    void undoInsertions(ModelElement::Impl& element) noexcept override
    {
        eachChanged([&](auto feature) { feature.undoInsertions(static_cast<T&>(element), oldOf(feature)); });
    }
    /// Rollback, second pass: restores the saved values.
    void restore(T& element) noexcept
    {
        eachChanged([&](auto feature) { feature.restore(element, oldOf(feature)); });
    }
    void undoErasures(ModelElement::Impl& element) noexcept override
    {
        eachChanged([&](auto feature) { feature.undoErasures(static_cast<T&>(element), oldOf(feature)); });
    }

    void recycle() noexcept override
    {
        detail::forEachFeature<T>([&](auto feature) { feature.discard(oldOf(feature)); });
        RawStorage::recycle();
    }

private:
    template <class Feature>
    auto& oldOf(Feature) noexcept
    {
        return this->template old<Feature>();
    }
    template <class Visit>
    void eachChanged(Visit const& visit) noexcept
    {
        detail::forEachFeature<T>([&](auto feature) {
            if (this->isChanged(feature.index))
                visit(feature);
        });
    }
};

/// Changes of an element of class `T`, to keep beyond the report.
template <class T>
class ChangesOf : public detail::OldValuesOf<T, ModelElement::Impl::Changes, detail::KeptSlot> {
    using Base = detail::OldValuesOf<T, ModelElement::Impl::Changes, detail::KeptSlot>;

public:
    using Base::Base;

    void assign(ModelElement::Impl::Changes const& other) override
    {
        ModelElement::Impl::Changes::assign(other);
        detail::forEachFeature<T>([&](auto feature) {
            using Old = typename decltype(feature)::Old;
            if (void const* const slot = other.oldSlot(feature.index))
                this->template old<decltype(feature)>() = feature.keep(*static_cast<Old const*>(slot));
        });
    }
};

}   // namespace tarn::zero
