#pragma once

#include "tarn/zero/Model.h"
#include "tarn/zero/ModelElement.h"
#include "tarn/zero/ProxyId.h"
#include "tarn/zero/Transaction.h"
#include "tarn/zero/Value.h"

#include <boost/optional/optional.hpp>

#include <memory>
#include <string>

namespace tarn::zero {

class ReferenceCollection;

/// What every element consists of: identity, place in a model, container, and the record that the open transaction
/// keeps of it. Element classes derive through `ElementImplOf`, which fills the virtual operations below from the
/// class's feature list. Properties are numbered from 1; index 0 stands for the container.
class STUDIO_DATA_EXPORT ModelElement::Impl : public ElementImpl {
public:
    class Changes;
    class Storage;

    /// How a reflective access treats proxies.
    enum class ReflectionPrivateTag {
        PUBLIC_ACCESS,     ///< proxies are resolved where that is possible
        IN_MEMORY_ONLY,    ///< only what is here already
        NO_PROXY_RESOLVE   ///< proxies are answered as they stand
    };
    /// Proxies are resolved where that is possible.
    static constexpr auto PUBLIC_ACCESS = ReflectionPrivateTag::PUBLIC_ACCESS;
    /// Only what is here already.
    static constexpr auto IN_MEMORY_ONLY = ReflectionPrivateTag::IN_MEMORY_ONLY;
    /// Proxies are answered as they stand.
    static constexpr auto NO_PROXY_RESOLVE = ReflectionPrivateTag::NO_PROXY_RESOLVE;

    /// The index of no property.
    static constexpr unsigned long NO_INDEX = ~0ul;

    /// An element of `model`. A nil UUID asks for a fresh random one. Not yet known to the model: see `notifyCreated`.
    Impl(Model const& model, boost::uuids::uuid const& uuid);
    Impl(Builder& builder, boost::uuids::uuid const& uuid);

    // Identity and place

    /// The UUID, for life.
    boost::uuids::uuid const& identifier() const noexcept { return m_uuid; }
    /// The element's model; null once the element's death is final.
    Model getModel() const noexcept;
    /// The same, borrowed.
    Model::Impl* getModelImpl() const noexcept { return m_model; }
    /// False from the moment of the element's destruction, unless that is rolled back.
    bool isAlive() const noexcept { return m_alive; }
    /// True once the model finds and reports the element; see `notifyCreated` and `enterSilently`.
    bool isAnnounced() const noexcept { return m_announced; }

    /// True for a placeholder of an element that lives in another model; every setter refuses it.
    bool isProxy() const noexcept { return m_proxy; }
    /// The identity by which a placeholder names this element.
    ProxyId getProxyId() const noexcept { return ProxyId{m_uuid}; }
    /// The identity by which other models name this element; `persistent` or not, it is the UUID.
    ProxyId getPersistentProxyId(bool persistent) const noexcept;
    /// Makes this element a placeholder for `id`, whose UUID it has, held in `feature` of `owner` (which may be null:
    /// uncontained). The model no longer finds it, so that what it stands for can be found when it comes. Throws, and
    /// changes nothing: `std::logic_error` if the UUIDs differ, or the element is contained elsewhere or dead;
    /// `InvalidValue` if `feature` is no collection of `owner`; `UniquenessConstraint` if that holds another
    /// placeholder for `id`; what else adding to it throws.
    void convertToProxy(meta::Property const& feature, ProxyId const& id, ModelElement const& owner);

    /// True when nothing contains the element.
    bool isTopLevel() const noexcept { return m_container == nullptr; }
    /// The container; of a dead element the last one.
    ModelElement container() const noexcept { return ModelElement{m_container}; }
    /// The same, borrowed.
    Impl* containerImpl() const noexcept { return m_container; }
    /// The index of the collection of the container that holds this element.
    unsigned long containerFeatureIndex() const noexcept { return m_containerFeature; }
    /// The collection of the container that holds this element; null when top-level.
    meta::Property containmentFeature() const;

    /// What the element is, for messages: `Property "title" (0f8fad5b-…)`, `destroyed` or `proxy` in front of that
    /// where it is so. *Cost*: for failures, not for every day.
    std::string describe() const;
    /// The same; `null` for a null handle.
    static std::string describe(ModelElement const& element);

    // Changing, called by element classes inside a transaction

