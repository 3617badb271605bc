#pragma once

#include "tarn/zero/collections/KeyedElements.h"
#include "tarn/zero/collections/MapUndoLog.h"
#include "tarn/zero/collections/TypedReferenceCollection.h"

#include <memory>
#include <string_view>
#include <type_traits>
#include <vector>

namespace tarn::zero {

/// Key function: the name of an element.
struct NameKey {
    /// The name, the key of the element.
    template <class Impl>
    decltype(auto) operator()(Impl const& element) const
    {
        return element.getName();
    }
    /// True if the key is a path: it has a dot.
    template <class View>
    static bool isPath(View const& key) noexcept
    {
        if constexpr (std::is_same_v<View, std::string_view>)
            return key.find('.') != View::npos;
        else
            return false;
    }
};

/// Common base of all keyed maps.
class STUDIO_DATA_EXPORT ElementMapBase : public GenericMapInterface {};

/// Hash table of elements by a unique key that each element carries (texts in byte order). Iteration is in key order;
/// any change invalidates iterators. Lookups take a view and return borrowed pointers. *Cost*: lookups and changes take
/// constant time; the first iteration after additions sorts. Proxies are in a separate table, unique by identity, and
/// are not found by key.
///
/// The map of an element follows renames of its elements. A detached map, such as the old value in a report, does not:
/// it keeps the key that each element had when it was added, for lookup, order and removal.
template <class Key, class E, class KeyOf = NameKey>
class ElementMap final : public TypedReferenceCollectionWithProxies<E, detail::KeyedElements<Key, E, KeyOf>>,
                         public ElementMapBase {
    using Set = detail::KeyedElements<Key, E, KeyOf>;
    using Base = TypedReferenceCollectionWithProxies<E, Set>;

public:
    /// Old value in a storage: the undo log of the keyed elements and a copy of the proxies.
    struct Old : detail::MapUndoLog<E, Set> {
        /// The old proxies; null for none.
        std::unique_ptr<typename Base::Proxies> proxies;
    };
    using Kept = std::vector<E>;
    /// Lookup type of a key: no copy.
    using KeyView = detail::KeyView<Key>;

    /// An empty detached map.
    ElementMap() : Base{false} { this->m_elements.keepKeys(); }
    ElementMap(ModelElement::Impl& owner, unsigned long featureIndex, bool composite)
        : Base{owner, featureIndex, composite}
    {}

    /// The element with that key, borrowed; null if there is none.
    typename E::Impl* findImpl(KeyView const& key) const noexcept
    {
        E const* const found = this->m_elements.find(key);
        return found ? found->operator->() : nullptr;
    }
    /// The element with that key, shared; a null handle if there is none.
    E find(KeyView const& key) const noexcept { return E{findImpl(key)}; }
    /// True if some key is a path, by `KeyOf::isPath`. *Cost*: constant; such keys are counted.
    bool hasPaths() const noexcept { return this->m_elements.hasPaths(); }
    /// True if there is an element with that key.
    bool containsKey(KeyView const& key) const noexcept { return findImpl(key) != nullptr; }

    bool containsElement(ModelElement const& element) const noexcept override
    {
        if (!element.get() || !this->accepts(element))
            return false;
        return this->m_elements.contains(Base::typed(element)) || this->holdsProxy(element);
    }

    /// Reserves capacity for `count` elements in all.
    void reserve(std::size_t count) { this->m_elements.reserve(count); }
    /// Adds an element that resolving a proxy produced, as `basicAdd`.
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

    // Old values

    void record(Old& old)
    {
        old.proxies = this->copyProxies();
        old.begin(m_undoLogs, this->m_elements);
    }
    static void merge(Old& outer, bool outerHas, Old& inner) noexcept
    {
        inner.mergeInto(outer, outerHas);
        if (!outerHas)
            outer.proxies.swap(inner.proxies);
    }
    static void discard(Old& old) noexcept
    {
        old.discard();
        old.proxies.reset();
    }
    void undoInsertions(Old& old) noexcept { old.undoInsertions(this->m_elements); }
    void restore(Old& old) noexcept { this->swapProxies(old.proxies); }
    void undoErasures(Old& old) noexcept { old.undoErasures(this->m_elements); }
    void dropAll() noexcept
    {
        std::unique_ptr<typename Base::Proxies> none;
        this->swapProxies(none);
        try {
            if (m_undoLogs.newest)   // a report kept beyond the model still reads it
                m_undoLogs.newest->clear(this->m_elements);
        } catch (...) {
            // Out of memory: that report loses the old contents.
        }
        this->m_elements.clear();
    }
    std::size_t sizeBefore(Old const& old) const noexcept { return old.size(); }
    /// True if the map held one element and now holds only that one.
    bool heldOnlyTheSameElement(Old const& old) const noexcept
    {
        if (old.size() != 1 || this->size() != 1)
            return false;
        E const* const left = old.onlyErased();
        return !left || left->Uuid() == this->begin()->Uuid();
    }
    static Kept keep(Old const& old) { return old.elements(); }
    /// A detached map of `elements` under their present keys; the first of each key wins.
    static std::unique_ptr<ElementMap> detached(Kept const& elements)
    {
        auto map = std::make_unique<ElementMap>();
        for (E const& element : elements)
            if (!map->containsKey(Set::keyOf(element)))
                map->putKeyed(element);   // an element that has become a proxy, too
        return map;
    }

protected:
    bool hasRoom(ModelElement const& element) const noexcept override
    {
        E const typed = Base::typed(element);
        if (this->m_elements.keepsKeys() && this->m_elements.contains(typed))
            return false;   // it is under the key it had when added
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
        if (m_undoLogs.newest)
            m_undoLogs.newest->recordErasure(typed);
        this->m_elements.erase(typed);
    }
    void takeOutAll() override
    {
        if (m_undoLogs.newest)
            m_undoLogs.newest->clear(this->m_elements);
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
        if (m_undoLogs.newest)
            m_undoLogs.newest->recordInsertion(element);
        this->m_elements.insert(element);
    }

    typename Old::Chain m_undoLogs;
};

}   // namespace tarn::zero
