#pragma once

#include "tarn/zero/collections/ElementSequence.h"
#include "tarn/zero/meta/TypedElement.h"

#include <string>

namespace tarn::zero::meta {

/// A type of values or elements.
class STUDIO_DATA_EXPORT Type : public MetaHandle<Type, NamedElement> {
public:
    class Impl;

    using MetaHandle::MetaHandle;
};

/// Implementation of a type.
class STUDIO_DATA_EXPORT Type::Impl : public NamedElement::Impl {
public:
    using NamedElement::Impl::Impl;

    static ModelElement::Impl* classImpl() noexcept { return detail::kernelClassOf<Type>(); }

    /// The name that stored models use for the type, such as "studio.data.Property".
    std::string const& getTypeId() const noexcept { return m_typeId; }
    void setTypeId(std::string const& typeId) { assign(TYPE_ID, m_typeId, typeId); }
    /// The package of the type; null while it has none.
    Package getOwningPackage() const noexcept;
    void setOwningPackage(Package const& package);

protected:
    ~Impl() override = default;

    static constexpr auto features();

private:
    enum : unsigned long { OWNING_PACKAGE = 2, TYPE_ID };

    std::string m_typeId;
};

/// A type of plain values: text, numbers, or a C++ class of the package's own.
class STUDIO_DATA_EXPORT PrimitiveType : public CreatableHandle<PrimitiveType, Type> {
public:
    class Impl;

    using CreatableHandle::CreatableHandle;
};

/// Implementation of a primitive type: a name without contents.
class STUDIO_DATA_EXPORT PrimitiveType::Impl : public Type::Impl {
public:
    using Type::Impl::Impl;

    static ModelElement::Impl* classImpl() noexcept { return detail::kernelClassOf<PrimitiveType>(); }

protected:
    ~Impl() override = default;
};

/// A type that has properties.
class STUDIO_DATA_EXPORT StructuredType : public MetaHandle<StructuredType, Type> {
public:
    class Impl;

    using MetaHandle::MetaHandle;
};

/// Implementation of a type with properties.
class STUDIO_DATA_EXPORT StructuredType::Impl : public Type::Impl {
public:
    using Type::Impl::Impl;

    static ModelElement::Impl* classImpl() noexcept { return detail::kernelClassOf<StructuredType>(); }

    /// The type's own properties, without inherited ones.
    ElementSequence<Property> const& getProperties() const noexcept { return m_properties; }
    ElementSequence<Property>& getPropertiesMutable() noexcept { return m_properties; }

protected:
    ~Impl() override = default;

    static constexpr auto features();

private:
    enum : unsigned long { PROPERTIES = 4 };

    ElementSequence<Property> m_properties{*this, PROPERTIES, true};
};

/// A type that has operations.
class STUDIO_DATA_EXPORT OperatableType : public MetaHandle<OperatableType, StructuredType> {
public:
    class Impl;

    using MetaHandle::MetaHandle;
};

/// Implementation of a type with operations.
class STUDIO_DATA_EXPORT OperatableType::Impl : public StructuredType::Impl {
public:
    using StructuredType::Impl::Impl;

    static ModelElement::Impl* classImpl() noexcept { return detail::kernelClassOf<OperatableType>(); }

    /// The type's own operations, without inherited ones.
    ElementSequence<Operation> const& getOperations() const noexcept { return m_operations; }
    ElementSequence<Operation>& getOperationsMutable() noexcept { return m_operations; }

protected:
    ~Impl() override = default;

    static constexpr auto features();

private:
    enum : unsigned long { OPERATIONS = 5 };

    ElementSequence<Operation> m_operations{*this, OPERATIONS, true};
};

/// The class of an element.
class STUDIO_DATA_EXPORT Class : public CreatableHandle<Class, OperatableType> {
public:
    class Impl;

    using CreatableHandle::CreatableHandle;
};

/// Implementation of a class.
class STUDIO_DATA_EXPORT Class::Impl : public OperatableType::Impl {
public:
    using OperatableType::Impl::Impl;

    static ModelElement::Impl* classImpl() noexcept { return detail::kernelClassOf<Class>(); }

    /// The superclass; null for the root class.
    Class const& getSuperclass() const noexcept { return m_superclass; }
    /// The superclass, borrowed; null for the root class.
    Class::Impl const* superclassImpl() const noexcept { return static_cast<Impl const*>(m_superclass.get()); }
    /// Sets the superclass. *Throws* `CircularContainment` if `superclass` is this class or derives from it.
    void setSuperclass(Class const& superclass);
    /// True if the class can have no elements of its own.
    bool isAbstract() const noexcept { return m_isAbstract; }
    void setIsAbstract(bool isAbstract) { assign(IS_ABSTRACT, m_isAbstract, isAbstract); }
    /// True if no class may derive from it.
    bool isFinal() const noexcept { return m_isFinal; }
    void setIsFinal(bool isFinal) { assign(IS_FINAL, m_isFinal, isFinal); }

protected:
    ~Impl() override = default;

    static constexpr auto features();

private:
    enum : unsigned long { SUPERCLASS = 6, IS_ABSTRACT, IS_FINAL };

    Class m_superclass;
    bool m_isAbstract = false;
    bool m_isFinal = false;
};

/// A set of properties and operations that classes may offer.
class STUDIO_DATA_EXPORT Interface : public CreatableHandle<Interface, OperatableType> {
public:
    class Impl;

    using CreatableHandle::CreatableHandle;
};

/// Implementation of an interface: properties and operations only.
class STUDIO_DATA_EXPORT Interface::Impl : public OperatableType::Impl {
public:
    using OperatableType::Impl::Impl;

    static ModelElement::Impl* classImpl() noexcept { return detail::kernelClassOf<Interface>(); }

protected:
    ~Impl() override = default;
};

namespace detail {

/// The class of the elements of handle class `H`, one of `KernelClasses`.
template <class H>
Class metaClassOf()
{
    return Class{static_cast<Class::Impl*>(internal::requireKernelClass(kernelIndex<H>))};
}

}   // namespace detail

template <class H, class Base>
Class MetaHandle<H, Base>::metaClass()
{
    return detail::metaClassOf<H>();
}

}   // namespace tarn::zero::meta
