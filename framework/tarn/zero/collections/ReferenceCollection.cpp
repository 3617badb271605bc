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

bool ReferenceCollection::removeElement(ModelElement const& given)
{
    ModelElement const element{given};
    refuseUnmodifiable();
    if (!containsElement(element))
        return false;
    Operation operation{*this};
    if (isContainerOf(*element.get()))
        element->makeUncontained();
    else
        inverseRemove(element);
    operation.commit();
    return true;
}

void ReferenceCollection::checkCompatibleModel(ModelElement::Impl* element) const
{
    if (!element)
        reportException(tarn0::messages::CannotAddNonExistentObject{refused("null")});
    if (!isDetached() && element->getModelImpl() != ownerImpl()->getModelImpl())
        reportException(tarn0::messages::CannotCreateCrossModelAssociation{refused(element->describe())});
}

ModelElement ReferenceCollection::resolveProxy(ProxyId const& id)
{
    ModelElement const element = peekResolveProxy(id);
    if (!element || !accepts(element))
        return ModelElement{};
    if (ModelElement const standIn = proxy(id); standIn.get() && canReplace(standIn, element)) {
        Model::Impl& model = *ownerImpl()->getModelImpl();
        if (model.isInTransaction()) {   // rollback restores what the read found
            ownerImpl()->recordSilently(featureIndex());
            for (ModelElement const& moved : {standIn, element})
                if (m_composite)
                    moved->recordContainerSilently();
        }
        replaceProxy(standIn, element);
        if (m_composite) {
            standIn->basicSetContainer(nullptr, 0);
            element->basicSetContainer(ownerImpl(), featureIndex());
        }
        model.bumpStructureVersionNow();
    }
    return containsElement(element) ? element : ModelElement{};
}

ModelElement ReferenceCollection::peekResolveProxy(ProxyId const& id) const
{
    if (isDetached() || !ownerImpl()->isAlive())
        return ModelElement{};
    ModelElement element = ownerImpl()->getModelImpl()->findElement(id.element(), 1);
    return element && !element->isProxy() ? element : ModelElement{};
}

void ReferenceCollection::resolveProxies() {}

void ReferenceCollection::inverseAdd(ModelElement const& given)
{
    ModelElement const element{given};
    checkPlaceFor(element);
    announce(OCDChangeDescriptor::Kind::Add, END, element);
    put(END, element);
}

void ReferenceCollection::inverseRemove(ModelElement const& given)
{
    ModelElement const element{given};
    refuseUnmodifiable();
    if (!containsElement(element))
        return;
    announce(OCDChangeDescriptor::Kind::Remove, END, element);
    takeOut(element);
}

void ReferenceCollection::modifying(OCDChangeDescriptor const& descriptor)
{
    AbstractOwnedCollection::modifying(descriptor);
    if (!isDetached())
        ownerImpl()->getModelImpl()->bumpStructureVersion();
}

void ReferenceCollection::basicAdd(ModelElement const& element)
{
    refuseUnchangeable();
    checkType(element);
    if (!hasRoom(element))
        refuseRoom(element);
    put(END, element);
}

void ReferenceCollection::basicRemove(ModelElement const& element)
{
    refuseUnchangeable();
    if (containsElement(element))
        takeOut(element);
}

void ReferenceCollection::basicClear()
{
    refuseUnchangeable();
    takeOutAll();
}

void ReferenceCollection::basicCopyValues(ReferenceCollection const& source)
{
    refuseUnchangeable();
    if (!isAlike(source))
        throw std::logic_error{"values of a collection of another class: " + refused("")};
    if (&source != this)
        putAll(source);
}

void ReferenceCollection::announce(OCDChangeDescriptor::Kind kind, std::size_t, ModelElement const&)
{
    modifying(OCDChangeDescriptor{kind});
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

void ReferenceCollection::addAt(std::size_t index, ModelElement const& given)
{
    ModelElement const element{given};
    checkPlaceFor(element);
    if (isDetached()) {
        announce(OCDChangeDescriptor::Kind::Add, index, element);
        return put(index, element);
    }
    if (m_composite)
        element->checkCircularContainment(owner());

    bool const isOneStep = !m_composite || element->isTopLevel();
    Operation whole{*this, isOneStep};
    if (!isOneStep)
        element->makeUncontained();
    announce(OCDChangeDescriptor::Kind::Add, index, element);
    if (m_composite)
        element->recordContainer();
    put(index, element);
    if (m_composite)
        element->basicSetContainer(ownerImpl(), featureIndex());
    whole.commit();
}

void ReferenceCollection::checkType(ModelElement const& element) const
{
    if (!element.get())
        reportException(tarn0::messages::CannotAddNonExistentObject{refused("null")});
    if (accepts(element))
        return;
    auto const name = [](ModelElement const& type) {
        return type.get() ? static_cast<meta::Class::Impl&>(*type.get()).getQualifiedName() : u"nothing";
    };
    reportException(tarn0::messages::CannotAddIncompatibleTypes{name(element->getMetaClass()), name(elementClass()),
                                                                refused(element->describe())});
}

/// *Throws* unless the collection accepts the element from its present container.
void ReferenceCollection::checkPlaceFor(ModelElement const& element) const
{
    if (!element)
        reportException(tarn0::messages::CannotAddNonExistentObject{refused(ModelElement::Impl::describe(element))});
    refuseUnmodifiable();
    refuseEnding();
    checkType(element);
    checkCompatibleModel(element.get());
    if (!hasRoom(element))
        refuseRoom(element);
}

bool ReferenceCollection::isContainerOf(ModelElement::Impl const& element) const noexcept
{
    return m_composite && !isDetached() && element.containerImpl() == ownerImpl() &&
           element.containerFeatureIndex() == featureIndex();
}

bool ReferenceCollection::canReplace(ModelElement const& proxy, ModelElement const& element) const noexcept
{
    ModelElement::Impl const& owner = *ownerImpl();
    if (owner.isProxy() || owner.isBeingDestroyed() || element->isBeingDestroyed() ||
        owner.getModelImpl()->isFrozen() || (m_composite && !isContainerOf(*proxy.get())))
        return false;
    if (containsElement(element))
        return true;
    if (!hasRoom(element) || (m_composite && !element->isTopLevel()))
        return false;
    for (ModelElement::Impl const* outer = &owner; outer && m_composite; outer = outer->containerImpl())
        if (outer == element.get())
            return false;
    return true;
}

}   // namespace tarn::zero