    /// Announces a change of property `index`: the open transaction keeps the value of before its first change.
    /// Throws `std::logic_error` without an open transaction or on a dead element and `ModelFrozen` in a frozen model,
    /// whatever changes and through which operation; nothing is recorded then.
    void notifyModifying(unsigned long index);
    /// Enters the element into its model, as created by the open transaction. One that was entered silently is
    /// announced with all that it contains, and `didCreate` is called for each of them; a roll back destroys it for
    /// good. *Throws* `std::logic_error`, and records nothing: without an open transaction, for a dead element, for one
    /// that is announced already, and for one that an outer level of the transaction touched.
    void notifyCreated();
    /// Enters the element into its model and announces nothing: the model holds it, and neither finds nor lists nor
    /// reports it. *Throws* `std::logic_error` without an open transaction and for an element that is dead or entered.
    void enterSilently();
    /// Records that the open transaction destroys the element. For `doDestroy`, and for the caller of
    /// `destroyRecursively` without `notify`. *Throws* `std::logic_error` without an open transaction, and for an
    /// element whose destruction has not begun.
    void notifyDestroying();

    /// Takes the element out of its container, which is told; the place is remembered as the old container.
    void makeUncontained();
    /// Throws `CircularContainment` if `container` is this element or lives inside it.
    void checkCircularContainment(ModelElement const& container) const;
    /// Sets the container link and announces nothing; the caller keeps both sides in step. Ignored on a dead element.
    /// `index` is the property of this class that names its container. Throws `InvalidValue` unless `feature` is a
    /// collection of the container that takes this element.
    void basicSetContainer(Impl* container, meta::Property const& feature, unsigned long index);
    /// Sets the link by the index of a collection of the container, which the caller vouches for. Ignored on a dead
    /// element.
    void basicSetContainer(Impl* container, unsigned long featureIndex) noexcept;
    /// Keeps the present container as the old one, before it changes.
    void recordContainer();
    /// Keep the container, or property `index`, for a roll back only: no report tells of the change that follows.
    void recordContainerUntold();
    void recordUntold(unsigned long index);
    /// Makes `child` contained by this element, and announces nothing: its link is set, and inside a transaction its
    /// old container is kept for a roll back. *Throws* `std::logic_error` for a dead child, and `InvalidValue` unless
    /// `feature` is a collection of this element that takes the child.
    void _setContainedByThis(Impl* child, meta::Property const& feature);
    void _setContainedByThis(Impl* child, unsigned long featureIndex);

    // Each of these throws `InvalidValue` for a feature that is no collection of the target's class.

    /// Adds this element to `feature` of `target` (removes it, tests it); `notify` announces the change of `target`.
    void _inverseAddThis(Impl* target, meta::Property const& feature, bool notify);
    /// Removes it, announced.
    void _inverseRemoveThis(Impl* target, meta::Property const& feature);
    /// Tests it.
    bool _inverseContainsThis(Impl* target, meta::Property const& feature) const;
    /// Adds it, by the index of the collection.
    void _inverseAddThis(Impl* target, unsigned long featureIndex, bool notify);
    /// Removes it, by the index of the collection.
    void _inverseRemoveThis(Impl* target, unsigned long featureIndex);

    /// Changes a reference collection of this element and announces nothing.
    void _basicAdd(ReferenceCollection* collection, ModelElement const& element);
    /// Takes an element out of a collection and announces nothing.
    void _basicRemove(ReferenceCollection* collection, ModelElement const& element);
    /// Empties a collection and announces nothing.
    void _basicClear(ReferenceCollection* collection);
    /// Adds what another collection of the same class holds and this one does not; announces nothing.
    void _basicCopyValues(ReferenceCollection* collection, ReferenceCollection const& source);

    /// Destroys the element with all it contains, in the open transaction or one of its own. Handles turn false at
    /// once; a roll back revives the very same element. A second call has no effect.
    void destroy();
    /// Destroys the element, whose container goes too unless `detach`, which first takes it out of there. With `notify`
    /// false the caller records the destruction, in the same transaction. Without effect on an element that is dead or
    /// being destroyed. *Throws* `std::logic_error`, and changes nothing, without an open transaction; what a hook
    /// throws: the caller rolls back what was destroyed before.
    void destroyRecursively(bool detach, bool runHooks, bool notify);

