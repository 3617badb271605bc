#pragma once

#include "tarn/zero/ModelElementImpl.h"
#include "tarn/zero/collections/AbstractOwnedCollection.h"

namespace tarn::zero {

/// Elements that an element references or, if the collection is composite, contains. The public changes check, announce
/// and keep both sides of a containment consistent; the `basic…` ones only make the change.
///
/// An argument may be a handle inside a collection that the operation changes: operations of several steps copy it
/// first, and so do `put` and `takeOut`.
class STUDIO_DATA_EXPORT ReferenceCollection : public AbstractOwnedCollection {
public:
    /// True if the owner contains the elements.
    bool isComposite() const noexcept { return m_composite; }
    virtual bool empty() const noexcept = 0;
    /// True if the element, which is not null, is of the collection's element class.
    virtual bool accepts(ModelElement const& element) const noexcept = 0;
    /// True if the collection contains this element or proxy.
    virtual bool containsElement(ModelElement const& element) const noexcept = 0;
    /// True if it contains a proxy of that identity.
    virtual bool containsProxy(ProxyId const& id) const noexcept;
    /// True if it contains a proxy.
    virtual bool hasProxies() const noexcept;

    /// Adds an element; a composite collection takes it from its present container.
    /// *Throws*, and neither changes nor records anything: `CannotAddNonExistentObject` for null or a dead element,
    /// `CannotAddIncompatibleTypes` for one of another class, `CannotCreateCrossModelAssociation` for one of another
    /// model, `UniquenessConstraint` or `CannotAddSecondObject` if its key or the element is present,
    /// `CircularContainment`.
    void addElement(ModelElement const& element) { addAt(END, element); }
    /// Removes an element, and uncontains it if this collection contained it; false if it is not here.
    bool removeElement(ModelElement const& element);

    /// *Throws* `CannotAddNonExistentObject` for null and `CannotCreateCrossModelAssociation` for an element of another
    /// model (a proxy belongs to the model of its owner).
    void checkCompatibleModel(ModelElement::Impl* element) const;

    /// Replaces the proxy of that identity by the element that it stands for. Returns that element if the collection
    /// contains it afterwards, else null.
    ///
    /// Part of reading: it announces and reports nothing and joins no transaction, but rollback of the open one undoes
    /// it. The proxy stays if the element is not in the owner's model or is contained elsewhere, its key is taken, the
    /// model is frozen, or the owner is dead or a proxy. *Throws* only `std::bad_alloc`, and changes nothing then.
    ModelElement resolveProxy(ProxyId const& id);
    /// The element of that identity in the owner's model, null if there is none. Replaces no proxy.
    ModelElement peekResolveProxy(ProxyId const& id) const;
    /// Replaces every proxy that can be resolved, as `resolveProxy`.
    virtual void resolveProxies();

    /// Adds an element because the opposite side changed: announces, and does not change that side. *Throws* as
    /// `addElement`, and records nothing then.
    void inverseAdd(ModelElement const& element);
    /// Removes an element because the opposite side changed: announces, and does not change that side. No effect if the
    /// element is not here.
    void inverseRemove(ModelElement const& element);

    /// Announces a change of the references, which advances the structure version.
    void modifying(OCDChangeDescriptor const& descriptor) override;

    // For element classes, inside an announced change or on an element not yet entered. These announce nothing and do
    // not change the opposite side. A dead owner and a frozen model still throw.

    /// Adds an element. *Throws* for null, another class, and if its key or the element is present.
    void basicAdd(ModelElement const& element);
    /// Removes an element; no effect if it is not here.
    void basicRemove(ModelElement const& element);
    /// Removes all elements and proxies.
    void basicClear();
    /// Adds the elements of `source` whose keys are free here. *Throws* `std::logic_error` for a collection of another
    /// class.
    void basicCopyValues(ReferenceCollection const& source);
    /// Destroys every element except proxies, which stay in the collection.
    virtual void destroyElements(bool runHooks, bool notify) = 0;

protected:
    /// A detached collection.
    explicit ReferenceCollection(bool composite) noexcept : m_composite{composite} {}
    ReferenceCollection(ModelElement::Impl& owner, unsigned long featureIndex, bool composite) noexcept
        : AbstractOwnedCollection{owner, featureIndex}, m_composite{composite}
    {}

    /// The position behind the last element.
    static constexpr std::size_t END = static_cast<std::size_t>(-1);

    /// The meta class of the elements.
    virtual ModelElement elementClass() const = 0;
    /// True unless its key, its proxy identity or the element itself is present. *Requires* an accepted element.
    virtual bool hasRoom(ModelElement const& element) const noexcept = 0;
    /// *Throws* `UniquenessConstraint` or `CannotAddSecondObject` for an element that `hasRoom` rejects.
    [[noreturn]] virtual void refuseRoom(ModelElement const& element) const = 0;
    /// Inserts an element that `accepts` and `hasRoom` allow; only sequences use `index`. *Throws* `std::bad_alloc` and
    /// changes nothing.
    virtual void put(std::size_t index, ModelElement const& element) = 0;
    /// Removes an element. *Requires* that it is here. *Throws* `std::bad_alloc` and changes nothing.
    virtual void takeOut(ModelElement const& element) = 0;
    /// Removes all elements and proxies.
    virtual void takeOutAll() = 0;
    /// True if `other` is of the same collection class.
    virtual bool isAlike(ReferenceCollection const& other) const noexcept = 0;
    /// Adds the elements of `source`, a collection of the same class, that `hasRoom` allows.
    virtual void putAll(ReferenceCollection const& source) = 0;
    /// Announces a change of one element.
    virtual void announce(OCDChangeDescriptor::Kind kind, std::size_t index, ModelElement const& element);
    /// Replaces a proxy by its element. *Throws* `std::bad_alloc` and changes nothing.
    virtual void replaceProxy(ModelElement const& proxy, ModelElement const& element);
    /// The proxy of that identity; null if there is none.
    virtual ModelElement proxy(ProxyId const& id) const;

    /// Adds an element before `index`, which is in range, or at `END`. *Throws* as `addElement`.
    void addAt(std::size_t index, ModelElement const& element);

private:
    STUDIO_DATA_LOCAL void checkType(ModelElement const& element) const;
    STUDIO_DATA_LOCAL void checkPlaceFor(ModelElement const& element) const;
    STUDIO_DATA_LOCAL bool isContainerOf(ModelElement::Impl const& element) const noexcept;
    STUDIO_DATA_LOCAL bool canReplace(ModelElement const& proxy, ModelElement const& element) const noexcept;
    STUDIO_DATA_LOCAL void refuseEnding() const;

    bool m_composite;
};

}   // namespace tarn::zero
