#pragma once

#include "tarn/zero/collections/ElementSequence.h"
#include "tarn/zero/meta/NamedElement.h"

#include <boost/optional/optional.hpp>

#include <string>

namespace tarn::zero::meta {

/// Base of parts with a type and a multiplicity: properties, operations (their result) and arguments.
class STUDIO_DATA_EXPORT TypedElement : public MetaHandle<TypedElement, NamedElement> {
public:
    class Impl;

    using MetaHandle::MetaHandle;
};

/// Implementation of a part with a type and a multiplicity.
class STUDIO_DATA_EXPORT TypedElement::Impl : public NamedElement::Impl {
public:
    using NamedElement::Impl::Impl;

    static ModelElement::Impl* classImpl() noexcept { return detail::kernelClassOf<TypedElement>(); }

    /// The type; null if unknown.
    Type getType() const noexcept;
    void setType(Type const& type);
    /// True if several values are ordered.
    bool isOrdered() const noexcept { return m_isOrdered; }
    void setIsOrdered(bool isOrdered) { assign(IS_ORDERED, m_isOrdered, isOrdered); }
    /// The minimum number of values.
    unsigned int getLower() const noexcept { return m_lower; }
    void setLower(unsigned int lower) { assign(LOWER, m_lower, lower); }
    /// The maximum number of values.
    unsigned int getUpper() const noexcept { return m_upper; }
    void setUpper(unsigned int upper) { assign(UPPER, m_upper, upper); }

protected:
    ~Impl() override = default;

    static constexpr auto features();

private:
    enum : unsigned long { TYPE = 2, IS_ORDERED, LOWER, UPPER };

    ModelElement m_type;   // a Type, incomplete here
    bool m_isOrdered = false;
    unsigned int m_lower = 0;
    unsigned int m_upper = 1;
};

/// What a property holds. The numbers are part of every schema.
enum class ValueFlags : unsigned int {
    Single = 1,          ///< one value
    OrderedValues = 2,   ///< an ordered list of plain values
    KeyedElements = 5    ///< elements by key
};

/// One property of a class. Its index is the number by which elements of the class announce and store changes.
class STUDIO_DATA_EXPORT Property : public CreatableHandle<Property, TypedElement> {
public:
    class Impl;

    using CreatableHandle::CreatableHandle;

    /// The property's index; 0 for a null handle and for a property without an index.
    inline unsigned long index() const noexcept;
};

/// Implementation of a property.
class STUDIO_DATA_EXPORT Property::Impl : public TypedElement::Impl {
public:
    using TypedElement::Impl::Impl;

    static ModelElement::Impl* classImpl() noexcept { return detail::kernelClassOf<Property>(); }

    /// The type that owns the property; null while none does.
    StructuredType getOwningType() const noexcept;
    void setOwningType(StructuredType const& owner);
    /// The property at the other end of a bidirectional reference; null if there is none.
    Property const& getOpposite() const noexcept { return m_opposite; }
    void setOpposite(Property const& opposite) { assign(OPPOSITE, m_opposite, opposite); }
    /// The property of the contained elements that is their key; null if there is none.
    Property const& getQualifiedBy() const noexcept { return m_qualifiedBy; }
    void setQualifiedBy(Property const& key) { assign(QUALIFIED_BY, m_qualifiedBy, key); }
    /// True if every key is unique.
    bool isQualificationUnique() const noexcept { return m_isQualificationUnique; }
    void setIsQualificationUnique(bool isUnique) { assign(IS_QUALIFICATION_UNIQUE, m_isQualificationUnique, isUnique); }
    /// True if duplicates are not allowed.
    bool isUnique() const noexcept { return m_isUnique; }
    void setIsUnique(bool isUnique) { assign(IS_UNIQUE, m_isUnique, isUnique); }
    /// The default value as text of the type's serializer; empty if the C++ type's default applies.
    boost::optional<std::u16string> const& getDefaultValue() const noexcept { return m_defaultValue; }
    void setDefaultValue(boost::optional<std::u16string> const& text) { assign(DEFAULT_VALUE, m_defaultValue, text); }
    /// Kind of the property's contents: one value, values or keyed elements.
    ValueFlags getValueFlags() const noexcept { return m_valueFlags; }
    void setValueFlags(ValueFlags flags) { assign(VALUE_FLAGS, m_valueFlags, flags); }
    /// True if the property holds several values.
    bool isCollection() const noexcept { return m_valueFlags != ValueFlags::Single; }
    /// True if the property contains its elements: they are destroyed with the owner.
    bool isComposite() const noexcept { return m_isComposite; }
    void setIsComposite(bool isComposite) { assign(IS_COMPOSITE, m_isComposite, isComposite); }
    /// The index of the property in its class; 0 if it has none.
    unsigned long getIndex() const noexcept { return m_index; }
    void setIndex(unsigned long index) { assign(INDEX, m_index, index); }

protected:
    ~Impl() override = default;

