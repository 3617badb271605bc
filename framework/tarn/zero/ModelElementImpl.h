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

/// State common to all elements: identity, model, container, and the storage that the open transaction keeps for it.
/// Element classes derive through `ElementImplOf`, which implements the virtual operations below from the class's
/// feature list. Properties are numbered from 1; index 0 is the container.
class STUDIO_DATA_EXPORT ModelElement::Impl : public ElementImpl {
public:
    class Changes;
    class Storage;

    /// How a reflective access treats proxies.
    enum class ReflectionPrivateTag {
        PUBLIC_ACCESS,     ///< proxies are resolved where possible
        IN_MEMORY_ONLY,    ///< only what is in memory
        NO_PROXY_RESOLVE   ///< proxies are returned as they are
    };
    /// Proxies are resolved where possible.
    static constexpr auto PUBLIC_ACCESS = ReflectionPrivateTag::PUBLIC_ACCESS;
    /// Only what is in memory is read.
    static constexpr auto IN_MEMORY_ONLY = ReflectionPrivateTag::IN_MEMORY_ONLY;
    /// Proxies are returned as they are.
    static constexpr auto NO_PROXY_RESOLVE = ReflectionPrivateTag::NO_PROXY_RESOLVE;

    /// No property.
    static constexpr unsigned long NO_INDEX = ~0ul;

    /// A new element of `model`, not yet entered into it: see `notifyCreated`. A nil UUID requests a random one.
    Impl(Model const& model, boost::uuids::uuid const& uuid);
    Impl(Builder& builder, boost::uuids::uuid const& uuid);

    // Identity and containment

    /// The UUID; never changes.
    boost::uuids::uuid const& identifier() const noexcept { return m_uuid; }
    /// The element's model; null once the element's death is final.
    Model getModel() const noexcept;
    /// The element's model, borrowed; null once the element's death is final.
    Model::Impl* getModelImpl() const noexcept { return m_model; }
    /// False from the element's destruction on, unless that is rolled back.
    bool isAlive() const noexcept { return m_alive; }
    /// True once the model finds and reports the element; see `notifyCreated` and `enterSilently`.
    bool isAnnounced() const noexcept { return m_announced; }

    /// True for a proxy, a placeholder for an element of another model; every setter refuses it.
    bool isProxy() const noexcept { return m_proxy; }
    /// The identity that a proxy for this element has.
    ProxyId getProxyId() const noexcept { return ProxyId{m_uuid}; }
    /// The identity by which other models refer to this element: its UUID, whatever `persistent` is.
    ProxyId getPersistentProxyId(bool persistent) const noexcept;
    /// Turns this element into a proxy for `id`, whose UUID it has, held in `feature` of `owner` (null: uncontained).
    /// The model no longer finds it, so that the element it stands for can be found once it arrives. *Throws*, and
    /// changes nothing:
    /// - `std::logic_error` if the UUIDs differ, or the element is dead or contained elsewhere;
    /// - `InvalidValue` if `feature` is no collection of `owner`;
    /// - `UniquenessConstraint` if that collection holds another proxy for `id`;
    /// - whatever adding to it throws.
    void convertToProxy(meta::Property const& feature, ProxyId const& id, ModelElement const& owner);

    /// True if the element has no container.
    bool isTopLevel() const noexcept { return m_container == nullptr; }
    /// The container; of a dead element the last one.
    ModelElement container() const noexcept { return ModelElement{m_container}; }
    /// The container, borrowed; of a dead element the last one.
    Impl* containerImpl() const noexcept { return m_container; }
    /// The index of the collection of the container that holds this element.
    unsigned long containerFeatureIndex() const noexcept { return m_containerFeature; }
    /// The collection of the container that holds this element; null when top-level.
    meta::Property containmentFeature() const;

    /// Description of the element for messages: `Property "title" (0f8fad5b-…)`, prefixed with `destroyed` or `proxy`
    /// if so. Slow: for error messages only.
    std::string describe() const;
    /// Description of a handle's element for messages; `null` for a null handle.
    static std::string describe(ModelElement const& element);

    // Changes, made by element classes inside a transaction

