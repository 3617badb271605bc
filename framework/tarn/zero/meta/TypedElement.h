#pragma once

#include "tarn/zero/collections/ElementSequence.h"
#include "tarn/zero/meta/NamedElement.h"

#include <boost/optional/optional.hpp>

#include <string>

namespace tarn::zero::meta {

/// What has a type and a multiplicity: a property, an operation (its result), an argument.
class STUDIO_DATA_EXPORT TypedElement : public NamedElement {
public:
    class Impl;

    TypedElement() noexcept = default;
    explicit TypedElement(Impl* impl) noexcept;

    static Class metaClass();

    Impl* operator->() const noexcept;
};

/// The type and the multiplicity.
class STUDIO_DATA_EXPORT TypedElement::Impl : public NamedElement::Impl {
public:
    using NamedElement::Impl::Impl;

    static ModelElement::Impl* classImpl() noexcept;

    /// Null when the type is not known.
    Type getType() const noexcept;
    void setType(Type const& type);
    /// True if the order of several values counts.
    bool isOrdered() const noexcept { return m_isOrdered; }
    void setIsOrdered(bool isOrdered);
    /// How many values there are at least.
    unsigned int getLower() const noexcept { return m_lower; }
    void setLower(unsigned int lower);
    /// How many values there are at most.
    unsigned int getUpper() const noexcept { return m_upper; }
    void setUpper(unsigned int upper);

protected:
    static constexpr unsigned long TYPE = 2;
    static constexpr unsigned long IS_ORDERED = 3;
    static constexpr unsigned long LOWER = 4;
    static constexpr unsigned long UPPER = 5;

    ~Impl() override;

private:
    template <class>
    friend struct detail::FeaturesOf;

    ModelElement m_type;   // a Type, which is declared in terms of this class
    bool m_isOrdered = false;
    unsigned int m_lower = 0;
    unsigned int m_upper = 1;
};

/// What a property holds. The codes are part of every schema.
enum class ValueFlags : unsigned int {
    Single = 1,          ///< one value
    OrderedValues = 2,   ///< an ordered list of plain values
    KeyedElements = 5    ///< elements by a key
};

/// One property of a class. Its index is the number by which elements of the class announce and remember changes.
class STUDIO_DATA_EXPORT Property : public TypedElement {
public:
    class Impl;

    Property() noexcept = default;
    explicit Property(Impl* impl) noexcept;

    static Property create(Model const& model, boost::uuids::uuid const& uuid);
    static Class metaClass();

    /// 0 for a null handle and for a property that has no index yet.
    inline unsigned long index() const noexcept;

    Impl* operator->() const noexcept;
};

/// What a property tells of itself.
class STUDIO_DATA_EXPORT Property::Impl : public TypedElement::Impl {
public:
    using TypedElement::Impl::Impl;

    static ModelElement::Impl* classImpl() noexcept;

    /// The class that has the property; null while none does.
    StructuredType getOwningType() const noexcept;
    void setOwningType(StructuredType const& owner);
    /// The property at the other end of a reference that is kept in step; null for none.
    Property const& getOpposite() const noexcept { return m_opposite; }
    void setOpposite(Property const& opposite);
    /// The property of the contained elements that is their key; null for none.
    Property const& getQualifiedBy() const noexcept { return m_qualifiedBy; }
    void setQualifiedBy(Property const& key);
    /// True if every key stands for one element.
    bool isQualificationUnique() const noexcept { return m_isQualificationUnique; }
    void setIsQualificationUnique(bool isUnique);
    /// True if no value may be held twice.
    bool isUnique() const noexcept { return m_isUnique; }
    void setIsUnique(bool isUnique);
    /// The default as the text of its type's serializer; empty for none: the C++ type's own default holds.
    boost::optional<std::u16string> const& getDefaultValue() const noexcept { return m_defaultValue; }
    void setDefaultValue(boost::optional<std::u16string> const& text);
    /// What the property holds.
    ValueFlags getValueFlags() const noexcept { return m_valueFlags; }
    void setValueFlags(ValueFlags flags);
    /// True if it holds several values.
    bool isCollection() const noexcept { return m_valueFlags != ValueFlags::Single; }
    /// True if it contains its elements: they go with the owner.
    bool isComposite() const noexcept { return m_isComposite; }
    void setIsComposite(bool isComposite);
    /// The number of the property in its class; 0 before it has one.
    unsigned long getIndex() const noexcept { return m_index; }
    void setIndex(unsigned long index);

protected:
    static constexpr unsigned long OWNING_TYPE = 6;
    static constexpr unsigned long OPPOSITE = 7;
    static constexpr unsigned long QUALIFIED_BY = 8;
    static constexpr unsigned long IS_QUALIFICATION_UNIQUE = 9;
    static constexpr unsigned long IS_UNIQUE = 10;
    static constexpr unsigned long DEFAULT_VALUE = 11;
    static constexpr unsigned long VALUE_FLAGS = 12;
    static constexpr unsigned long IS_COMPOSITE = 13;
    static constexpr unsigned long INDEX = 14;

