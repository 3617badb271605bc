#include "studio/data/model/Property.h"

#include "studio/data/model/ContextDataImpl.h"
#include "studio/data/model/MetaPackageStudio_data.h"
#include "studio/data/model/PropertyImpl.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/ReportException.h"
#include "tarn0/messages/Messages.h"

#include <utility>

namespace studio::data {

Property::Property(Impl* impl) noexcept : ModelElement{impl} {}

Property Property::create(tarn::zero::Model const& model, boost::uuids::uuid const& uuid)
{
    return Impl::createIn(model, uuid);
}

tarn::zero::meta::Class Property::metaClass()
{
    return MetaPackageStudio_data::propertyClass();
}

std::string Property::name() const
{
    return get() ? (*this)->getName() : std::string{};
}

ContextData Property::owner() const
{
    return get() ? (*this)->getOwner() : ContextData{};
}

Property::Impl* Property::operator->() const noexcept
{
    return static_cast<Impl*>(get());
}

Property::Impl::~Impl() = default;

tarn::zero::ModelElement::Impl* Property::Impl::classImpl() noexcept
{
    return MetaPackageStudio_data::propertyClassImpl();
}

tarn::zero::meta::Property Property::Impl::propertyAt(unsigned long index)
{
    return MetaPackageStudio_data::propertyProperty(index);
}

Property Property::Impl::createWith(tarn::zero::Model const& model, boost::uuids::uuid const& uuid,
                                    std::string const& name, PropertyValue const& value)
{
    Property const property{new Impl{model, uuid}};
    property->name = name;
    property->value = value;
    OwnTransaction transaction{*property.operator->()};   // no hook of this class needs a savepoint
    property->notifyCreated();
    property->didCreate();
    transaction.commit();
    return property;
}

ContextData Property::Impl::getOwner() const noexcept
{
    return ContextData{ownerImpl()};
}

ContextData::Impl* Property::Impl::ownerImpl() const noexcept
{
    return static_cast<ContextData::Impl*>(containerImpl());
}

void Property::Impl::setName(std::string const& newName)
{
    refuseProxy();
    if (newName == name)
        return;
    ContextData::Impl* const owner = ownerImpl();
    if (owner && owner->getProperties().containsKey(newName))
        tarn::zero::reportException(
            tarn0::messages::UniquenessConstraint{describe() + " as \"" + newName + "\" in " + owner->describe()});

    tarn::zero::Transaction transaction = begin();
    if (owner)
        _inverseRemoveThis(owner, ContextData::Impl::PROPERTIES);   // under the old name
    notifyModifying(NAME);
    name = newName;
    if (owner)
        _inverseAddThis(owner, ContextData::Impl::PROPERTIES, true);
    transaction.commit(boost::none);
}

void Property::Impl::setValue(PropertyValue const& newValue)
{
    refuseProxy();
    if (newValue == value)
        return;
    OwnTransaction transaction{*this};
    if (value.isUUID() || newValue.isUUID())
        getModelImpl()->bumpStructureVersion();
    notifyModifying(VALUE);
    value = newValue;
    transaction.commit();
}

void Property::Impl::setOwner(ContextData const& newOwner)
{
    refuseProxy();
    if (newOwner.get() == containerImpl())
        return;
    if (!newOwner.get()) {
        tarn::zero::Transaction transaction = begin();
        makeUncontained();
        return transaction.commit(boost::none);
    }
    newOwner->refuseProxy();
    if (newOwner->getProperties().containsKey(name))
        tarn::zero::reportException(tarn0::messages::UniquenessConstraint{describe() + " in " + newOwner->describe()});
    newOwner->getProperties().checkCompatibleModel(this);
    checkCircularContainment(newOwner);

    tarn::zero::Transaction transaction = begin();
    notifyModifying(OWNER);
    if (!isTopLevel())
        makeUncontained();
    basicSetOwner(newOwner);
    _inverseAddThis(newOwner.get(), ContextData::Impl::PROPERTIES, true);
    transaction.commit(boost::none);
}

void Property::Impl::basicSetOwner(ContextData const& newOwner) noexcept
{
    basicSetContainer(newOwner.get(), ContextData::Impl::PROPERTIES);
}

Property Property::Impl::cloneTo(tarn::zero::Model const& model, bool cloneUUID) const
{
    return createWith(model, cloneUUID ? identifier() : boost::uuids::uuid{}, name, value);
}

Property::Builder::Builder() : BuilderBase{Impl::OWNER} {}

Property::Builder::Builder(tarn::zero::Model const& model) : BuilderBase{Impl::OWNER, model} {}

void Property::Builder::doSetName(std::string const& name)
{
    m_values.name = name;
    markSet(Impl::NAME);
}

void Property::Builder::doSetValue(PropertyValue const& value)
{
    m_values.value = value;
    markSet(Impl::VALUE);
}

long Property::Builder::doSetOrAdd(tarn::zero::meta::Property const& property, tarn::zero::Value const& value)
{
    if (!property.get())
        return -1;
    if (property == Impl::propertyAt(Impl::NAME)) {
        doSetName(value.getValue<std::string>());
        return static_cast<long>(Impl::NAME);
    }
    if (property == Impl::propertyAt(Impl::VALUE)) {
        doSetValue(value.getValue<PropertyValue>());
        return static_cast<long>(Impl::VALUE);
    }
    return -1;
}

long Property::Builder::doSetOrAdd(tarn::zero::meta::Property const&,
                                   std::unique_ptr<tarn::zero::ModelElement::Builder>&)
{
    return -1;   // a property contains nothing
}

void Property::Builder::fill(Impl& property)
{
    if (!m_values.name.empty())
        property.setName(m_values.name);
    property.setValue(m_values.value);
}

void Property::Builder::cascadeCreation(Impl&, bool) {}

}   // namespace studio::data
