#pragma once

#include "tarn/zero/ModelElementImpl.h"
#include "tarn/zero/collections/AbstractOwnedCollection.h"

namespace tarn::zero {

/// Elements that an element refers to or, when the collection is composite, contains. The public changes check, keep
/// both sides of a containment in step and announce; the `basic…` ones do the bare work.
///
/// An argument may be a handle that stands inside a collection, this one or one that the element leaves: operations of
/// several steps copy it first, and `put` and `takeOut`, which make the change, do so on their own.
class STUDIO_DATA_EXPORT ReferenceCollection : public AbstractOwnedCollection {
public:
    /// True if the elements are contained by the owner.
    bool isComposite() const noexcept { return m_composite; }
    virtual bool empty() const noexcept = 0;
    /// True if the element, which is not null, is of the collection's class.
    virtual bool accepts(ModelElement const& element) const noexcept = 0;
    /// True if the collection holds this very element, or this placeholder.
    virtual bool containsElement(ModelElement const& element) const noexcept = 0;
    /// True if it holds a placeholder of that identity.
    virtual bool containsProxy(ProxyId const& id) const noexcept;
    /// True if it holds any placeholder.
    virtual bool hasProxies() const noexcept;

    /// Adds an element; into a composite collection it moves from where it was contained.
    /// *Throws*, and neither changes nor records anything: `CannotAddNonExistentObject` for null or a dead one,
    /// `CannotAddIncompatibleTypes` for one of another class, `CannotCreateCrossModelAssociation` for one of another
    /// model, `UniquenessConstraint` or `CannotAddSecondObject` when its place is taken, `CircularContainment`.
    void addElement(ModelElement const& element) { addAt(END, element); }
    /// Takes an element out, uncontained if it was contained; false if it is not here.
    bool removeElement(ModelElement const& element);

    /// Throws `CannotCreateCrossModelAssociation` if `element` belongs to another model: a proxy, too, lives in the
    /// model of its owner. `CannotAddNonExistentObject` for null.
    void checkCompatibleModel(ModelElement::Impl* element) const;

    /// Replaces the placeholder of that identity by the element that it stands for. Returns that element if the
    /// collection holds it now; else null.
    ///
    /// Part of reading: it announces and reports nothing and joins no transaction, but a roll back of the open one
    /// undoes it. A placeholder that cannot be replaced stays: the element does not live in the owner's model or is
    /// contained elsewhere, its key is taken, the model is frozen, the owner is dead or a proxy. *Throws*
    /// `std::bad_alloc` only, and changes nothing then.
    ModelElement resolveProxy(ProxyId const& id);
    /// The element of that identity in the owner's model; null if there is none. Replaces nothing.
    ModelElement peekResolveProxy(ProxyId const& id) const;
    /// Replaces every placeholder that can be, as `resolveProxy`.
    virtual void resolveProxies();

    /// Adds an element because the other side of a link changed: announces, and leaves that side as it is. *Throws* as
    /// `addElement`, and nothing is recorded then.
    void inverseAdd(ModelElement const& element);
    /// Takes an element out because the other side of a link changed: announces, and leaves that side as it is. Ignores
    /// an element that is not here.
    void inverseRemove(ModelElement const& element);

    /// Announces a change of what the collection refers to.
    void modifying(OCDChangeDescriptor const& descriptor) override;

    // For element classes, inside a change that is announced or of an element that nobody has seen: they announce
    // nothing and leave the other side as it is. A dead owner and a frozen model are refused all the same.

    /// Adds. *Throws* for null, another class, and when the place is taken.
    void basicAdd(ModelElement const& element);
    /// Takes out; ignores an element that is not here.
    void basicRemove(ModelElement const& element);
    /// Takes all elements and placeholders out.
    void basicClear();
    /// Adds what `source` holds and this one has room for. *Throws* `std::logic_error` for a collection of another
    /// class.
    void basicCopyValues(ReferenceCollection const& source);
    /// Destroys every element but proxies. They stay in the collection.
    virtual void destroyElements(bool runHooks, bool notify) = 0;

protected:
    /// A collection that belongs to no element.
    explicit ReferenceCollection(bool composite) noexcept : m_composite{composite} {}
    ReferenceCollection(ModelElement::Impl& owner, unsigned long featureIndex, bool composite) noexcept
        : AbstractOwnedCollection{owner, featureIndex}, m_composite{composite}
    {}

    /// The place behind the last element.
    static constexpr std::size_t END = static_cast<std::size_t>(-1);

    /// The meta class of the elements.
    virtual ModelElement elementClass() const = 0;
    /// True unless the place of the element, which is of the right class, is taken.
    virtual bool hasRoom(ModelElement const& element) const noexcept = 0;
    /// Throws `UniquenessConstraint` or `CannotAddSecondObject`.
    [[noreturn]] virtual void refuseRoom(ModelElement const& element) const = 0;
    /// Puts an element in that is accepted and has room; `index` counts in sequences only. *Throws* `std::bad_alloc`
    /// and changes nothing.
    virtual void put(std::size_t index, ModelElement const& element) = 0;
    /// Takes an element out that is here. *Throws* `std::bad_alloc` and changes nothing.
    virtual void takeOut(ModelElement const& element) = 0;
    /// Takes all elements and placeholders out.
    virtual void takeOutAll() = 0;
    /// True if the other one is of this very class.
    virtual bool isAlike(ReferenceCollection const& other) const noexcept = 0;
    /// Puts in what `source`, which is alike, holds and this one has room for.
    virtual void putAll(ReferenceCollection const& source) = 0;
    /// Announces a change of one element.
    virtual void announce(OCDChangeDescriptor::Kind kind, std::size_t index, ModelElement const& element);
    /// Puts the element where its placeholder is. *Throws* `std::bad_alloc` and changes nothing.
    virtual void replaceProxy(ModelElement const& proxy, ModelElement const& element);
    /// The placeholder of that identity; null if there is none.
    virtual ModelElement proxy(ProxyId const& id) const;

    /// Adds an element before `index`, which is in range, or at the end. *Throws* as `addElement`.
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
