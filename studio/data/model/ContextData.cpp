#include "studio/data/model/ContextData.h"

#include "studio/data/model/ContextDataImpl.h"
#include "studio/data/model/MetaPackageStudio_data.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/ReportException.h"
#include "tarn0/messages/Messages.h"

#include <stdexcept>
#include <utility>

namespace studio::data {

namespace {

bool makesProperty(tarn::zero::ModelElement::Builder const* builder)
{
    if (!builder)
        return false;
    tarn::zero::meta::Class const wanted = Property::metaClass();   // makes the package if this is its first use
    return tarn::zero::ModelElement::Impl::conforms(builder->builtClass().get(), wanted.get());
}

}   // namespace

ContextData::ContextData(Impl* impl) noexcept : ModelElement{impl} {}

ContextData ContextData::create(tarn::zero::Model const& model, boost::uuids::uuid const& uuid)
{
    return Impl::createIn(model, uuid);
}

tarn::zero::meta::Class ContextData::metaClass()
{
    return MetaPackageStudio_data::contextDataClass();
}

ContextData ContextData::from(tarn::zero::ModelElement const& element) noexcept
{
    return ContextData{tarn::zero::elementCast<ContextData>(element)};
}

tarn::zero::CollectionRef<ContextData::PropertyMap> ContextData::properties() const
{
    if (!get())
        throw std::logic_error{"a null context has no properties"};
    return tarn::zero::CollectionRef<PropertyMap>{(*this)->getPropertiesMutable()};
}

ContextData::Impl* ContextData::operator->() const noexcept
{
    return static_cast<Impl*>(get());
}

ContextData::Impl::Impl(tarn::zero::Model const& model, boost::uuids::uuid const& uuid)
    : ElementImplOf{model, uuid}, activeContexts{*this, ACTIVE_CONTEXTS}, properties{*this, PROPERTIES, true}
{}

ContextData::Impl::Impl(tarn::zero::ModelElement::Builder& builder, boost::uuids::uuid const& uuid)
    : Impl{builder.model(), uuid}
{}

tarn::zero::ModelElement::Impl* ContextData::Impl::classImpl() noexcept
{
    return MetaPackageStudio_data::contextDataClassImpl();
}

tarn::zero::meta::Property ContextData::Impl::propertyAt(unsigned long index)
{
    return MetaPackageStudio_data::contextDataProperty(index);
}

ContextData::Impl::Properties const& ContextData::Impl::getProperties() const
{
    if (isProxy())
        tarn::zero::reportException(tarn0::messages::CannotModifyProxy{describe()});
    return properties;
}

Property ContextData::Impl::createIntoProperties(Property::BuilderWrapper builder, boost::uuids::uuid const& uuid)
{
    refuseProxy();
    if (!builder)
        tarn::zero::reportException(tarn0::messages::InvalidValue{"a property without a builder in " + describe()});
    tarn::zero::Transaction transaction = begin();
    builder->setModel(getModel());
    Property const property = builder->createProperty(true, uuid);
    properties.add(property);
    transaction.commit(boost::none);
    return property;
}

void ContextData::Impl::addProperty(std::string const& name, PropertyValue const& value)
{
    refuseProxy();
    OwnTransaction transaction{*this};
    Property const property = Property::Impl::createWith(getModel(), boost::uuids::uuid{}, name, value);
    try {
        properties.add(property);
    } catch (...) {
        property->undoCreation();   // an enclosing transaction may go on
        throw;
    }
    transaction.commit();
}

ContextData ContextData::Impl::cloneTo(tarn::zero::Model const& model, bool cloneUUID) const
{
    if (!model)
        throw std::logic_error{"a copy needs a model: " + describe()};
    tarn::zero::Transaction transaction = model->beginTransaction(false);
    ContextData const clone = ContextData::create(model, cloneUUID ? identifier() : boost::uuids::uuid{});
    Properties& copies = clone->properties;
    copies.reserve(getProperties().size());
    for (Property const& source : getProperties())
        copies.add(source->cloneTo(model, cloneUUID));   // throws for a second property of the same name
    for (Property const& source : properties.proxies()) {
        Property const copy = Property::create(model, source.Uuid());
        copy->convertToProxy(propertyAt(PROPERTIES), source->getProxyId(), clone);
    }
    transaction.commit(boost::none);
    return clone;
}

ContextData::Builder::Builder() : BuilderBase{Impl::PROPERTIES} {}

ContextData::Builder::Builder(tarn::zero::Model const& model) : BuilderBase{Impl::PROPERTIES, model} {}

void ContextData::Builder::doAddActiveContexts(std::string const& name)
{
    m_values.activeContexts.push_back(name);
    markSet(Impl::ACTIVE_CONTEXTS);
}

void ContextData::Builder::doAddActiveContexts(std::initializer_list<std::string> names)
{
    m_values.activeContexts.insert(m_values.activeContexts.end(), names);
    markSet(Impl::ACTIVE_CONTEXTS);
}

void ContextData::Builder::doClearActiveContexts() noexcept
{
    m_values.activeContexts.clear();
    clearSet(Impl::ACTIVE_CONTEXTS);
}

void ContextData::Builder::doAddProperties(std::unique_ptr<tarn::zero::ModelElement::Builder> builder)
{
    if (!makesProperty(builder.get()))
        tarn::zero::reportException(tarn0::messages::InvalidValue{
            "a builder for " + tarn::zero::ModelElement::Impl::describe(Impl::propertyAt(Impl::PROPERTIES))});
    m_values.properties.push_back(std::move(builder));
    markSet(Impl::PROPERTIES);
}

void ContextData::Builder::doClearProperties() noexcept
{
    m_values.properties.clear();
    clearSet(Impl::PROPERTIES);
}

long ContextData::Builder::doSetOrAdd(tarn::zero::meta::Property const& property, tarn::zero::Value const& value)
{
    if (!property.get() || !(property == Impl::propertyAt(Impl::ACTIVE_CONTEXTS)))
        return -1;
    doAddActiveContexts(value.getValue<std::string>());
    return static_cast<long>(Impl::ACTIVE_CONTEXTS);
}

long ContextData::Builder::doSetOrAdd(tarn::zero::meta::Property const& property,
                                      std::unique_ptr<tarn::zero::ModelElement::Builder>& builder)
{
    if (!property.get() || !(property == Impl::propertyAt(Impl::PROPERTIES)) || !makesProperty(builder.get()))
        return -1;
    doAddProperties(std::move(builder));
    return static_cast<long>(Impl::PROPERTIES);
}

void ContextData::Builder::fill(Impl& context)
{
    for (std::string const& name : m_values.activeContexts)
        context.getActiveContextsMutable().push_back(name);
}

void ContextData::Builder::cascadeCreation(Impl& context, bool notify)
{
    for (auto const& builder : m_values.properties) {
        orchestrator()->addBuilder(builder.get());
        tarn::zero::ModelElement const property = builder->doCreate(notify, boost::uuids::uuid{});
        context.getPropertiesMutable().basicAdd(property);
        property->basicSetContainer(&context, Impl::PROPERTIES);
    }
}

}   // namespace studio::data
