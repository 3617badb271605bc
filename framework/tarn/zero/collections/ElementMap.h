#pragma once

#include "tarn/zero/collections/MapMemory.h"
#include "tarn/zero/collections/TypedReferenceCollection.h"

#include <memory>
#include <set>
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
};

namespace detail {

/// Text is looked up by view, so that no look-up builds a key.
template <class Key>
using KeyView = std::conditional_t<std::is_same_v<Key, std::string>, std::string_view, Key>;

/// Orders elements by their keys, which are read from them and kept nowhere else.
template <class Key, class E, class KeyOf>
struct KeyLess {
    using is_transparent = void;

    static KeyView<Key> key(E const& element) { return KeyOf{}(*element.operator->()); }
    bool operator()(E const& left, E const& right) const { return key(left) < key(right); }
    bool operator()(E const& left, KeyView<Key> const& right) const { return key(left) < right; }
    bool operator()(KeyView<Key> const& left, E const& right) const { return left < key(right); }
};

}   // namespace detail

/// What the keyed maps have in common with each other and with no other collection.
class STUDIO_DATA_EXPORT ElementMapBase : public GenericMapInterface {};

/// Elements by a key that each of them carries (texts in byte order), every key once. Iteration yields handles in order
/// of the key. Look-ups take a view and answer borrowed pointers; a change costs the logarithm of the size.
/// Placeholders for elements of other models stand in a table of their own and are not found by key.
template <class Key, class E, class KeyOf = NameKey>
class ElementMap final : public TypedReferenceCollectionWithProxies<E, std::set<E, detail::KeyLess<Key, E, KeyOf>>>,
                         public ElementMapBase {
    using Set = std::set<E, detail::KeyLess<Key, E, KeyOf>>;
    using Base = TypedReferenceCollectionWithProxies<E, Set>;
    using Order = detail::KeyLess<Key, E, KeyOf>;

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
        auto const found = this->m_elements.find(key);
        return found == this->m_elements.end() ? nullptr : found->operator->();
    }
    /// The same as a handle, which shares the element.
    E find(KeyView const& key) const noexcept { return E{findImpl(key)}; }
    /// True if there is an element under that key.
    bool containsKey(KeyView const& key) const noexcept { return findImpl(key) != nullptr; }

    bool containsElement(ModelElement const& element) const noexcept override
    {
        if (!element.get() || !isInstance<E>(element))
            return false;
        if (element->isProxy())
            return this->containsProxy(element->getProxyId());
        return findImpl(Order::key(Base::typed(element))) == element.get();
    }

    void basicAdd(ModelElement const& element) override
    {
        E const typed = Base::typed(element);
        if (element->isProxy())
            return this->addProxy(typed);
        auto* const memory = m_memories.newest;
        if (memory)
            memory->inserting(typed);
        bool isNew = false;
        try {
            isNew = this->m_elements.insert(typed).second;
        } catch (...) {
            if (memory)
                memory->undoStep();
            throw;
        }
        if (isNew)
            return;
        if (memory)
            memory->undoStep();
        refuseKey(element);
    }
    /// Adds without notification what resolving a placeholder brought.
    void resolveAdd(E const& element) { basicAdd(element); }

    void basicRemove(ModelElement const& element) override
    {
        E const typed = Base::typed(element);
        if (element->isProxy()) {
            this->removeProxy(element);
            return;
        }
        auto const found = this->m_elements.find(typed);
        if (found == this->m_elements.end() || !(*found == typed))
            return;
        auto* const memory = m_memories.newest;
        if (memory) {
            memory->erasing(typed);
            memory->keepNode(this->m_elements.extract(found));
        } else {
            this->m_elements.erase(found);
        }
    }
    void basicClear() override
    {
        while (!this->m_elements.empty())
            basicRemove(*this->m_elements.begin());
        this->clearProxies();
    }
    void basicCopyValues(ReferenceCollection const& source) override
    {
        for (E const& element : static_cast<ElementMap const&>(source))
            if (!findImpl(Order::key(element)))
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
            map->m_elements.insert(element);
        return map;
    }

protected:
    void checkRoom(ModelElement const& element) const override
    {
        if (!element->isProxy() && findImpl(Order::key(Base::typed(element))))
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