    ~Impl() override;

private:
    template <class>
    friend struct detail::FeaturesOf;

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
class STUDIO_DATA_EXPORT Argument : public TypedElement {
public:
    class Impl;

    Argument() noexcept = default;
    explicit Argument(Impl* impl) noexcept;

    static Argument create(Model const& model, boost::uuids::uuid const& uuid);
    static Class metaClass();

    Impl* operator->() const noexcept;
};

/// What an argument tells of itself.
class STUDIO_DATA_EXPORT Argument::Impl : public TypedElement::Impl {
public:
    using TypedElement::Impl::Impl;

    static ModelElement::Impl* classImpl() noexcept;

    /// Null while no operation has the argument.
    Operation getOperation() const noexcept;
    void setOperation(Operation const& operation);
    /// True if the caller gives it.
    bool isInput() const noexcept { return m_isInput; }
    void setIsInput(bool isInput);

protected:
    static constexpr unsigned long OPERATION = 6;
    static constexpr unsigned long IS_INPUT = 7;

    ~Impl() override;

private:
    template <class>
    friend struct detail::FeaturesOf;

    bool m_isInput = false;
};

/// One operation of a class; its type and multiplicity are those of the result.
class STUDIO_DATA_EXPORT Operation : public TypedElement {
public:
    class Impl;

    Operation() noexcept = default;
    explicit Operation(Impl* impl) noexcept;

    static Operation create(Model const& model, boost::uuids::uuid const& uuid);
    static Class metaClass();

    Impl* operator->() const noexcept;
};

/// What an operation tells of itself.
class STUDIO_DATA_EXPORT Operation::Impl : public TypedElement::Impl {
public:
    Impl(Model const& model, boost::uuids::uuid const& uuid);

    static ModelElement::Impl* classImpl() noexcept;

    /// Null while no class has the operation.
    OperatableType getOwningType() const noexcept;
    void setOwningType(OperatableType const& owner);
    /// True if only derived classes have it.
    bool isAbstract() const noexcept { return m_isAbstract; }
    void setIsAbstract(bool isAbstract);
    /// True if it belongs to the class and not to its elements.
    bool isStatic() const noexcept { return m_isStatic; }
    void setIsStatic(bool isStatic);
    /// True if it is for everybody.
    bool isPublic() const noexcept { return m_isPublic; }
    void setIsPublic(bool isPublic);
    /// The arguments, in their order.
    ElementSequence<Argument> const& getArguments() const noexcept { return m_arguments; }
    ElementSequence<Argument>& getArgumentsMutable() noexcept { return m_arguments; }

protected:
    static constexpr unsigned long OWNING_TYPE = 6;
    static constexpr unsigned long IS_ABSTRACT = 7;
    static constexpr unsigned long IS_STATIC = 8;
    static constexpr unsigned long IS_PUBLIC = 9;
    static constexpr unsigned long ARGUMENTS = 10;

    ~Impl() override;

private:
    template <class>
    friend struct detail::FeaturesOf;

    bool m_isAbstract = false;
    bool m_isStatic = false;
    bool m_isPublic = true;
    ElementSequence<Argument> m_arguments;
};

}   // namespace tarn::zero::meta
