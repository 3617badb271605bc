#pragma once

#include "tarn/zero/collections/ElementSequence.h"
#include "tarn/zero/meta/TypedElement.h"

#include <string>

namespace tarn::zero::meta {

/// A type of values or elements.
class STUDIO_DATA_EXPORT Type : public NamedElement {
public:
    class Impl;

    Type() noexcept = default;
    explicit Type(Impl* impl) noexcept;

    static Class metaClass();

    Impl* operator->() const noexcept;
};

/// Implementation of a type.
class STUDIO_DATA_EXPORT Type::Impl : public NamedElement::Impl {
public:
    using NamedElement::Impl::Impl;

    static ModelElement::Impl* classImpl() noexcept;

    /// The name that stored models use for the type, such as "studio.data.Property".
    std::string const& getTypeId() const noexcept { return m_typeId; }
    void setTypeId(std::string const& typeId);
    /// The package of the type; null while it has none.
    Package getOwningPackage() const noexcept;
    void setOwningPackage(Package const& package);

protected:
    static constexpr unsigned long OWNING_PACKAGE = 2;
    static constexpr unsigned long TYPE_ID = 3;

    ~Impl() override;

private:
    template <class>
    friend struct detail::FeaturesOf;

    std::string m_typeId;
};

/// A type of plain values: text, numbers, or a C++ class of the package's own.
class STUDIO_DATA_EXPORT PrimitiveType : public Type {
public:
    class Impl;

    PrimitiveType() noexcept = default;
    explicit PrimitiveType(Impl* impl) noexcept;

    static PrimitiveType create(Model const& model, boost::uuids::uuid const& uuid);
    static Class metaClass();

    Impl* operator->() const noexcept;
};

/// Implementation of a primitive type: a name without contents.
class STUDIO_DATA_EXPORT PrimitiveType::Impl : public Type::Impl {
public:
    using Type::Impl::Impl;

    static ModelElement::Impl* classImpl() noexcept;

protected:
    ~Impl() override;
};

/// A type that has properties.
class STUDIO_DATA_EXPORT StructuredType : public Type {
public:
    class Impl;

    StructuredType() noexcept = default;
    explicit StructuredType(Impl* impl) noexcept;

    static Class metaClass();

    Impl* operator->() const noexcept;
};

/// Implementation of a type with properties.
class STUDIO_DATA_EXPORT StructuredType::Impl : public Type::Impl {
public:
    Impl(Model const& model, boost::uuids::uuid const& uuid);

    static ModelElement::Impl* classImpl() noexcept;

    /// The type's own properties, without inherited ones.
    ElementSequence<Property> const& getProperties() const noexcept { return m_properties; }
    ElementSequence<Property>& getPropertiesMutable() noexcept { return m_properties; }

protected:
    static constexpr unsigned long PROPERTIES = 4;

    ~Impl() override;

private:
    template <class>
    friend struct detail::FeaturesOf;

    ElementSequence<Property> m_properties;
};

/// A type that has operations.
class STUDIO_DATA_EXPORT OperatableType : public StructuredType {
public:
    class Impl;

    OperatableType() noexcept = default;
    explicit OperatableType(Impl* impl) noexcept;

    static Class metaClass();

    Impl* operator->() const noexcept;
};

/// Implementation of a type with operations.
class STUDIO_DATA_EXPORT OperatableType::Impl : public StructuredType::Impl {
public:
    Impl(Model const& model, boost::uuids::uuid const& uuid);

    static ModelElement::Impl* classImpl() noexcept;

    /// The type's own operations, without inherited ones.
    ElementSequence<Operation> const& getOperations() const noexcept { return m_operations; }
    ElementSequence<Operation>& getOperationsMutable() noexcept { return m_operations; }

protected:
    static constexpr unsigned long OPERATIONS = 5;

    ~Impl() override;

private:
    template <class>
    friend struct detail::FeaturesOf;

    ElementSequence<Operation> m_operations;
};

/// The class of an element.
class STUDIO_DATA_EXPORT Class : public OperatableType {
public:
    class Impl;

    Class() noexcept = default;
    explicit Class(Impl* impl) noexcept;

    static Class create(Model const& model, boost::uuids::uuid const& uuid);
    static Class metaClass();

    Impl* operator->() const noexcept;
};

/// Implementation of a class.
class STUDIO_DATA_EXPORT Class::Impl : public OperatableType::Impl {
public:
    using OperatableType::Impl::Impl;

    static ModelElement::Impl* classImpl() noexcept;

    /// The superclass; null for the root class.
    Class const& getSuperclass() const noexcept { return m_superclass; }
    /// The superclass, borrowed; null for the root class.
    Class::Impl const* superclassImpl() const noexcept { return static_cast<Impl const*>(m_superclass.get()); }
    /// Sets the superclass. *Throws* `CircularContainment` if `superclass` is this class or derives from it.
    void setSuperclass(Class const& superclass);
    /// True if the class can have no elements of its own.
    bool isAbstract() const noexcept { return m_isAbstract; }
    void setIsAbstract(bool isAbstract);
    /// True if no class may derive from it.
    bool isFinal() const noexcept { return m_isFinal; }
    void setIsFinal(bool isFinal);

protected:
    static constexpr unsigned long SUPERCLASS = 6;
    static constexpr unsigned long IS_ABSTRACT = 7;
    static constexpr unsigned long IS_FINAL = 8;

    ~Impl() override;

private:
    template <class>
    friend struct detail::FeaturesOf;

    Class m_superclass;
    bool m_isAbstract = false;
    bool m_isFinal = false;
};

/// A set of properties and operations that classes may offer.
class STUDIO_DATA_EXPORT Interface : public OperatableType {
public:
    class Impl;

    Interface() noexcept = default;
    explicit Interface(Impl* impl) noexcept;

    static Interface create(Model const& model, boost::uuids::uuid const& uuid);
    static Class metaClass();

    Impl* operator->() const noexcept;
};

/// Implementation of an interface: properties and operations only.
class STUDIO_DATA_EXPORT Interface::Impl : public OperatableType::Impl {
public:
    using OperatableType::Impl::Impl;

    static ModelElement::Impl* classImpl() noexcept;

protected:
    ~Impl() override;
};

}   // namespace tarn::zero::meta
