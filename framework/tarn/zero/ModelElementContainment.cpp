// How elements contain each other: container links, and the collections at both ends.
#include "tarn/zero/ModelElementImpl.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/ReportException.h"
#include "tarn/zero/collections/ReferenceCollection.h"
#include "tarn/zero/detail/Journal.h"
#include "tarn/zero/meta/Type.h"
#include "tarn0/messages/Messages.h"

#include <stdexcept>

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

void ModelElement::Impl::makeUncontained()
{
    if (!m_container)
        return;
    recordContainer();
    _inverseRemoveThis(m_container, m_containerFeature);
    m_container = nullptr;
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

}   // namespace tarn::zero
