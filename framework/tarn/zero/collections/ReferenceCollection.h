#pragma once

#include "tarn/zero/ModelElementImpl.h"
#include "tarn/zero/collections/AbstractOwnedCollection.h"

namespace tarn::zero {

/// Elements that an element refers to or, when the collection is composite, contains. The public changes check, keep
/// both sides of a containment in step and announce; the `basic…` ones do the bare work.
class STUDIO_DATA_EXPORT ReferenceCollection : public AbstractOwnedCollection {
public:
    /// True if the elements are contained by the owner.
    bool isComposite() const noexcept { return m_composite; }
    virtual bool empty() const noexcept = 0;
    /// True if the collection holds this very element, or this placeholder.
    virtual bool containsElement(ModelElement const& element) const noexcept = 0;
    /// True if it holds a placeholder of that identity.
    virtual bool containsProxy(ProxyId const& id) const noexcept;
    /// True if it holds any placeholder.
    virtual bool hasProxies() const noexcept;

    /// Adds an element; into a composite collection it moves from where it was contained.
    /// *Throws*, and changes nothing: `CannotAddNonExistentObject` for null or a dead one, `CannotAddIncompatibleTypes`
    /// for one of another class, `CannotCreateCrossModelAssociation` for one of another model that is no proxy,
    /// `UniquenessConstraint` or `CannotAddSecondObject` when its place is taken, `CircularContainment`.
    void addElement(ModelElement const& element);
    /// Takes an element out, uncontained if it was contained; false if it is not here.
    bool removeElement(ModelElement const& element);

    /// Throws `CannotCreateCrossModelAssociation` if `element` belongs to another model and is no proxy.
    void checkCompatibleModel(ModelElement::Impl* element) const;

    /// Replaces the placeholder by the element that it stands for, if that lives in the owner's model by now; answers
    /// that element or null. `peek…` only looks.
    ModelElement resolveProxy(ProxyId const& id);
    /// The same, and replaces nothing.
    ModelElement peekResolveProxy(ProxyId const& id) const;
    /// Replaces every placeholder that can be.
    virtual void resolveProxies();

    /// The other side of a link changed: announce and follow.
    void inverseAdd(ModelElement const& element);
    /// The same for a link that went.
    void inverseRemove(ModelElement const& element);

    /// Announces a change of what the collection refers to.
    void modifying(OCDChangeDescriptor const& descriptor);

    /// Adds, announces nothing, and leaves the other side as it is. *Throws* when the place is taken.
    virtual void basicAdd(ModelElement const& element) = 0;
    /// The same for taking out; ignores an element that is not here.
    virtual void basicRemove(ModelElement const& element) = 0;
    /// The same for everything.
    virtual void basicClear() = 0;
    /// Adds what `source`, a collection of the same class, holds and this one does not.
    virtual void basicCopyValues(ReferenceCollection const& source) = 0;
    /// Destroys every element but proxies. They stay in the collection.
    virtual void destroyElements(bool runHooks, bool notify) = 0;

protected:
    /// A collection that belongs to no element.
    explicit ReferenceCollection(bool composite) noexcept : m_composite{composite} {}
    ReferenceCollection(ModelElement::Impl& owner, unsigned long featureIndex, bool composite) noexcept
        : AbstractOwnedCollection{owner, featureIndex}, m_composite{composite}
    {}

    /// Throws if the collection cannot take an element of that class, or already has what `element` would bring.
    virtual void checkType(ModelElement const& element) const = 0;
    /// Throws `UniquenessConstraint` or `CannotAddSecondObject` when the place is taken.
    virtual void checkRoom(ModelElement const& element) const = 0;
    /// Puts the element where its placeholder is.
    virtual void replaceProxy(ModelElement const& proxy, ModelElement const& element);
    /// The placeholder of that identity; null if there is none.
    virtual ModelElement proxy(ProxyId const& id) const;

    /// Throws `CannotAddIncompatibleTypes`.
    [[noreturn]] void refuseType(ModelElement const& element, meta::Class const& wanted) const;

private:
    void refuseEnding() const;

    bool m_composite;
};

}   // namespace tarn::zero