    static constexpr auto features();

private:
    enum : unsigned long {
        OWNING_TYPE = 6,
        OPPOSITE,
        QUALIFIED_BY,
        IS_QUALIFICATION_UNIQUE,
        IS_UNIQUE,
        DEFAULT_VALUE,
        VALUE_FLAGS,
        IS_COMPOSITE,
        INDEX
    };

    Property m_opposite;
    Property m_qualifiedBy;
    boost::optional<std::u16string> m_defaultValue;
    unsigned long m_index = 0;
    ValueFlags m_valueFlags = ValueFlags::Single;
    bool m_isQualificationUnique = false;
    bool m_isUnique = false;
    bool m_isComposite = false;
};

inline unsigned long Property::index() const noexcept
{
    return get() ? static_cast<Impl const*>(get())->getIndex() : 0;
}

/// One argument of an operation.
class STUDIO_DATA_EXPORT Argument : public CreatableHandle<Argument, TypedElement> {
public:
    class Impl;

    using CreatableHandle::CreatableHandle;
};

/// Implementation of an argument.
class STUDIO_DATA_EXPORT Argument::Impl : public TypedElement::Impl {
public:
    using TypedElement::Impl::Impl;

    static ModelElement::Impl* classImpl() noexcept { return detail::kernelClassOf<Argument>(); }

    /// The operation of the argument; null while it has none.
    Operation getOperation() const noexcept;
    void setOperation(Operation const& operation);
    /// True for an input argument.
    bool isInput() const noexcept { return m_isInput; }
    void setIsInput(bool isInput) { assign(IS_INPUT, m_isInput, isInput); }

protected:
    ~Impl() override = default;

    static constexpr auto features();

private:
    enum : unsigned long { OPERATION = 6, IS_INPUT };

    bool m_isInput = false;
};

/// One operation of a class; its type and multiplicity describe the result.
class STUDIO_DATA_EXPORT Operation : public CreatableHandle<Operation, TypedElement> {
public:
    class Impl;

    using CreatableHandle::CreatableHandle;
};

/// Implementation of an operation.
class STUDIO_DATA_EXPORT Operation::Impl : public TypedElement::Impl {
public:
    Impl(Model const& model, boost::uuids::uuid const& uuid);

    static ModelElement::Impl* classImpl() noexcept { return detail::kernelClassOf<Operation>(); }

    /// The type that owns the operation; null while none does.
    OperatableType getOwningType() const noexcept;
    void setOwningType(OperatableType const& owner);
    /// True if only derived classes implement it.
    bool isAbstract() const noexcept { return m_isAbstract; }
    void setIsAbstract(bool isAbstract) { assign(IS_ABSTRACT, m_isAbstract, isAbstract); }
    /// True if it belongs to the class, not to an element.
    bool isStatic() const noexcept { return m_isStatic; }
    void setIsStatic(bool isStatic) { assign(IS_STATIC, m_isStatic, isStatic); }
    /// True if it is public.
    bool isPublic() const noexcept { return m_isPublic; }
    void setIsPublic(bool isPublic) { assign(IS_PUBLIC, m_isPublic, isPublic); }
    /// The arguments, in order.
    ElementSequence<Argument> const& getArguments() const noexcept { return m_arguments; }
    ElementSequence<Argument>& getArgumentsMutable() noexcept { return m_arguments; }

protected:
    ~Impl() override;

    static constexpr auto features();

private:
    enum : unsigned long { OWNING_TYPE = 6, IS_ABSTRACT, IS_STATIC, IS_PUBLIC, ARGUMENTS };

    bool m_isAbstract = false;
    bool m_isStatic = false;
    bool m_isPublic = true;
    ElementSequence<Argument> m_arguments;   // made where Class is complete
};

}   // namespace tarn::zero::meta