    /// Throws `std::logic_error` on a dead element.
    void refuseDead() const
    {
        if (!m_alive)
            refuseAsDead();
    }
    /// Throws what refuses every change: a dead element, a frozen model.
    void refuseChange() const;
    /// True from the beginning of its destruction, its hook included: its contents need not leave it one by one.
    bool isBeingDestroyed() const noexcept { return m_destroying; }
    /// Marks that beginning. *Throws* `std::logic_error`, and marks nothing, on a dead element and without an open
    /// transaction.
    void beginDestroying();
    /// Opens a transaction of the element's model, joining an open one.
    [[nodiscard]] Transaction begin() const;
    /// True while a transaction is open on the element's model.
    bool isInTransaction() const noexcept;
    /// What the open transaction remembers of this element at its innermost level; null if it was not touched.
    Storage* storage() const noexcept { return m_storage; }

    /// One bit that a walk over elements may use and must leave false.
    bool marked() const noexcept { return m_marked; }
    /// Sets that bit.
    void mark(bool on) noexcept { m_marked = on; }

    /// Throws `std::logic_error` on a dead element and `CannotModifyProxy` on a proxy: what every setter begins with.
    void refuseProxy() const;

    /// Enters a freshly made element into its model, in the open transaction or one of its own, and calls `didCreate`.
    /// If that throws, the element is gone with its last handle.
    static void enter(ModelElement const& element);
    /// Takes back what made this element, on the level of the transaction that did. Nothing may refer to it. Ignored
    /// for an element that the innermost level did not make.
    void uncreate() noexcept;

    /// True if the class `type` is `wanted` or derives from it; either may be null, which answers false.
    static bool conforms(Impl const* type, Impl const* wanted) noexcept
    {
        return type == wanted ? type != nullptr : derives(type, wanted);
    }

    // What element classes fill in

    /// The class of the element; null after the class was unregistered.
    virtual meta::Class getMetaClass() const = 0;
    /// The same class, borrowed; null before the class is registered and after that has been undone.
    virtual ModelElement::Impl* classPointer() const noexcept = 0;
    /// A handle to this element.
    virtual ModelElement This() const = 0;
    /// The name by which messages tell the element from others of its class; empty if it has none.
    virtual std::string nameInMessages() const { return {}; }
    /// Turns the element's handles false.
    virtual void invalidate();
    /// Destroys what the element contains, then the element itself. Called once, inside a transaction.
    virtual void doDestroy(bool runHooks, bool notify);
    /// Has others let go of this element; the base knows of none.
    virtual void disassociateIncoming();
    /// Lets go of all others and announces nothing; the base knows of none.
    virtual void basicDisassociateAll();
    /// Puts placeholders where this element refers to others; the base refers to none.
    virtual void convertReferencesToProxies(bool recursive, boost::optional<ProxyId>& id);
    /// The opposite side changed: add `element` to (remove it from) the collection `feature`. Throws `InvalidValue` for
    /// a feature that is no collection of this class, whatever its index.
    virtual void inverseAdd(ModelElement const& element, meta::Property const& feature);
    /// The opposite side let go: removes `element` from the collection `feature`.
    virtual void inverseRemove(ModelElement const& element, meta::Property const& feature);
    /// True if the collection `feature` holds `element`.
    virtual bool inverseContains(ModelElement const& element, meta::Property const& feature) const;
    /// Sets a reference to `element` and announces nothing; the base has none.
    virtual void basicAssociate(ModelElement const& element, meta::Property const& feature);
    /// True if the collection `feature` holds a placeholder for `element`.
    virtual bool inverseContainsProxyTo(ModelElement const& element, meta::Property const& feature) const;
    /// The value of `property`; an empty value for one that the class does not have.
    virtual Value getPropertyValue(meta::Property const& property, ReflectionPrivateTag tag) const;
    /// True unless the value of `property` is empty, or the class has no such property.
    virtual bool hasPropertyValue(meta::Property const& property, ReflectionPrivateTag tag) const;
    /// Throws `InvalidValue` for a property that cannot be set this way.
    virtual void setPropertyValue(meta::Property const& property, Value const& value, ReflectionPrivateTag tag);
    /// The property of that index; null if the class has none.
    virtual meta::Property getPropertyByIndex(unsigned long index) const;
    /// The collection of elements that is property `index`; null if that is none.
    virtual ReferenceCollection* referenceCollection(unsigned long index) noexcept;
    /// Remembers the present value of property `index`, before it changes.
    virtual void copyValue(Storage* storage, unsigned long index) const = 0;
    /// Copies back each remembered feature. Keyed maps follow in a pass of their own, as their keys come from elements.
    virtual void copyStateFromStorage(Storage* storage) = 0;
    /// An empty memory for one transaction's changes of such an element.
    virtual std::unique_ptr<Storage> createStorage() const = 0;
    /// The same for who keeps what a report told.
    virtual std::unique_ptr<Changes> createChanges() const = 0;
    /// The property of this class that names the container, set along with every change of the container.
    virtual unsigned long containerIndex() const noexcept { return NO_INDEX; }
    /// Lets go of all other elements, for good: called once the element's death is final.
    virtual void dropReferences() noexcept = 0;
    /// Announces what the element contains, after itself; see `notifyCreated`.
    virtual void announceContents() = 0;
    /// True for elements that describe others.
    virtual bool isReflective() const { return false; }
    /// True for a class whose elements contain nothing and have no hook at their end: inside an open transaction it
    /// needs no savepoint.
    virtual bool endsInOneStep() const noexcept { return false; }
    /// A hook at the beginning of the element's end, in the transaction that destroys it: called once for each element
    /// that goes, a container before what it contains, while all are still there. What it throws refuses the
    /// destruction, of the container too. Not called when the model ends or a creation is rolled back.
    virtual void aboutToDestroy() {}
    /// A hook when the element has entered its model, in the transaction that made it: called once, by a builder after
    /// the whole tree is there. What it throws takes all of that back. Not called by a roll back that revives the
    /// element.
    virtual void didCreate() {}

protected:
    ~Impl() override;

