#include "tarn/zero/collections/AbstractOwnedCollection.h"

#include "tarn/zero/ElementStorage.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/ReportException.h"
#include "tarn/zero/meta/Type.h"
#include "tarn0/messages/Messages.h"

#include <stdexcept>
#include <utility>

namespace tarn::zero {

AbstractOwnedCollection::AbstractOwnedCollection(ModelElement::Impl& owner, unsigned long featureIndex) noexcept
    : m_owner{&owner}, m_featureIndex{featureIndex}
{}

AbstractOwnedCollection::~AbstractOwnedCollection() = default;

meta::Property AbstractOwnedCollection::getCollectionProperty() const
{
    return m_owner ? m_owner->getPropertyByIndex(m_featureIndex) : meta::Property{};
}

void AbstractOwnedCollection::modifying(OCDChangeDescriptor const&)
{
    refuseUnmodifiable();
    if (m_owner)
        m_owner->notifyModifying(m_featureIndex);
}

OCDChangeDescriptor AbstractOwnedCollection::getGiveUpDescriptor() const noexcept
{
    return OCDChangeDescriptor{OCDChangeDescriptor::Kind::GiveUp};
}

void AbstractOwnedCollection::addRef() const noexcept
{
    if (m_owner)
        m_owner->addRef();
    else
        m_detachedCount.fetch_add(1, std::memory_order_relaxed);
}

void AbstractOwnedCollection::removeRef() const noexcept
{
    if (m_owner)
        m_owner->removeRef();
    else if (m_detachedCount.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete this;
}

void AbstractOwnedCollection::refuseUnmodifiable() const
{
    if (m_owner)
        m_owner->refuseProxy();
}

void AbstractOwnedCollection::refuseUnchangeable() const
{
    if (m_owner)
        m_owner->refuseChange();
}

std::string AbstractOwnedCollection::refused(std::string const& what) const
{
    if (!m_owner)
        return what + " in a collection of its own";
    meta::Property const property = getCollectionProperty();
    return what + " in " + (property ? property->nameInMessages() : "a collection") + " of " + m_owner->describe();
}

void AbstractOwnedCollection::refuseIndex(std::size_t index, std::size_t size) const
{
    throw std::out_of_range{"index past the end of a sequence: " +
                            refused(std::to_string(index) + " of " + std::to_string(size))};
}

void AbstractOwnedCollection::refuseValue(Value const& value) const
{
    auto const name = [](meta::Type const& type) { return type.get() ? type->getQualifiedName() : u"nothing"; };
    meta::Property const property = getCollectionProperty();
    reportException(tarn0::messages::CannotAddIncompatibleTypes{
        name(value.meta().type()), name(property ? property->getType() : meta::Type{}), refused("a value")});
}

AbstractOwnedCollection::Operation::Operation(AbstractOwnedCollection& collection, bool isOneStep)
{
    collection.refuseUnmodifiable();
    if (collection.m_owner && !collection.m_owner->needsNoSavepoint(isOneStep))
        m_transaction.emplace(collection.m_owner->begin());
}

void AbstractOwnedCollection::Operation::commit()
{
    if (m_transaction)
        m_transaction->commit(boost::none);
}

}   // namespace tarn::zero