    /// Announces a change of property `index`: the open transaction saves the value before the first change. *Throws*,
    /// and records nothing: `std::logic_error` without an open transaction or on a dead element; `ModelFrozen` in a
    /// frozen model.
    void notifyModifying(unsigned long index);
    /// Enters the element into its model, as created by the open transaction; rollback destroys it for good. An element
    /// that was entered silently is announced with all its contents, and `didCreate` is called for each. *Throws*
    /// `std::logic_error`, and records nothing: without an open transaction, for a dead or announced element, and for
    /// one that an outer level of the transaction touched.
    void notifyCreated();
    /// Enters the element into its model without announcing it: the model owns it but neither finds, lists nor reports
    /// it. *Throws* `std::logic_error` without an open transaction and for an element that is dead or entered.
    void enterSilently();
    /// Records that the open transaction destroys the element. For `doDestroy`, and for callers of `destroyRecursively`
    /// with `notify` false. *Throws* `std::logic_error` without an open transaction and for an element whose
    /// destruction has not begun.
    void notifyDestroying();

    /// Removes the element from its container, announced on both sides; the container is saved as the old one.
    void makeUncontained();
    /// *Throws* `CircularContainment` if `container` is this element or lies inside it.
    void checkCircularContainment(ModelElement const& container) const;
    /// Sets the container link without announcing it; the caller keeps both sides consistent. No effect on a dead
    /// element. `index` is the property of this class that names its container. *Throws* `InvalidValue` unless
    /// `feature` is a collection of the container that accepts this element.
    void basicSetContainer(Impl* container, meta::Property const& feature, unsigned long index);
    /// Sets the container link by collection index without announcing or checking it. No effect on a dead element.
    void basicSetContainer(Impl* container, unsigned long featureIndex) noexcept;
    /// Saves the present container as the old one, before it changes.
    void recordContainer();
    /// Saves the container for rollback only: the change that follows is not reported.
    void recordContainerSilently();
    /// Saves property `index` for rollback only: the change that follows is not reported.
    void recordSilently(unsigned long index);
    /// Makes this element the container of `child` without announcing it; inside a transaction the old container is
    /// saved for rollback. *Throws* `std::logic_error` for a dead child, and `InvalidValue` unless `feature` is a
    /// collection of this element that accepts the child.
    void _setContainedByThis(Impl* child, meta::Property const& feature);
    void _setContainedByThis(Impl* child, unsigned long featureIndex);

    // Each of these throws `InvalidValue` for a feature that is no collection of the target's class.

    /// Adds this element to `feature` of `target`; `notify` announces the change of `target`.
    void _inverseAddThis(Impl* target, meta::Property const& feature, bool notify);
    /// Removes this element from `feature` of `target`, announced.
    void _inverseRemoveThis(Impl* target, meta::Property const& feature);
    /// True if `feature` of `target` contains this element.
    bool _inverseContainsThis(Impl* target, meta::Property const& feature) const;
    /// Adds this element to collection `featureIndex` of `target`; `notify` announces the change of `target`.
    void _inverseAddThis(Impl* target, unsigned long featureIndex, bool notify);
    /// Removes this element from collection `featureIndex` of `target`, announced.
    void _inverseRemoveThis(Impl* target, unsigned long featureIndex);

    /// Adds `element` to a collection of this element without announcing it.
    void _basicAdd(ReferenceCollection* collection, ModelElement const& element);
    /// Removes `element` from a collection of this element without announcing it.
    void _basicRemove(ReferenceCollection* collection, ModelElement const& element);
    /// Empties a collection of this element without announcing it.
    void _basicClear(ReferenceCollection* collection);
    /// Adds the elements of `source`, a collection of the same class, that `collection` lacks, without announcing it.
    void _basicCopyValues(ReferenceCollection* collection, ReferenceCollection const& source);

    /// Destroys the element with all its contents, in the open transaction or in one of its own. Its handles turn false
    /// at once; rollback revives the same element. A second call has no effect.
    void destroy();
    /// Destroys the element. `detach` removes it from its container first; without it the caller is destroying the
    /// container. With `notify` false the caller records the destruction in the same transaction. No effect on an
    /// element that is dead or being destroyed. *Throws* `std::logic_error`, and changes nothing, without an open
    /// transaction; whatever a hook throws, after which the caller rolls back.
    void destroyRecursively(bool detach, bool runHooks, bool notify);

