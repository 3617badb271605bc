#pragma once

#include "tarn/zero/ElementStorage.h"
#include "tarn/zero/Value.h"
#include "tarn/zero/collections/AbstractOwnedCollection.h"
#include "tarn/zero/meta/Type.h"

#include <type_traits>
#include <utility>

/// Feature descriptors. An element class lists its properties once, by meta index:
///
///     static constexpr auto features() { return std::tuple{Attribute<1, &Impl::name, RevertWhenEqual>{}, ...}; }
///
/// `ElementImplOf`, `StorageOf` and `ChangesOf` derive from the list what a transaction saves, reverts and restores,
/// and what reflection reads.
namespace tarn::zero {

/// Revert rule: at commit a value equal to the old one counts as unchanged.
struct RevertWhenEqual {
    template <class T>
    static bool unchanged(T const& old, T const& present)
    {
        return old == present;
    }
};
/// Revert rule: nothing counts as unchanged; every announced change is reported.
struct RevertNever {
    template <class T>
    static bool unchanged(T const&, T const&) noexcept
    {
        return false;
    }
};
/// Revert rule of a collection: unchanged if it was empty and is empty.
struct RevertWhenEmpty {
    template <class Collection, class Old>
    static bool unchanged(Collection const& collection, Old const& old)
    {
        return collection.sizeBefore(old) == 0 && collection.size() == 0;
    }
};
/// Revert rule of a collection: unchanged if it was empty and is empty, or held one element and holds only that one.
struct RevertWhenSameOnlyElement {
    template <class Collection, class Old>
    static bool unchanged(Collection const& collection, Old const& old)
    {
        return RevertWhenEmpty::unchanged(collection, old) || collection.heldOnlyTheSameElement(old);
    }
};

namespace detail {

template <class Member>
struct MemberOf;
template <class Class, class Type>
struct MemberOf<Type Class::*> {
    using Element = Class;
    using Value = Type;
};

/// Defaults shared by all features.
struct FeatureDefaults {
    static constexpr bool isCollection = false;
    static constexpr bool isContainer = false;
    struct Nothing {};
    using Old = Nothing;    // the old value in a storage
    using Kept = Nothing;   // the old value as `Changes` stores it beyond the report

    template <class... Any>
    static void undoInsertions(Any&&...) noexcept
    {}
    template <class... Any>
    static void undoErasures(Any&&...) noexcept
    {}
    template <class... Any>
    static void drop(Any&&...) noexcept
    {}
};

}   // namespace detail

/// A plain value in field `Member`. `Setter`, if given, is called by a reflective write.
template <unsigned long Index, auto Member, class Rule, auto Setter = nullptr>
struct Attribute : detail::FeatureDefaults {
    using Type = typename detail::MemberOf<decltype(Member)>::Value;
    using Old = Type;
    using Kept = Type;
    static constexpr unsigned long index = Index;

    template <class Element>
    static void record(Old& old, Element& element)
    {
        old = element.*Member;
    }
    static Kept const& keep(Old const& old) noexcept { return old; }
    static void merge(Old& outer, bool outerHas, Old& inner) noexcept
    {
        if (!outerHas)
            std::swap(outer, inner);
    }
    template <class Element>
    static bool unchanged(Old const& old, Element const& element)
    {
        return Rule::unchanged(old, element.*Member);
    }
    template <class Element>
    static void restore(Element& element, Old& old) noexcept
    {
        std::swap(element.*Member, old);
    }
    static void discard(Old& old) noexcept
    {
        if constexpr (std::is_base_of_v<ModelElement, Type>)
            old = Type{};   // other old values keep their memory for reuse
    }
    template <class Element>
    static void drop(Element& element) noexcept
    {
        if constexpr (std::is_base_of_v<ModelElement, Type>)
            element.*Member = Type{};
    }
    static Value oldValue(Kept const& kept, ModelElement::Impl::Changes const&, meta::Property const& property)
    {
        return Value{ValueMeta{property}, kept};
    }
    template <class Element>
    static Value value(Element& element, meta::Property const& property, ModelElement::Impl::ReflectionPrivateTag)
    {
        return Value{ValueMeta{property}, element.*Member};
    }
    template <class Element>
    static bool has(Element const&) noexcept
    {
        return true;
    }
    template <class Element>
    static bool set(Element& element, Value const& value)
    {
        if constexpr (std::is_null_pointer_v<decltype(Setter)>)
            return false;
        else
            return (element.*Setter)(value.getValue<Type>()), true;
    }
};

/// A collection in field `Member`, which saves and restores its own contents.
template <unsigned long Index, auto Member, class Rule>
struct Collection : detail::FeatureDefaults {
    using Type = typename detail::MemberOf<decltype(Member)>::Value;
    using Old = typename Type::Old;
    using Kept = typename Type::Kept;
    static constexpr unsigned long index = Index;
    static constexpr bool isCollection = true;

