#include "tarn/zero/meta/Type.h"

#include "tarn/zero/meta/detail/MetaElements.h"

namespace tarn::zero::meta {

Type::Type(Impl* impl) noexcept : NamedElement{impl} {}

Class Type::metaClass()
{
    return detail::metaClassOf<Type>();
}

Type::Impl* Type::operator->() const noexcept
{
    return static_cast<Impl*>(get());
}

Type::Impl::~Impl() = default;

ModelElement::Impl* Type::Impl::classImpl() noexcept
{
    return detail::kernelClass<Type>.load(std::memory_order_acquire);
}

void Type::Impl::setTypeId(std::string const& typeId)
{
    assign(TYPE_ID, m_typeId, typeId);
}

Package Type::Impl::getOwningPackage() const noexcept
{
    return Package{static_cast<Package::Impl*>(containerImpl())};
}

void Type::Impl::setOwningPackage(Package const& package)
{
    moveInto(package.get() ? &package->getTypesMutable() : nullptr);
}

PrimitiveType::PrimitiveType(Impl* impl) noexcept : Type{impl} {}

PrimitiveType PrimitiveType::create(Model const& model, boost::uuids::uuid const& uuid)
{
    return detail::MetaElement<PrimitiveType>::createIn(model, uuid);
}

Class PrimitiveType::metaClass()
{
    return detail::metaClassOf<PrimitiveType>();
}

PrimitiveType::Impl* PrimitiveType::operator->() const noexcept
{
    return static_cast<Impl*>(get());
}

PrimitiveType::Impl::~Impl() = default;

ModelElement::Impl* PrimitiveType::Impl::classImpl() noexcept
{
    return detail::kernelClass<PrimitiveType>.load(std::memory_order_acquire);
}

StructuredType::StructuredType(Impl* impl) noexcept : Type{impl} {}

Class StructuredType::metaClass()
{
    return detail::metaClassOf<StructuredType>();
}

StructuredType::Impl* StructuredType::operator->() const noexcept
{
    return static_cast<Impl*>(get());
}

StructuredType::Impl::Impl(Model const& model, boost::uuids::uuid const& uuid)
    : Type::Impl{model, uuid}, m_properties{*this, PROPERTIES, true}
{}

StructuredType::Impl::~Impl() = default;

ModelElement::Impl* StructuredType::Impl::classImpl() noexcept
{
    return detail::kernelClass<StructuredType>.load(std::memory_order_acquire);
}

OperatableType::OperatableType(Impl* impl) noexcept : StructuredType{impl} {}

Class OperatableType::metaClass()
{
    return detail::metaClassOf<OperatableType>();
}

OperatableType::Impl* OperatableType::operator->() const noexcept
{
    return static_cast<Impl*>(get());
}

OperatableType::Impl::Impl(Model const& model, boost::uuids::uuid const& uuid)
    : StructuredType::Impl{model, uuid}, m_operations{*this, OPERATIONS, true}
{}

OperatableType::Impl::~Impl() = default;

ModelElement::Impl* OperatableType::Impl::classImpl() noexcept
{
    return detail::kernelClass<OperatableType>.load(std::memory_order_acquire);
}

Class::Class(Impl* impl) noexcept : OperatableType{impl} {}

Class Class::create(Model const& model, boost::uuids::uuid const& uuid)
{
    return detail::MetaElement<Class>::createIn(model, uuid);
}

Class Class::metaClass()
{
    return detail::metaClassOf<Class>();
}

Class::Impl* Class::operator->() const noexcept
{
    return static_cast<Impl*>(get());
}

Class::Impl::~Impl() = default;

ModelElement::Impl* Class::Impl::classImpl() noexcept
{
    return detail::kernelClass<Class>.load(std::memory_order_acquire);
}

void Class::Impl::setSuperclass(Class const& superclass)
{
    if (conforms(superclass.get(), this))
        reportException(tarn0::messages::CircularContainment{describe() + " in " + superclass->describe()});
    if (superclass.get() && superclass->isFinal())
        reportException(
            tarn0::messages::InvalidValue{"final " + superclass->describe() + " as the superclass of " + describe()});
    assign(SUPERCLASS, m_superclass, superclass);
}

void Class::Impl::setIsAbstract(bool isAbstract)
{
    assign(IS_ABSTRACT, m_isAbstract, isAbstract);
}

void Class::Impl::setIsFinal(bool isFinal)
{
    assign(IS_FINAL, m_isFinal, isFinal);
}

Interface::Interface(Impl* impl) noexcept : OperatableType{impl} {}

Interface Interface::create(Model const& model, boost::uuids::uuid const& uuid)
{
    return detail::MetaElement<Interface>::createIn(model, uuid);
}

Class Interface::metaClass()
{
    return detail::metaClassOf<Interface>();
}

Interface::Impl* Interface::operator->() const noexcept
{
    return static_cast<Impl*>(get());
}

Interface::Impl::~Impl() = default;

ModelElement::Impl* Interface::Impl::classImpl() noexcept
{
    return detail::kernelClass<Interface>.load(std::memory_order_acquire);
}

}   // namespace tarn::zero::meta
