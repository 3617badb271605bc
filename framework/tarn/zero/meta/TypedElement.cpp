#include "tarn/zero/meta/TypedElement.h"

#include "tarn/zero/meta/Type.h"

namespace tarn::zero::meta {

Type TypedElement::Impl::getType() const noexcept
{
    return Type{static_cast<Type::Impl*>(m_type.get())};
}

void TypedElement::Impl::setType(Type const& type)
{
    assign<ModelElement>(TYPE, m_type, type);
}

StructuredType Property::Impl::getOwningType() const noexcept
{
    return StructuredType{static_cast<StructuredType::Impl*>(containerImpl())};
}

void Property::Impl::setOwningType(StructuredType const& owner)
{
    moveInto(owner.get() ? &owner->getPropertiesMutable() : nullptr);
}

Operation Argument::Impl::getOperation() const noexcept
{
    return Operation{static_cast<Operation::Impl*>(containerImpl())};
}

void Argument::Impl::setOperation(Operation const& operation)
{
    moveInto(operation.get() ? &operation->getArgumentsMutable() : nullptr);
}

Operation::Impl::Impl(Model const& model, boost::uuids::uuid const& uuid)
    : TypedElement::Impl{model, uuid}, m_arguments{*this, ARGUMENTS, true}
{}

Operation::Impl::~Impl() = default;

OperatableType Operation::Impl::getOwningType() const noexcept
{
    return OperatableType{static_cast<OperatableType::Impl*>(containerImpl())};
}

void Operation::Impl::setOwningType(OperatableType const& owner)
{
    moveInto(owner.get() ? &owner->getOperationsMutable() : nullptr);
}

}   // namespace tarn::zero::meta
