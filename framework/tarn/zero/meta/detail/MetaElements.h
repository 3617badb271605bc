#pragma once

#include "tarn/zero/ElementImplOf.h"
#include "tarn/zero/meta/Package.h"

#include <atomic>
#include <tuple>

namespace tarn::zero::meta::detail {

/// The class of the elements of handle class `H`; null until the registry has created it. Set once, by the registry.
template <class H>
STUDIO_DATA_LOCAL inline std::atomic<ModelElement::Impl*> kernelClass{nullptr};

/// Creates the registry, and with it the class of every meta element, unless it exists. No effect while the registry is
/// under construction.
void ensureKernelClasses();

template <class H>
Class metaClassOf()
{
    if (!kernelClass<H>.load(std::memory_order_acquire))
        ensureKernelClasses();
    return Class{static_cast<Class::Impl*>(kernelClass<H>.load(std::memory_order_acquire))};
}

// The features of each meta element: those of its base classes, then its own.

template <>
struct FeaturesOf<NamedElement::Impl> {
    using Impl = NamedElement::Impl;
    static constexpr auto list() { return std::tuple{Attribute<Impl::NAME, &Impl::m_name, RevertWhenEqual>{}}; }
};

template <>
struct FeaturesOf<TypedElement::Impl> {
    using Impl = TypedElement::Impl;
    static constexpr auto list()
    {
        return std::tuple_cat(FeaturesOf<NamedElement::Impl>::list(),
                              std::tuple{Attribute<Impl::TYPE, &Impl::m_type, RevertWhenEqual>{},
                                         Attribute<Impl::IS_ORDERED, &Impl::m_isOrdered, RevertWhenEqual>{},
                                         Attribute<Impl::LOWER, &Impl::m_lower, RevertWhenEqual>{},
                                         Attribute<Impl::UPPER, &Impl::m_upper, RevertWhenEqual>{}});
    }
};

template <>
struct FeaturesOf<Property::Impl> {
    using Impl = Property::Impl;
    static constexpr auto list()
    {
        return std::tuple_cat(
            FeaturesOf<TypedElement::Impl>::list(),
            std::tuple{Container<Impl::OWNING_TYPE, StructuredType, &Impl::setOwningType>{},
                       Attribute<Impl::OPPOSITE, &Impl::m_opposite, RevertWhenEqual>{},
                       Attribute<Impl::QUALIFIED_BY, &Impl::m_qualifiedBy, RevertWhenEqual>{},
                       Attribute<Impl::IS_QUALIFICATION_UNIQUE, &Impl::m_isQualificationUnique, RevertWhenEqual>{},
                       Attribute<Impl::IS_UNIQUE, &Impl::m_isUnique, RevertWhenEqual>{},
                       Attribute<Impl::DEFAULT_VALUE, &Impl::m_defaultValue, RevertWhenEqual>{},
                       Attribute<Impl::VALUE_FLAGS, &Impl::m_valueFlags, RevertWhenEqual>{},
                       Attribute<Impl::IS_COMPOSITE, &Impl::m_isComposite, RevertWhenEqual>{},
                       Attribute<Impl::INDEX, &Impl::m_index, RevertWhenEqual>{}});
    }
};

template <>
struct FeaturesOf<Argument::Impl> {
    using Impl = Argument::Impl;
    static constexpr auto list()
    {
        return std::tuple_cat(FeaturesOf<TypedElement::Impl>::list(),
                              std::tuple{Container<Impl::OPERATION, Operation, &Impl::setOperation>{},
                                         Attribute<Impl::IS_INPUT, &Impl::m_isInput, RevertWhenEqual>{}});
    }
};

template <>
struct FeaturesOf<Operation::Impl> {
    using Impl = Operation::Impl;
    static constexpr auto list()
    {
        return std::tuple_cat(FeaturesOf<TypedElement::Impl>::list(),
                              std::tuple{Container<Impl::OWNING_TYPE, OperatableType, &Impl::setOwningType>{},
                                         Attribute<Impl::IS_ABSTRACT, &Impl::m_isAbstract, RevertWhenEqual>{},
                                         Attribute<Impl::IS_STATIC, &Impl::m_isStatic, RevertWhenEqual>{},
                                         Attribute<Impl::IS_PUBLIC, &Impl::m_isPublic, RevertWhenEqual>{},
                                         Collection<Impl::ARGUMENTS, &Impl::m_arguments, RevertWhenEmpty>{}});
    }
};

template <>
struct FeaturesOf<Type::Impl> {
    using Impl = Type::Impl;
    static constexpr auto list()
    {
        return std::tuple_cat(FeaturesOf<NamedElement::Impl>::list(),
                              std::tuple{Container<Impl::OWNING_PACKAGE, Package, &Impl::setOwningPackage>{},
                                         Attribute<Impl::TYPE_ID, &Impl::m_typeId, RevertWhenEqual>{}});
    }
};

template <>
struct FeaturesOf<PrimitiveType::Impl> : FeaturesOf<Type::Impl> {};

template <>
struct FeaturesOf<StructuredType::Impl> {
    using Impl = StructuredType::Impl;
    static constexpr auto list()
    {
        return std::tuple_cat(FeaturesOf<Type::Impl>::list(),
                              std::tuple{Collection<Impl::PROPERTIES, &Impl::m_properties, RevertWhenEmpty>{}});
    }
};

template <>
struct FeaturesOf<OperatableType::Impl> {
    using Impl = OperatableType::Impl;
    static constexpr auto list()
    {
        return std::tuple_cat(FeaturesOf<StructuredType::Impl>::list(),
                              std::tuple{Collection<Impl::OPERATIONS, &Impl::m_operations, RevertWhenEmpty>{}});
    }
};

template <>
struct FeaturesOf<Class::Impl> {
    using Impl = Class::Impl;
    static constexpr auto list()
    {
        return std::tuple_cat(FeaturesOf<OperatableType::Impl>::list(),
                              std::tuple{Attribute<Impl::SUPERCLASS, &Impl::m_superclass, RevertWhenEqual>{},
                                         Attribute<Impl::IS_ABSTRACT, &Impl::m_isAbstract, RevertWhenEqual>{},
                                         Attribute<Impl::IS_FINAL, &Impl::m_isFinal, RevertWhenEqual>{}});
    }
};

template <>
struct FeaturesOf<Interface::Impl> : FeaturesOf<OperatableType::Impl> {};

template <>
struct FeaturesOf<Package::Impl> {
    using Impl = Package::Impl;
    static constexpr auto list()
    {
        return std::tuple_cat(
            FeaturesOf<NamedElement::Impl>::list(),
            std::tuple{Attribute<Impl::URI, &Impl::m_uri, RevertWhenEqual>{},
                       Container<Impl::PARENT_PACKAGE, Package, &Impl::setParentPackage>{},
                       Collection<Impl::IMPORTED_PACKAGES, &Impl::m_importedPackages, RevertWhenEmpty>{},
                       Collection<Impl::PACKAGES, &Impl::m_packages, RevertWhenEmpty>{},
                       Collection<Impl::TYPES, &Impl::m_types, RevertWhenEmpty>{}});
    }
};

/// Implementation of handle class `H`: its fields and setters, joined with its features.
template <class H>
class MetaElement final : public ElementImplOf<MetaElement<H>, typename H::Impl> {
    using Base = ElementImplOf<MetaElement<H>, typename H::Impl>;

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

    static constexpr auto features() { return FeaturesOf<typename H::Impl>::list(); }
    // The recursion ends here: meta elements have classes but no meta properties.
    static Property propertyAt(unsigned long) { return Property{}; }
};

}   // namespace tarn::zero::meta::detail