    /// The transaction of a setter that changes one field: none inside an open one, where it needs no savepoint, since
    /// whatever fails has changed nothing. Its maker keeps the model.
    class STUDIO_DATA_EXPORT OwnTransaction {
    public:
        /// Opens one on the element's model, if none is open. *Throws* `std::logic_error` for a dead element, which may
        /// have no model, and like `Model::Impl::beginTransaction`.
        explicit OwnTransaction(Impl const& element);
        OwnTransaction(OwnTransaction const&) = delete;
        OwnTransaction& operator=(OwnTransaction const&) = delete;
        ~OwnTransaction()
        {
            if (m_model)
                rollBack();
        }
        /// Afterwards the element may be gone.
        void commit();

    private:
        void rollBack() noexcept;

        Model::Impl* m_model;   // null when there is nothing to end
        std::uint64_t m_serial = 0;
    };

    /// The common setter: refuses proxies and dead elements, skips an equal value, joins or makes a transaction.
    template <class Field>
    void assign(unsigned long index, Field& field, Field const& newValue)
    {
        refuseProxy();
        if (field == newValue)
            return;
        OwnTransaction transaction{*this};
        notifyModifying(index);
        field = newValue;
        transaction.commit();
    }

private:
    friend class Model::Impl;
    friend class detail::ElementTable;
    friend class detail::Journal;
    friend class Invariants;

    STUDIO_DATA_LOCAL void addTo(ReferenceCollection& collection, bool notify);
    [[noreturn]] void refuseAsDead() const;
    void revive() noexcept;
    static bool derives(Impl const* type, Impl const* base) noexcept;

    boost::uuids::uuid m_uuid;
    std::uint8_t m_containerFeature = 0;
    bool m_alive : 1 = true;
    bool m_proxy : 1 = false;
    bool m_indexed : 1 = false;          // the model finds the element by its UUID
    bool m_holdsContainer : 1 = false;   // dead elements keep their last container readable
    bool m_destroying : 1 = false;       // its contents need not leave it one by one
    bool m_marked : 1 = false;           // scratch of one walk
    bool m_entered : 1 = false;          // the model holds it
    bool m_announced : 1 = false;        // the model finds and reports it
    Model::Impl* m_model;                // null once death is final
    Impl* m_container = nullptr;         // counted only while m_holdsContainer
    Storage* m_storage = nullptr;        // of the innermost level that touched the element
};

/// The class test without a handle in between: `T` is a handle class whose `Impl` tells its class.
template <class T>
bool isInstance(ModelElement::Impl const& element) noexcept
{
    return ModelElement::Impl::conforms(element.classPointer(), T::Impl::classImpl());
}

/// The same of a handle; a null one is an instance of nothing.
template <class T>
bool isInstance(ModelElement const& element) noexcept
{
    return element.get() && isInstance<T>(*element.get());
}

/// The element as a `T`, borrowed; null if it is none. Dead elements keep their class.
template <class T>
typename T::Impl* elementCast(ModelElement const& element) noexcept
{
    return isInstance<T>(element) ? static_cast<typename T::Impl*>(element.get()) : nullptr;
}

}   // namespace tarn::zero
