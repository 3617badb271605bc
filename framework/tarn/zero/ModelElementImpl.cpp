#include "tarn/zero/ModelElementImpl.h"

#include "fl/i18n/Unicode.h"
#include "tarn/zero/Builder.h"
#include "tarn/zero/ElementStorage.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/ReportException.h"
#include "tarn/zero/Transaction.h"
#include "tarn/zero/collections/ReferenceCollection.h"
#include "tarn/zero/detail/Journal.h"
#include "tarn/zero/detail/UuidSource.h"
#include "tarn/zero/meta/Type.h"
#include "tarn0/messages/Messages.h"

#include <boost/uuid/uuid_io.hpp>

#include <stdexcept>
#include <utility>

namespace tarn::zero {

namespace {

ReferenceCollection& collectionOf(ModelElement::Impl& owner, unsigned long featureIndex)
{
    ReferenceCollection* const collection = owner.referenceCollection(featureIndex);
    if (!collection)
        reportException(
            tarn0::messages::InvalidValue{owner.describe() + " has no collection " + std::to_string(featureIndex)});
    return *collection;
}

/// The collection of the class's own feature; null for a property of another class with the same index.
ReferenceCollection* findCollection(ModelElement::Impl& owner, meta::Property const& feature)
{
    unsigned long const index = feature.index();
    bool const isOwn = index != 0 && feature == owner.getPropertyByIndex(index);
    return isOwn ? owner.referenceCollection(index) : nullptr;
}

ReferenceCollection& collectionOf(ModelElement::Impl& owner, meta::Property const& feature)
{
    ReferenceCollection* const collection = findCollection(owner, feature);
    if (!collection)
        reportException(tarn0::messages::InvalidValue{ModelElement::Impl::describe(feature) + " as a collection of " +
                                                      owner.describe()});
    return *collection;
}

/// *Throws* unless `feature` of `container` accepts the element.
void requireContainer(ModelElement::Impl& element, ModelElement::Impl& container, meta::Property const& feature)
{
    if (!collectionOf(container, feature).accepts(ModelElement{&element}))
        reportException(tarn0::messages::InvalidValue{
            element.describe() + " in " + ModelElement::Impl::describe(feature) + " of " + container.describe()});
}

}   // namespace

ModelElement::Impl::Impl(Model const& model, boost::uuids::uuid const& uuid)
    : m_uuid{uuid.is_nil() ? detail::freshUuid() : uuid}, m_model{model.get()}
{
    if (!m_model)
        throw std::logic_error{"an element needs a model"};
}

ModelElement::Impl::Impl(Builder& builder, boost::uuids::uuid const& uuid) : Impl{builder.model(), uuid} {}

ModelElement::Impl::~Impl()
{
    if (m_holdsContainer)
        m_container->removeRef();
}

Model ModelElement::Impl::getModel() const noexcept
{
    return Model{m_model};
}

ProxyId ModelElement::Impl::getPersistentProxyId(bool) const noexcept
{
    return getProxyId();
}

std::string ModelElement::Impl::describe() const
{
    std::string text = !m_alive ? "destroyed " : m_proxy ? "proxy " : "";
    auto const* const type = static_cast<meta::Class::Impl const*>(classPointer());
    text += type ? fl::i18n::ustring_to_utf8_lossy(type->getName()) : "element";
    if (std::string const name = nameInMessages(); !name.empty())
        text += " \"" + name + '"';
    return text + " (" + boost::uuids::to_string(m_uuid) + ')';
}

std::string ModelElement::Impl::describe(ModelElement const& element)
{
    return element.get() ? element->describe() : "null";
}

void ModelElement::Impl::convertToProxy(meta::Property const& feature, ProxyId const& id, ModelElement const& owner)
{
    refuseDead();
    if (!(id == getProxyId()) || (m_container && m_container != owner.get()))
        throw std::logic_error{"a proxy has the UUID of what it stands for and no other container: " + describe()};
    ReferenceCollection* const collection = owner.get() ? &collectionOf(*owner.get(), feature) : nullptr;
    Transaction transaction = begin();
    ModelElement const keep{this};
    if (collection)
        collection->removeElement(keep);   // it was under its key
    if (!m_proxy) {
        m_model->journal().becomingProxy(*this);
        m_proxy = true;
    }
    if (collection)
        collection->addElement(keep);
    transaction.commit(boost::none);
}

meta::Property ModelElement::Impl::containmentFeature() const
{
    return m_container ? m_container->getPropertyByIndex(m_containerFeature) : meta::Property{};
}

void ModelElement::Impl::notifyModifying(unsigned long index)
{
    refuseChange();
    m_model->journal().touch(*this, index);
}

void ModelElement::Impl::notifyCreated()
{
    refuseChange();
    bool const wasSilent = m_entered;
    m_model->journal().created(*this, true);
    if (!wasSilent)
        return;
    announceContents();
    didCreate();
}

void ModelElement::Impl::enterSilently()
{
    refuseChange();
    m_model->journal().created(*this, false);
}

void ModelElement::Impl::notifyDestroying()
{
    if (!m_model || (m_alive && !m_destroying))
        throw std::logic_error{"the element is not being destroyed: " + describe()};
    m_model->refuseFrozen();
    m_model->journal().destroyed(*this);
}

void ModelElement::Impl::beginDestroying()
{
    refuseDead();
    if (!isInTransaction())
        throw std::logic_error{"a destruction needs an open transaction: " + describe()};
    m_destroying = true;
}

Transaction ModelElement::Impl::begin() const
{
    refuseDead();
    return m_model->beginTransaction(false);
}

ModelElement::Impl::OwnTransaction::OwnTransaction(Impl const& element) : m_model{nullptr}
{
    element.refuseDead();
    Model::Impl& model = *element.m_model;
    if (model.isInTransaction()) {
        model.refuseFrozen();
    } else {
        m_serial = model.open();
        m_model = &model;
    }
}

void ModelElement::Impl::OwnTransaction::commit()
{
    if (!m_model)
        return;
    std::shared_ptr<ReportData> report = m_model->seal(m_serial);
    Model::Impl& model = *std::exchange(m_model, nullptr);
    if (report)
        model.publish(std::move(report));
}

void ModelElement::Impl::OwnTransaction::rollBack() noexcept
{
    m_model->rollBack(m_serial);
}

bool ModelElement::Impl::isInTransaction() const noexcept
{
    return m_model && m_model->isInTransaction();
}

void ModelElement::Impl::enter(ModelElement const& given)
{
    if (!given)
        throw std::logic_error{"a null or destroyed element cannot enter a model"};
    ModelElement const element{given};   // the hook may change the collection that holds the argument
    Transaction transaction = element->begin();
    element->notifyCreated();
    element->didCreate();
    transaction.commit(boost::none);
}

void ModelElement::Impl::uncreate() noexcept
{
    if (m_model)
        m_model->journal().uncreate(*this);
}

void ModelElement::Impl::recordContainer()
{
    unsigned long const index = containerIndex();
    notifyModifying(index == NO_INDEX ? Changes::OFFSET_CONTAINMENT : index);
}

void ModelElement::Impl::recordContainerUntold()
{
    unsigned long const index = containerIndex();
    recordUntold(index == NO_INDEX ? Changes::OFFSET_CONTAINMENT : index);
}

void ModelElement::Impl::recordUntold(unsigned long index)
{
    refuseChange();
    m_model->journal().touchUntold(*this, index);
}

void ModelElement::Impl::makeUncontained()
{
    if (!m_container)
        return;
    recordContainer();
    collectionOf(*m_container, m_containerFeature).inverseRemove(ModelElement{this});
    m_container = nullptr;
}

void ModelElement::Impl::checkCircularContainment(ModelElement const& container) const
{
    for (Impl const* outer = container.get(); outer; outer = outer->m_container)
        if (outer == this)
            reportException(tarn0::messages::CircularContainment{describe() + " in " + describe(container)});
}

void ModelElement::Impl::basicSetContainer(Impl* container, meta::Property const& feature, unsigned long)
{
    if (container)
        requireContainer(*this, *container, feature);
    basicSetContainer(container, feature.index());
}

void ModelElement::Impl::basicSetContainer(Impl* container, unsigned long featureIndex) noexcept
{
    if (!m_alive)
        return;   // it owns a reference on its last container
    m_container = container;
    m_containerFeature = static_cast<std::uint8_t>(featureIndex);
}

void ModelElement::Impl::_setContainedByThis(Impl* child, meta::Property const& feature)
{
    requireContainer(*child, *this, feature);
    _setContainedByThis(child, feature.index());
}

void ModelElement::Impl::_setContainedByThis(Impl* child, unsigned long featureIndex)
{
    child->refuseDead();
    if (child->isInTransaction())
        child->recordContainer();
    child->basicSetContainer(this, featureIndex);
}

void ModelElement::Impl::_inverseAddThis(Impl* target, meta::Property const& feature, bool notify)
{
    addTo(collectionOf(*target, feature), notify);
}

void ModelElement::Impl::_inverseAddThis(Impl* target, unsigned long featureIndex, bool notify)
{
    addTo(collectionOf(*target, featureIndex), notify);
}

void ModelElement::Impl::addTo(ReferenceCollection& collection, bool notify)
{
    if (notify)
        collection.inverseAdd(ModelElement{this});
    else
        collection.basicAdd(ModelElement{this});
}

void ModelElement::Impl::_inverseRemoveThis(Impl* target, meta::Property const& feature)
{
    collectionOf(*target, feature).inverseRemove(ModelElement{this});
}

void ModelElement::Impl::_inverseRemoveThis(Impl* target, unsigned long featureIndex)
{
    collectionOf(*target, featureIndex).inverseRemove(ModelElement{this});
}

bool ModelElement::Impl::_inverseContainsThis(Impl* target, meta::Property const& feature) const
{
    return target->inverseContains(ModelElement{const_cast<Impl*>(this)}, feature);
}

void ModelElement::Impl::_basicAdd(ReferenceCollection* collection, ModelElement const& element)
{
    collection->basicAdd(element);
}

void ModelElement::Impl::_basicRemove(ReferenceCollection* collection, ModelElement const& element)
{
    collection->basicRemove(element);
}

void ModelElement::Impl::_basicClear(ReferenceCollection* collection)
{
    collection->basicClear();
}

void ModelElement::Impl::_basicCopyValues(ReferenceCollection* collection, ReferenceCollection const& source)
{
    collection->basicCopyValues(source);
}

void ModelElement::Impl::destroy()
{
    if (!m_alive)
        return;
    ModelElement const keep{this};
    if (endsInOneStep() && isInTransaction()) {
        OwnTransaction const joined{*this};   // *Throws* on a frozen model
        m_model->journal().prepare(*this);    // allocate first: nothing after the first change may throw
        return destroyRecursively(true, true, true);
    }
    Transaction transaction = m_model->beginDestruction();
    destroyRecursively(true, true, true);
    transaction.commit(boost::none);
}

void ModelElement::Impl::destroyRecursively(bool detach, bool runHooks, bool notify)
{
    if (!m_alive || m_destroying)
        return;
    ModelElement const keep{this};
    beginDestroying();   // so that a hook that destroys the element returns here
    try {
        if (runHooks)
            aboutToDestroy();
        if (m_container && (detach || !m_container->m_destroying))   // the hook may have moved it
            collectionOf(*m_container, m_containerFeature).inverseRemove(keep);
        doDestroy(runHooks, notify);
    } catch (...) {
        m_destroying = false;   // the transaction rolls back the rest
        throw;
    }
}

void ModelElement::Impl::doDestroy(bool, bool notify)
{
    if (notify)
        notifyDestroying();
    invalidate();
}

void ModelElement::Impl::refuseAsDead() const
{
    throw std::logic_error{"the element was destroyed: " + describe()};
}

void ModelElement::Impl::refuseChange() const
{
    refuseDead();
    m_model->refuseFrozen();
}

void ModelElement::Impl::refuseProxy() const
{
    refuseDead();
    if (m_proxy)
        reportException(tarn0::messages::CannotModifyProxy{describe()});
}

bool ModelElement::Impl::derives(Impl const* type, Impl const* base) noexcept
{
    if (!type || !base)
        return false;
    for (auto const* super = static_cast<meta::Class::Impl const*>(type); super; super = super->superclassImpl())
        if (super == base)
            return true;
    return false;
}

void ModelElement::Impl::invalidate()
{
    m_alive = false;
    if (m_container && !m_holdsContainer) {
        m_container->addRef();
        m_holdsContainer = true;
    }
}

void ModelElement::Impl::revive() noexcept
{
    m_alive = true;
    m_destroying = false;
    if (m_holdsContainer)
        m_container->removeRef();
    m_holdsContainer = false;
}

// By default elements are referenced by their containers only.
void ModelElement::Impl::disassociateIncoming() {}
void ModelElement::Impl::basicDisassociateAll() {}
void ModelElement::Impl::convertReferencesToProxies(bool, boost::optional<ProxyId>&) {}
void ModelElement::Impl::basicAssociate(ModelElement const&, meta::Property const&) {}

void ModelElement::Impl::inverseAdd(ModelElement const& element, meta::Property const& feature)
{
    collectionOf(*this, feature).inverseAdd(element);
}

void ModelElement::Impl::inverseRemove(ModelElement const& element, meta::Property const& feature)
{
    collectionOf(*this, feature).inverseRemove(element);
}

bool ModelElement::Impl::inverseContains(ModelElement const& element, meta::Property const& feature) const
{
    ReferenceCollection const* const collection = findCollection(const_cast<Impl&>(*this), feature);
    return collection && collection->containsElement(element);
}

bool ModelElement::Impl::inverseContainsProxyTo(ModelElement const& element, meta::Property const& feature) const
{
    ReferenceCollection const* const collection = findCollection(const_cast<Impl&>(*this), feature);
    return collection && element.get() && collection->containsProxy(element->getProxyId());
}

Value ModelElement::Impl::getPropertyValue(meta::Property const&, ReflectionPrivateTag) const
{
    return Value{};
}

bool ModelElement::Impl::hasPropertyValue(meta::Property const&, ReflectionPrivateTag) const
{
    return false;
}

void ModelElement::Impl::setPropertyValue(meta::Property const& property, Value const&, ReflectionPrivateTag)
{
    reportException(tarn0::messages::InvalidValue{describe(property) + " of " + describe()});
}

meta::Property ModelElement::Impl::getPropertyByIndex(unsigned long) const
{
    return meta::Property{};
}

ReferenceCollection* ModelElement::Impl::referenceCollection(unsigned long) noexcept
{
    return nullptr;
}

}   // namespace tarn::zero
