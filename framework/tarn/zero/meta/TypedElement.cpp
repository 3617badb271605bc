#include "tarn/zero/meta/TypedElement.h"

#include "tarn/zero/meta/detail/MetaElements.h"

namespace tarn::zero::meta {

TypedElement::TypedElement(Impl* impl) noexcept : NamedElement{impl} {}

Class TypedElement::metaClass()
{
    return detail::metaClassOf<TypedElement>();
}

TypedElement::Impl* TypedElement::operator->() const noexcept
{
    return static_cast<Impl*>(get());
}

TypedElement::Impl::~Impl() = default;

ModelElement::Impl* TypedElement::Impl::classImpl() noexcept
{
    return detail::kernelClass<TypedElement>.load(std::memory_order_acquire);
}

Type TypedElement::Impl::getType() const noexcept
{
    return Type{static_cast<Type::Impl*>(m_type.get())};
}

void TypedElement::Impl::setType(Type const& type)
{
    assign<ModelElement>(TYPE, m_type, type);
}

void TypedElement::Impl::setIsOrdered(bool isOrdered)
{
    assign(IS_ORDERED, m_isOrdered, isOrdered);
}

void TypedElement::Impl::setLower(unsigned int lower)
{
    assign(LOWER, m_lower, lower);
}

void TypedElement::Impl::setUpper(unsigned int upper)
{
    assign(UPPER, m_upper, upper);
}

Property::Property(Impl* impl) noexcept : TypedElement{impl} {}

Property Property::create(Model const& model, boost::uuids::uuid const& uuid)
{
    return detail::MetaElement<Property>::createIn(model, uuid);
}

Class Property::metaClass()
{
    return detail::metaClassOf<Property>();
}

Property::Impl* Property::operator->() const noexcept
{
    return static_cast<Impl*>(get());
}

Property::Impl::~Impl() = default;

ModelElement::Impl* Property::Impl::classImpl() noexcept
{
    return detail::kernelClass<Property>.load(std::memory_order_acquire);
}

StructuredType Property::Impl::getOwningType() const noexcept
{
    return StructuredType{static_cast<StructuredType::Impl*>(containerImpl())};
}

void Property::Impl::setOwningType(StructuredType const& owner)
{
    moveInto(owner.get() ? &owner->getPropertiesMutable() : nullptr);
}

void Property::Impl::setOpposite(Property const& opposite)
{
    assign(OPPOSITE, m_opposite, opposite);
}

void Property::Impl::setQualifiedBy(Property const& key)
{
    assign(QUALIFIED_BY, m_qualifiedBy, key);
}

void Property::Impl::setIsQualificationUnique(bool isUnique)
{
    assign(IS_QUALIFICATION_UNIQUE, m_isQualificationUnique, isUnique);
}

void Property::Impl::setIsUnique(bool isUnique)
{
    assign(IS_UNIQUE, m_isUnique, isUnique);
}

void Property::Impl::setDefaultValue(boost::optional<std::u16string> const& text)
{
    assign(DEFAULT_VALUE, m_defaultValue, text);
}

void Property::Impl::setValueFlags(ValueFlags flags)
{
    assign(VALUE_FLAGS, m_valueFlags, flags);
}

void Property::Impl::setIsComposite(bool isComposite)
{
    assign(IS_COMPOSITE, m_isComposite, isComposite);
}

void Property::Impl::setIndex(unsigned long index)
{
    assign(INDEX, m_index, index);
}

Argument::Argument(Impl* impl) noexcept : TypedElement{impl} {}

Argument Argument::create(Model const& model, boost::uuids::uuid const& uuid)
{
    return detail::MetaElement<Argument>::createIn(model, uuid);
}

Class Argument::metaClass()
{
    return detail::metaClassOf<Argument>();
}

Argument::Impl* Argument::operator->() const noexcept
{
    return static_cast<Impl*>(get());
}

Argument::Impl::~Impl() = default;

ModelElement::Impl* Argument::Impl::classImpl() noexcept
{
    return detail::kernelClass<Argument>.load(std::memory_order_acquire);
}

Operation Argument::Impl::getOperation() const noexcept
{
    return Operation{static_cast<Operation::Impl*>(containerImpl())};
}

void Argument::Impl::setOperation(Operation const& operation)
{
    moveInto(operation.get() ? &operation->getArgumentsMutable() : nullptr);
}

void Argument::Impl::setIsInput(bool isInput)
{
    assign(IS_INPUT, m_isInput, isInput);
}

Operation::Operation(Impl* impl) noexcept : TypedElement{impl} {}

Operation Operation::create(Model const& model, boost::uuids::uuid const& uuid)
{
    return detail::MetaElement<Operation>::createIn(model, uuid);
}

Class Operation::metaClass()
{
    return detail::metaClassOf<Operation>();
}

Operation::Impl* Operation::operator->() const noexcept
{
    return static_cast<Impl*>(get());
}

Operation::Impl::Impl(Model const& model, boost::uuids::uuid const& uuid)
    : TypedElement::Impl{model, uuid}, m_arguments{*this, ARGUMENTS, true}
{}

Operation::Impl::~Impl() = default;

ModelElement::Impl* Operation::Impl::classImpl() noexcept
{
    return detail::kernelClass<Operation>.load(std::memory_order_acquire);
}

OperatableType Operation::Impl::getOwningType() const noexcept
{
    return OperatableType{static_cast<OperatableType::Impl*>(containerImpl())};
}

void Operation::Impl::setOwningType(OperatableType const& owner)
{
    moveInto(owner.get() ? &owner->getOperationsMutable() : nullptr);
}

void Operation::Impl::setIsAbstract(bool isAbstract)
{
    assign(IS_ABSTRACT, m_isAbstract, isAbstract);
}

void Operation::Impl::setIsStatic(bool isStatic)
{
    assign(IS_STATIC, m_isStatic, isStatic);
}

void Operation::Impl::setIsPublic(bool isPublic)
{
    assign(IS_PUBLIC, m_isPublic, isPublic);
}

}   // namespace tarn::zero::meta