    /// *Throws* `std::logic_error` on a dead element.
    void refuseDead() const
    {
        if (!m_alive)
            refuseAsDead();
    }
    /// *Throws* what every change throws on a dead element or in a frozen model.
    void refuseChange() const;
    /// True once destruction has begun, hooks included; a nested destroy does nothing.
    bool isBeingDestroyed() const noexcept { return m_destroying; }
    /// Sets the destroying flag. *Throws* `std::logic_error`, and sets nothing, on a dead element and without an open
    /// transaction.
    void beginDestroying();
    /// Opens a transaction on the element's model, a savepoint if one is open.
    [[nodiscard]] Transaction begin() const;
    /// True while a transaction is open on the element's model.
    bool isInTransaction() const noexcept;
    /// True if a change joins the open transaction without a savepoint: one is open, and the change takes one step,
    /// that is it fails before its first effect or not at all.
    bool needsNoSavepoint(bool isOneStep) const noexcept { return isOneStep && isInTransaction(); }
    /// The innermost storage of this element in the open transaction; null if it was not touched.
    Storage* storage() const noexcept { return m_storage; }

    /// Scratch bit for a walk over elements, which must leave it false.
    bool marked() const noexcept { return m_marked; }
    /// Sets the scratch bit of `marked`.
    void mark(bool on) noexcept { m_marked = on; }

    /// *Throws* `std::logic_error` on a dead element and `CannotModifyProxy` on a proxy. Every setter begins with it.
    void refuseProxy() const;

    /// Enters a new element into its model, in the open transaction or in one of its own, and calls `didCreate`. If
    /// that throws, the element is freed with its last handle.
    static void enter(ModelElement const& element);
    /// Undoes the creation of this element. *Requires* that nothing refers to it. No effect on an element that the
    /// innermost level did not create.
    void undoCreation() noexcept;

    /// True if class `type` is `wanted` or derives from it; false if either is null.
    static bool conforms(Impl const* type, Impl const* wanted) noexcept
    {
        return type == wanted ? type != nullptr : derives(type, wanted);
    }

    // Implemented by element classes

    /// The class of the element; null after the class was unregistered.
    virtual meta::Class getMetaClass() const = 0;
    /// The class of the element, borrowed; null before registration and after unregistration.
    virtual ModelElement::Impl* classPointer() const noexcept = 0;
    /// A handle to this element.
    virtual ModelElement This() const = 0;
    /// The name by which messages distinguish elements of the class; empty if it has none.
    virtual std::string nameInMessages() const { return {}; }
    /// Turns the element's handles false.
    virtual void invalidate();
    /// Destroys the contents, then the element. Called once, inside a transaction.
    virtual void doDestroy(bool runHooks, bool notify);
    /// Removes references of other elements to this one. The base does nothing.
    virtual void disassociateIncoming();
    /// Removes all references of this element to others without announcing it. The base does nothing.
    virtual void basicDisassociateAll();
    /// Replaces the references of this element by proxies. The base has none.
    virtual void convertReferencesToProxies(bool recursive, boost::optional<ProxyId>& id);
    /// The opposite side was set: adds `element` to the collection `feature`. *Throws* `InvalidValue` for a feature
    /// that is no collection of this class, whatever its index.
    virtual void inverseAdd(ModelElement const& element, meta::Property const& feature);
    /// The opposite side was cleared: removes `element` from the collection `feature`.
    virtual void inverseRemove(ModelElement const& element, meta::Property const& feature);
    /// True if the collection `feature` contains `element`.
    virtual bool inverseContains(ModelElement const& element, meta::Property const& feature) const;
    /// Sets a reference to `element` without announcing it. The base has none.
    virtual void basicAssociate(ModelElement const& element, meta::Property const& feature);
    /// True if the collection `feature` contains a proxy for `element`.
    virtual bool inverseContainsProxyTo(ModelElement const& element, meta::Property const& feature) const;
    /// The value of `property`; an empty value if the class has no such property.
    virtual Value getPropertyValue(meta::Property const& property, ReflectionPrivateTag tag) const;
    /// False if the value of `property` is empty or the class has no such property.
    virtual bool hasPropertyValue(meta::Property const& property, ReflectionPrivateTag tag) const;
    /// Sets `property` to `value`. *Throws* `InvalidValue` for a property that cannot be set this way.
    virtual void setPropertyValue(meta::Property const& property, Value const& value, ReflectionPrivateTag tag);
    /// The property of index `index`; null if the class has none.
    virtual meta::Property getPropertyByIndex(unsigned long index) const;
    /// The element collection that is property `index`; null if it is none.
    virtual ReferenceCollection* referenceCollection(unsigned long index) noexcept;
    /// Saves the present value of property `index` in `storage`, before it changes.
    virtual void copyValue(Storage* storage, unsigned long index) const = 0;
    /// Restores each saved feature. Keyed maps are restored in a later pass, as their keys come from elements.
    virtual void copyStateFromStorage(Storage* storage) = 0;
    /// A new empty storage for an element of this class.
    [[nodiscard]] virtual std::unique_ptr<Storage> createStorage() const = 0;
    /// A new empty `Changes` for an element of this class, to keep beyond the report.
    [[nodiscard]] virtual std::unique_ptr<Changes> createChanges() const = 0;
    /// The property of this class that names the container; marked changed with every change of the container.
    virtual unsigned long containerIndex() const noexcept { return NO_INDEX; }
    /// Drops all references to other elements for good: called once the element's death is final.
    virtual void dropReferences() noexcept = 0;
    /// Announces the contents, after the element itself; see `notifyCreated`.
    virtual void announceContents() = 0;
    /// True for meta elements.
    virtual bool isReflective() const { return false; }
    /// True if destroying an element of this class cannot fail half-way (no contents, no hooks), so that no savepoint
    /// is needed inside an open transaction.
    virtual bool endsInOneStep() const noexcept { return false; }
    /// Hook at the beginning of the destruction, in the transaction that destroys the element. Called once for each
    /// element destroyed, a container before its contents, while all are still alive. Throwing refuses the whole
    /// destruction, of the container too. Not called when the model ends or a creation is rolled back.
    virtual void aboutToDestroy() {}
    /// Hook after the element has entered its model, in the transaction that created it. Called once; by a builder
    /// after the whole tree exists. Throwing undoes the whole creation. Not called when rollback revives the element.
    virtual void didCreate() {}

protected:
    ~Impl() override;

