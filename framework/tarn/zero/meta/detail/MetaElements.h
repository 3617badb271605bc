#pragma once

#include "tarn/zero/features/ElementImplOf.h"
#include "tarn/zero/meta/Package.h"

#include <tuple>

namespace tarn::zero::meta {

namespace detail {

template <unsigned long Index, auto Member>
using Field = Attribute<Index, Member, RevertWhenEqual>;
template <unsigned long Index, auto Member>
using Contents = Collection<Index, Member, RevertWhenEmpty>;

}   // namespace detail

// The features of each meta element: those of its superclass, then its own.

constexpr auto NamedElement::Impl::features()
{
    return std::tuple{detail::Field<NAME, &Impl::m_name>{}};
}

constexpr auto TypedElement::Impl::features()
{
    return std::tuple_cat(NamedElement::Impl::features(),
                          std::tuple{detail::Field<TYPE, &Impl::m_type>{},
                                     detail::Field<IS_ORDERED, &Impl::m_isOrdered>{},
                                     detail::Field<LOWER, &Impl::m_lower>{}, detail::Field<UPPER, &Impl::m_upper>{}});
}

constexpr auto Property::Impl::features()
{
    return std::tuple_cat(
        TypedElement::Impl::features(),
        std::tuple{Container<OWNING_TYPE, StructuredType, &Impl::setOwningType>{},
                   detail::Field<OPPOSITE, &Impl::m_opposite>{}, detail::Field<QUALIFIED_BY, &Impl::m_qualifiedBy>{},
                   detail::Field<IS_QUALIFICATION_UNIQUE, &Impl::m_isQualificationUnique>{},
                   detail::Field<IS_UNIQUE, &Impl::m_isUnique>{}, detail::Field<DEFAULT_VALUE, &Impl::m_defaultValue>{},
                   detail::Field<VALUE_FLAGS, &Impl::m_valueFlags>{},
                   detail::Field<IS_COMPOSITE, &Impl::m_isComposite>{}, detail::Field<INDEX, &Impl::m_index>{}});
}

constexpr auto Argument::Impl::features()
{
    return std::tuple_cat(TypedElement::Impl::features(),
                          std::tuple{Container<OPERATION, Operation, &Impl::setOperation>{},
                                     detail::Field<IS_INPUT, &Impl::m_isInput>{}});
}

constexpr auto Operation::Impl::features()
{
    return std::tuple_cat(
        TypedElement::Impl::features(),
        std::tuple{Container<OWNING_TYPE, OperatableType, &Impl::setOwningType>{},
                   detail::Field<IS_ABSTRACT, &Impl::m_isAbstract>{}, detail::Field<IS_STATIC, &Impl::m_isStatic>{},
                   detail::Field<IS_PUBLIC, &Impl::m_isPublic>{}, detail::Contents<ARGUMENTS, &Impl::m_arguments>{}});
}

constexpr auto Type::Impl::features()
{
    return std::tuple_cat(NamedElement::Impl::features(),
                          std::tuple{Container<OWNING_PACKAGE, Package, &Impl::setOwningPackage>{},
                                     detail::Field<TYPE_ID, &Impl::m_typeId>{}});
}

constexpr auto StructuredType::Impl::features()
{
    return std::tuple_cat(Type::Impl::features(), std::tuple{detail::Contents<PROPERTIES, &Impl::m_properties>{}});
}

constexpr auto OperatableType::Impl::features()
{
    return std::tuple_cat(StructuredType::Impl::features(),
                          std::tuple{detail::Contents<OPERATIONS, &Impl::m_operations>{}});
}

constexpr auto Class::Impl::features()
{
    return std::tuple_cat(OperatableType::Impl::features(),
                          std::tuple{detail::Field<SUPERCLASS, &Impl::m_superclass>{},
                                     detail::Field<IS_ABSTRACT, &Impl::m_isAbstract>{},
                                     detail::Field<IS_FINAL, &Impl::m_isFinal>{}});
}

constexpr auto Package::Impl::features()
{
    return std::tuple_cat(
        NamedElement::Impl::features(),
        std::tuple{detail::Field<URI, &Impl::m_uri>{}, Container<PARENT_PACKAGE, Package, &Impl::setParentPackage>{},
                   detail::Contents<IMPORTED_PACKAGES, &Impl::m_importedPackages>{},
                   detail::Contents<PACKAGES, &Impl::m_packages>{}, detail::Contents<TYPES, &Impl::m_types>{}});
}

namespace detail {

/// Implementation of handle class `H`: its fields and setters, joined with its features.
template <class H>
class MetaElement final : public ElementImplOf<MetaElement<H>, typename H::Impl> {
    using Fields = typename H::Impl;
    using Base = ElementImplOf<MetaElement<H>, Fields>;

public:
    using Handle = H;
    class Storage final : public StorageOf<MetaElement> {
    public:
        using StorageOf<MetaElement>::StorageOf;
    };
    class Changes final : public ChangesOf<MetaElement> {
    public:
        using ChangesOf<MetaElement>::ChangesOf;
    };

    using Base::Base;
    using Fields::features;

    // The recursion ends here: meta elements have classes but no meta properties.
    static Property propertyAt(unsigned long) { return Property{}; }
};

}   // namespace detail

}   // namespace tarn::zero::meta
