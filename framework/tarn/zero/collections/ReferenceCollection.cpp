#include "tarn/zero/collections/ReferenceCollection.h"

#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/ReportException.h"
#include "tarn/zero/meta/Type.h"
#include "tarn0/messages/Messages.h"

#include <stdexcept>

namespace tarn::zero {

bool ReferenceCollection::containsProxy(ProxyId const&) const noexcept
{
    return false;
}

bool ReferenceCollection::hasProxies() const noexcept
{
    return false;
}

void ReferenceCollection::addElement(ModelElement const& element)
{
    if (!element)
        reportException(tarn0::messages::CannotAddNonExistentObject{refused(ModelElement::Impl::describe(element))});
    refuseUnmodifiable();
    refuseEnding();
    checkType(element);
    checkCompatibleModel(element.get());
    checkRoom(element);
    if (isDetached())
        return basicAdd(element);
    if (m_composite)
        element->checkCircularContainment(owner());

    // One step needs no savepoint inside an open transaction: it fails before it has changed anything.
    bool const isOneStep = !m_composite || element->isTopLevel();
    boost::optional<Operation> whole;
    if (!isOneStep || !ownerImpl()->isInTransaction())
        whole.emplace(*this);
    if (!isOneStep)
        element->makeUncontained();
    modifying(OCDChangeDescriptor{OCDChangeDescriptor::Kind::Add});
    if (m_composite)
        element->recordContainer();
    basicAdd(element);
    if (m_composite)
        element->basicSetContainer(ownerImpl(), featureIndex());
    if (whole)
        whole->commit();
}

bool ReferenceCollection::removeElement(ModelElement const& element)
{
    refuseUnmodifiable();
    if (!containsElement(element))
        return false;
    Operation operation{*this};
    if (m_composite && !isDetached())
        element->makeUncontained();
    else
        inverseRemove(element);
    operation.commit();
    return true;
}

void ReferenceCollection::checkCompatibleModel(ModelElement::Impl* element) const
{
    if (!isDetached() && element->getModelImpl() != ownerImpl()->getModelImpl() && !element->isProxy())
        reportException(tarn0::messages::CannotCreateCrossModelAssociation{refused(element->describe())});
}

ModelElement ReferenceCollection::resolveProxy(ProxyId const& id)
{
    ModelElement const standIn = proxy(id);
    ModelElement const element = peekResolveProxy(id);
    if (standIn.get() && element) {
        Operation operation{*this};
        replaceProxy(standIn, element);
        operation.commit();
    }
    return element;
}

ModelElement ReferenceCollection::peekResolveProxy(ProxyId const& id) const
{
    if (isDetached() || !ownerImpl()->isAlive())
        return ModelElement{};
    ModelElement element = ownerImpl()->getModelImpl()->findElement(id.element(), 1);
    return element && !element->isProxy() ? element : ModelElement{};
}

void ReferenceCollection::resolveProxies() {}

void ReferenceCollection::inverseAdd(ModelElement const& element)
{
    refuseEnding();
    modifying(OCDChangeDescriptor{OCDChangeDescriptor::Kind::Add});
    basicAdd(element);
}

void ReferenceCollection::inverseRemove(ModelElement const& element)
{
    modifying(OCDChangeDescriptor{OCDChangeDescriptor::Kind::Remove});
    basicRemove(element);
}

void ReferenceCollection::modifying(OCDChangeDescriptor const& descriptor)
{
    AbstractOwnedCollection::modifying(descriptor);
    if (!isDetached())
        ownerImpl()->getModelImpl()->noteRestructuring();
}

void ReferenceCollection::refuseEnding() const
{
    if (!isDetached() && ownerImpl()->isBeingDestroyed())
        throw std::logic_error{"an element that is being destroyed takes nothing in: " + ownerImpl()->describe()};
}

void ReferenceCollection::replaceProxy(ModelElement const&, ModelElement const&) {}

ModelElement ReferenceCollection::proxy(ProxyId const&) const
{
    return ModelElement{};
}

void ReferenceCollection::refuseType(ModelElement const& element, meta::Class const& wanted) const
{
    meta::Class const given = element->getMetaClass();
    auto const name = [](meta::Class const& type) { return type.get() ? type->getQualifiedName() : u"nothing"; };
    reportException(
        tarn0::messages::CannotAddIncompatibleTypes{name(given), name(wanted), refused(element->describe())});
}

}   // namespace tarn::zero
