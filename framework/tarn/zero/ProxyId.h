#pragma once

#include "tarn/zero/services/Hashers.h"

#include <boost/uuid/uuid.hpp>

namespace tarn::zero {

/// Identity of an element of another model: what a proxy stands for.
class ProxyId {
public:
    ProxyId() noexcept : m_element{} {}
    explicit ProxyId(boost::uuids::uuid const& element) noexcept : m_element{element} {}

    /// The UUID of the element that the proxy stands for.
    boost::uuids::uuid const& element() const noexcept { return m_element; }

    friend bool operator==(ProxyId const& left, ProxyId const& right) noexcept
    {
        return left.m_element == right.m_element;
    }
    friend bool operator<(ProxyId const& left, ProxyId const& right) noexcept
    {
        return left.m_element < right.m_element;
    }

private:
    boost::uuids::uuid m_element;
};

}   // namespace tarn::zero

template <>
struct std::hash<tarn::zero::ProxyId> {
    std::size_t operator()(tarn::zero::ProxyId const& id) const noexcept
    {
        return tarn::zero::services::hashers::TARN0Hasher<boost::uuids::uuid>{}(id.element());
    }
};
