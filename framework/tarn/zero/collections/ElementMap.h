#pragma once

#include "tarn/zero/collections/KeyedElements.h"
#include "tarn/zero/collections/MapMemory.h"
#include "tarn/zero/collections/TypedReferenceCollection.h"

#include <memory>
#include <string_view>
#include <type_traits>
#include <vector>

namespace tarn::zero {

/// Reads the key of an element from its name.
struct NameKey {
    /// The name, which orders and finds the element.
    template <class Impl>
    decltype(auto) operator()(Impl const& element) const
    {
        return element.getName();
    }
    /// True for a key that reads as a path: it has a dot.
    template <class View>
    static bool isPath(View const& key) noexcept
    {
        if constexpr (std::is_same_v<View, std::string_view>)
            return key.find('.') != View::npos;
        else
            return false;
    }
};

/// What the keyed maps have in common with each other and with no other collection.
class STUDIO_DATA_EXPORT ElementMapBase : public GenericMapInterface {};

/// Elements by a key that each of them carries (texts in byte order), every key once. Iteration yields handles in order
/// of the key; a change ends it. Look-ups take a view and answer borrowed pointers; they and changes cost the same in a
/// map of any size, the first iteration after additions sorts. Placeholders for elements of other models stand in a
/// table of their own, one of each identity, and are not found by key.
///
/// The map of an element follows the names of its elements. A detached map, such as the old value in a report, follows
/// nothing: it keeps the key that each element had when the map was made, or when the element was added to it, for
/// look-ups, order and removal, whatever the element is called later.
template <class Key, class E, class KeyOf = NameKey>
class ElementMap final : public TypedReferenceCollectionWithProxies<E, detail::KeyedElements<Key, E, KeyOf>>,
                         public ElementMapBase {
    using Set = detail::KeyedElements<Key, E, KeyOf>;
    using Base = TypedReferenceCollectionWithProxies<E, Set>;

public:
    /// What a transaction remembers: the steps of the keyed elements, and the few placeholders as they were.
    struct Old : detail::MapMemory<E, Set> {
        /// The placeholders; null for none.
        std::unique_ptr<typename Base::Proxies> proxies;
    };
    using Kept = std::vector<E>;
    /// How a key is looked up: without a copy.
    using KeyView = detail::KeyView<Key>;

    /// An empty detached map.
    ElementMap() : Base{false} { this->m_elements.keepKeys(); }
    ElementMap(ModelElement::Impl& owner, unsigned long featureIndex, bool composite)
        : Base{owner, featureIndex, composite}
    {}

    /// The element under that key, borrowed; null if there is none.
    typename E::Impl* findImpl(KeyView const& key) const noexcept
    {
        E const* const found = this->m_elements.find(key);
        return found ? found->operator->() : nullptr;
    }
    /// The same as a handle, which shares the element.
    E find(KeyView const& key) const noexcept { return E{findImpl(key)}; }
    /// True if the key of some element reads as a path, by `KeyOf::isPath`. *Cost*: none; such keys are counted.
    bool hasPaths() const noexcept { return this->m_elements.hasPaths(); }
    /// True if there is an element under that key.
    bool containsKey(KeyView const& key) const noexcept { return findImpl(key) != nullptr; }

    bool containsElement(ModelElement const& element) const noexcept override
    {
        if (!element.get() || !this->accepts(element))
            return false;
        return this->m_elements.contains(Base::typed(element)) || this->holdsProxy(element);
    }

    /// Room for that many elements in all.
    void reserve(std::size_t count) { this->m_elements.reserve(count); }
    /// Adds what resolving a placeholder brought, as `basicAdd`.
    void resolveAdd(E const& element) { this->basicAdd(element); }

    void genericAdd(Value const& value) override { this->addElement(Base::elementIn(value)); }
    void genericRemove(Value const& value) override { this->removeElement(Base::elementIn(value)); }
    void genericEnsureAt(std::size_t, Value const& value) override
    {
        ModelElement const element = Base::elementIn(value);
        if (!containsElement(element))
            this->addElement(element);
    }
    bool genericEmpty() const noexcept override { return this->empty(); }

    // What a transaction remembers

    void remember(Old& old)
    {
        old.proxies = this->copyProxies();
        old.begin(m_memories, this->m_elements);
    }
    static void merge(Old& outer, bool outerHas, Old& inner) noexcept
    {
        inner.mergeInto(outer, outerHas);
        if (!outerHas)
            outer.proxies.swap(inner.proxies);
    }
    static void forget(Old& old) noexcept
    {
        old.forget();
        old.proxies.reset();
    }
    void withdraw(Old& old) noexcept { old.withdraw(this->m_elements); }
    void restore(Old& old) noexcept { this->swapProxies(old.proxies); }
    void reinstate(Old& old) noexcept { old.reinstate(this->m_elements); }
    void dropAll() noexcept
    {
        std::unique_ptr<typename Base::Proxies> none;
        this->swapProxies(none);
        try {
            if (m_memories.newest)   // a report that somebody keeps beyond the model
                m_memories.newest->clearing(this->m_elements);
        } catch (...) {
            // Without memory that report forgets what the map held.
        }
        this->m_elements.clear();
    }
    std::size_t sizeBefore(Old const& old) const noexcept { return old.size(); }
    /// True if it held one element, and holds just that one.
    bool heldOnlyTheSameElement(Old const& old) const noexcept
    {
        if (old.size() != 1 || this->size() != 1)
            return false;
        E const* const left = old.movedOne();
        return !left || left->Uuid() == this->begin()->Uuid();
    }
    static Kept keep(Old const& old) { return old.elements(); }
    /// A detached map with those elements under the keys they have now; the first of a key wins.
    static std::unique_ptr<ElementMap> detached(Kept const& elements)
    {
        auto map = std::make_unique<ElementMap>();
        for (E const& element : elements)
            if (!map->containsKey(Set::keyOf(element)))
                map->putKeyed(element);   // one that became a placeholder since, too
        return map;
    }

protected:
    bool hasRoom(ModelElement const& element) const noexcept override
    {
        E const typed = Base::typed(element);
        if (this->m_elements.keepsKeys() && this->m_elements.contains(typed))
            return false;   // it stands under the key of then
        return typed->isProxy() ? !this->containsProxy(typed->getProxyId()) : !containsKey(Set::keyOf(typed));
    }
    [[noreturn]] void refuseRoom(ModelElement const& element) const override
    {
        reportException(tarn0::messages::UniquenessConstraint{this->refused(element->describe())});
    }
    void put(std::size_t, ModelElement const& element) override
    {
        E const typed = Base::typed(element);
        if (typed->isProxy())
            this->addProxy(typed);
        else
            putKeyed(typed);
    }
    void takeOut(ModelElement const& element) override
    {
        E const typed = Base::typed(element);
        if (this->holdsProxy(typed))
            return this->removeProxy(typed);
        if (m_memories.newest)
            m_memories.newest->erasing(typed);
        this->m_elements.erase(typed);
    }
    void takeOutAll() override
    {
        if (m_memories.newest)
            m_memories.newest->clearing(this->m_elements);
        else
            this->m_elements.clear();
        this->clearProxies();
    }
    void putAll(ReferenceCollection const& source) override
    {
        for (E const& element : static_cast<ElementMap const&>(source))
            if (hasRoom(element))
                put(0, element);
    }
    void replaceProxy(ModelElement const& proxy, ModelElement const& element) override
    {
        if (!containsElement(element))
            resolveAdd(Base::typed(element));
        this->removeProxy(proxy);
    }

private:
    void putKeyed(E const& element)
    {
        this->m_elements.reserveFor(element);
        if (m_memories.newest)
            m_memories.newest->inserting(element);
        this->m_elements.insert(element);
    }

    typename Old::Chain m_memories;
};

}   // namespace tarn::zero