    /// Transaction for a one-step setter; see `needsNoSavepoint`. The caller keeps the model alive.
    class STUDIO_DATA_EXPORT OwnTransaction {
    public:
        /// Opens a transaction on the element's model if none is open. *Throws* `std::logic_error` for a dead element,
        /// and as `Model::Impl::beginTransaction`.
        explicit OwnTransaction(Impl const& element);
        OwnTransaction(OwnTransaction const&) = delete;
        OwnTransaction& operator=(OwnTransaction const&) = delete;
        ~OwnTransaction()
        {
            if (m_model)
                rollBack();
        }
        /// Commits the transaction, if one was opened. The element may be gone afterwards.
        void commit();

    private:
        void rollBack() noexcept;

        Model::Impl* m_model;   // null when there is nothing to end
        std::uint64_t m_serial = 0;
    };

    /// Common setter: refuses proxies and dead elements, skips an equal value, joins or opens a transaction.
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
    bool m_destroying : 1 = false;       // destruction is under way; a nested destroy does nothing
    bool m_marked : 1 = false;           // scratch bit of one walk
    bool m_entered : 1 = false;          // the model owns it
    bool m_announced : 1 = false;        // the model finds and reports it
    Model::Impl* m_model;                // null once death is final
    Impl* m_container = nullptr;         // counted only while m_holdsContainer
    Storage* m_storage = nullptr;        // of the innermost level that touched the element
};

/// True if `element` is of the class of handle class `T` or derives from it. Needs no handle.
template <class T>
bool isInstance(ModelElement::Impl const& element) noexcept
{
    return ModelElement::Impl::conforms(element.classPointer(), T::Impl::classImpl());
}

/// True if the element of `element` is of the class of handle class `T` or derives from it; false for a null handle.
template <class T>
bool isInstance(ModelElement const& element) noexcept
{
    return element.get() && isInstance<T>(*element.get());
}

/// The element as a `T`, borrowed; null if it is not one. Dead elements keep their class.
template <class T>
typename T::Impl* elementCast(ModelElement const& element) noexcept
{
    return isInstance<T>(element) ? static_cast<typename T::Impl*>(element.get()) : nullptr;
}

}   // namespace tarn::zero