    template <class Element>
    static Type& of(Element& element) noexcept
    {
        return element.*Member;
    }
    template <class Element>
    static void record(Old& old, Element& element)
    {
        (element.*Member).record(old);
    }
    static void merge(Old& outer, bool outerHas, Old& inner) noexcept { Type::merge(outer, outerHas, inner); }
    static Kept keep(Old const& old) { return Type::keep(old); }
    template <class Element>
    static bool unchanged(Old const& old, Element const& element)
    {
        return Rule::unchanged(element.*Member, old);
    }
    template <class Element>
    static void undoInsertions(Element& element, Old& old) noexcept
    {
        (element.*Member).undoInsertions(old);
    }
    template <class Element>
    static void restore(Element& element, Old& old) noexcept
    {
        (element.*Member).restore(old);
    }
    template <class Element>
    static void undoErasures(Element& element, Old& old) noexcept
    {
        (element.*Member).undoErasures(old);
    }
    static void discard(Old& old) noexcept { Type::discard(old); }
    template <class Element>
    static void drop(Element& element) noexcept
    {
        (element.*Member).dropAll();
    }
    static Value oldValue(Kept const& kept, ModelElement::Impl::Changes const&, meta::Property const& property)
    {
        ValueMeta meta{property};
        meta.setUnmanaged();
        return Value{std::move(meta), CollectionRef<Type>{*Type::detached(kept).release()}};
    }
    template <class Element>
    static Value value(Element& element, meta::Property const& property, ModelElement::Impl::ReflectionPrivateTag tag)
    {
        if (tag == ModelElement::Impl::PUBLIC_ACCESS)
            (element.*Member).resolveProxies();
        return Value{ValueMeta{property}, CollectionRef<Type>{element.*Member}};
    }
    template <class Element>
    static bool has(Element const& element) noexcept
    {
        return (element.*Member).size() != 0;
    }
    template <class Element>
    static bool set(Element&, Value const&) noexcept
    {
        return false;
    }
};

/// The property that names the element's container, of handle class `Owner`. If `Owner::from(ModelElement)` exists it
/// is used, so that `Owner::Impl` may be incomplete here.
template <unsigned long Index, class Owner, auto Setter>
struct Container : detail::FeatureDefaults {
    static constexpr unsigned long index = Index;
    static constexpr bool isContainer = true;

    template <class Element>
    static void record(Nothing&, Element const&) noexcept
    {}
    static Nothing keep(Nothing const&) noexcept { return {}; }
    static void merge(Nothing&, bool, Nothing&) noexcept {}
    template <class Element>
    static bool unchanged(Nothing const&, Element const&) noexcept
    {
        return false;   // the base decides
    }
    template <class Element>
    static void restore(Element&, Nothing&) noexcept
    {}
    static void discard(Nothing&) noexcept {}
    static Value oldValue(Nothing const&, ModelElement::Impl::Changes const& changes, meta::Property const& property)
    {
        return Value{ValueMeta{property}, as(changes.oldContainer())};
    }
    template <class Element>
    static Value value(Element& element, meta::Property const& property, ModelElement::Impl::ReflectionPrivateTag)
    {
        return Value{ValueMeta{property}, as(element.container())};
    }
    template <class Element>
    static bool has(Element const& element) noexcept
    {
        return !element.isTopLevel();
    }
    template <class Element>
    static bool set(Element& element, Value const& value)
    {
        (element.*Setter)(value.getValue<Owner>());
        return true;
    }

private:
    static Owner as(ModelElement const& container)
    {
        if constexpr (requires { Owner::from(container); })
            return Owner::from(container);
        else
            return Owner{static_cast<typename Owner::Impl*>(container.get())};
    }
};

}   // namespace tarn::zero
