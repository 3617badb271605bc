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
/// map of any size, the first iteration after changes sorts. Placeholders for elements of other models stand in a table
/// of their own and are not found by key.
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

    ElementMap() : Base{false} {}
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
        if (!element.get() || !isInstance<E>(element))
            return false;
        if (element->isProxy())
            return this->containsProxy(element->getProxyId());
        return findImpl(Set::keyOf(Base::typed(element))) == element.get();
    }

    void basicAdd(ModelElement const& element) override
    {
        E const typed = Base::typed(element);
        if (element->isProxy())
            return this->addProxy(typed);
        if (findImpl(Set::keyOf(typed)))
            refuseKey(element);
        this->m_elements.reserveOne();
        if (m_memories.newest)
            m_memories.newest->inserting(typed);
        this->m_elements.insert(typed);
    }
    /// Room for that many elements in all.
    void reserve(std::size_t count) { this->m_elements.reserve(count); }
    /// Adds without notification what resolving a placeholder brought.
    void resolveAdd(E const& element) { basicAdd(element); }

    void basicRemove(ModelElement const& element) override
    {
        E const typed = Base::typed(element);
        if (element->isProxy()) {
            this->removeProxy(element);
            return;
        }
        if (findImpl(Set::keyOf(typed)) != typed.get())
            return;
        if (m_memories.newest)
            m_memories.newest->erasing(typed);
        this->m_elements.erase(typed);
    }
    void basicClear() override
    {
        if (m_memories.newest)
            m_memories.newest->clearing(this->m_elements);
        else
            this->m_elements.clear();
        this->clearProxies();
    }
    void basicCopyValues(ReferenceCollection const& source) override
    {
        for (E const& element : static_cast<ElementMap const&>(source))
            if (!findImpl(Set::keyOf(element)))
                basicAdd(element);
    }

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
    /// A map of its own with those elements under the keys they have now; the first of a key wins.
    static std::unique_ptr<ElementMap> detached(Kept const& elements)
    {
        auto map = std::make_unique<ElementMap>();
        for (E const& element : elements)
            if (!map->containsKey(Set::keyOf(element)))
                map->basicAdd(element);
        return map;
    }

protected:
    void checkRoom(ModelElement const& element) const override
    {
        if (!element->isProxy() && findImpl(Set::keyOf(Base::typed(element))))
            refuseKey(element);
    }

private:
    [[noreturn]] void refuseKey(ModelElement const& element) const
    {
        reportException(tarn0::messages::UniquenessConstraint{this->refused(element->describe())});
    }

    typename Old::Chain m_memories;
};

}   // namespace tarn::zero
