#pragma once

#include "foundation/SameType.h"
#include "tarn/zero/ReportException.h"
#include "tarn/zero/Value.h"
#include "tarn/zero/collections/ReferenceCollection.h"
#include "tarn0/messages/Messages.h"

#include <map>
#include <memory>
#include <typeinfo>
#include <vector>

namespace tarn::zero {

/// Elements of handle class `E`, held as handles in a `Container` that defines their order.
template <class E, class Container>
class TypedReferenceCollection : public ReferenceCollection {
public:
    using value_type = E;
    using const_iterator = typename Container::const_iterator;

    std::size_t size() const noexcept { return m_elements.size(); }
    bool empty() const noexcept override { return m_elements.empty(); }
    const_iterator begin() const noexcept { return m_elements.begin(); }
    const_iterator end() const noexcept { return m_elements.end(); }

    /// Checks the meta class and also the C++ class, as elements outlive the registration of their class.
    bool accepts(ModelElement const& element) const noexcept override
    {
        return isInstance<E>(element) || dynamic_cast<typename E::Impl const*>(element.get());
    }

    /// Adds an element, as `addElement`.
    void add(E const& element) { addElement(element); }
    /// Removes an element, as `removeElement`.
    bool remove(E const& element) { return removeElement(element); }
    /// Removes all elements.
    void clear()
    {
        Operation operation{*this};
        for (E const& element : std::vector<E>(begin(), end()))
            removeElement(element);
        operation.commit();
    }

    void destroyElements(bool runHooks, bool notify) override
    {
        for (E const& element : std::vector<E>(begin(), end()))
            if (!element->isProxy())
                element->destroyRecursively(false, runHooks, notify);
    }

    /// The element in a `Value`: as the typed handle or as the plain one.
    ModelElement elementIn(Value const& value) const
    {
        ModelElement const* const plain = value.peekValue<ModelElement>();
        return plain ? *plain : this->template itemIn<E>(value);
    }

protected:
    using ReferenceCollection::ReferenceCollection;

    ModelElement elementClass() const override { return E::metaClass(); }
    bool isAlike(ReferenceCollection const& other) const noexcept override
    {
        return foundation::isSameType(typeid(other), typeid(*this));
    }
    /// A handle of the collection's element class. *Requires* an accepted element.
    static E typed(ModelElement const& element) noexcept { return E{static_cast<typename E::Impl*>(element.get())}; }

    /// The elements, in order.
    Container m_elements;
};

/// Elements of handle class `E` with proxies for elements of other models in a separate table.
template <class E, class Container>
class TypedReferenceCollectionWithProxies : public TypedReferenceCollection<E, Container> {
    using Base = TypedReferenceCollection<E, Container>;

public:
    /// Proxies by identity.
    using Proxies = std::map<ProxyId, E>;

    bool containsProxy(ProxyId const& id) const noexcept override { return findProxy(id) != nullptr; }
    bool hasProxies() const noexcept override { return m_proxies && !m_proxies->empty(); }
    /// The proxies, in no particular order.
    std::vector<E> proxies() const
    {
        std::vector<E> list;
        if (m_proxies)
            for (auto const& entry : *m_proxies)
                list.push_back(entry.second);
        return list;
    }

    void resolveProxies() override
    {
        for (E const& proxy : proxies())
            this->resolveProxy(proxy->getProxyId());
    }

protected:
    using Base::Base;

    /// Adds a proxy. *Requires* a free identity.
    void addProxy(E const& element)
    {
        if (!m_proxies)
            m_proxies = std::make_unique<Proxies>();
        m_proxies->emplace(element->getProxyId(), element);
    }
    /// True if it contains that proxy.
    bool holdsProxy(ModelElement const& element) const noexcept
    {
        E const* const found = findProxy(element->getProxyId());
        return found && *found == element;
    }
    /// Removes a proxy. *Requires* that it is here.
    void removeProxy(ModelElement const& element) noexcept { m_proxies->erase(element->getProxyId()); }
    /// Removes all proxies; contained ones leave their container.
    void clearProxies()
    {
        if (!m_proxies)
            return;
        if (this->isComposite())
            for (auto const& entry : *m_proxies) {
                entry.second->recordContainer();
                entry.second->basicSetContainer(nullptr, 0);
            }
        m_proxies.reset();
    }
    /// A copy of the proxy table; null if there are none.
    std::unique_ptr<Proxies> copyProxies() const { return m_proxies ? std::make_unique<Proxies>(*m_proxies) : nullptr; }
    /// Exchanges the proxy table.
    void swapProxies(std::unique_ptr<Proxies>& other) noexcept { m_proxies.swap(other); }

    ModelElement proxy(ProxyId const& id) const override
    {
        E const* const found = findProxy(id);
        return found ? ModelElement{*found} : ModelElement{};
    }

private:
    E const* findProxy(ProxyId const& id) const noexcept
    {
        if (!m_proxies)
            return nullptr;
        auto const found = m_proxies->find(id);
        return found == m_proxies->end() ? nullptr : &found->second;
    }

    std::unique_ptr<Proxies> m_proxies;   // null if there are none, the usual case
};

}   // namespace tarn::zero
