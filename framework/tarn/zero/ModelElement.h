#pragma once

#include "foundation/UuidLayout.h"
#include "tarn/zero/ElementImpl.h"

#include <boost/uuid/uuid.hpp>

#include <cstddef>
#include <functional>
#include <utility>

namespace tarn::zero {

/// Handle to one element of a model: one counted pointer without behaviour of its own. A null handle and a handle whose
/// element was destroyed (or whose model ended) both convert to false; the latter still returns the element's last
/// values. Copying shares the element. Used, like its model, on one thread at a time.
class STUDIO_DATA_EXPORT ModelElement {
public:
    class Impl;
    class Builder;

    ModelElement() noexcept = default;
    explicit ModelElement(Impl* impl) noexcept : m_impl{impl} {}
    /// Exchanges the elements of two handles.
    void swap(ModelElement& other) noexcept { std::swap(m_impl, other.m_impl); }

    /// The meta class that every element class derives from.
    static meta::Class metaClass();

    /// Adds a reference by hand; no effect on a null handle.
    void addRef() const noexcept;
    /// Drops a reference added by `addRef`; no effect on a null handle.
    void removeRef() const noexcept;

    /// True while the element is alive.
    explicit operator bool() const noexcept;

    /// The element's identity; nil for a null handle.
    boost::uuids::uuid Uuid() const noexcept;

    /// True if the element's class is `type` or derives from it. False for a null handle and for a null class.
    bool isA(meta::Class const& type) const noexcept;

    Impl* get() const noexcept { return m_impl.get(); }
    Impl* operator->() const noexcept { return get(); }

    /// Handles are equal when they refer to the same implementation object.
    friend bool operator==(ModelElement const& left, ModelElement const& right) noexcept
    {
        return left.m_impl == right.m_impl;
    }

private:
    friend STUDIO_DATA_EXPORT void takeReference(Impl* impl) noexcept;
    friend STUDIO_DATA_EXPORT void dropReference(Impl* impl) noexcept;

    Counted<Impl> m_impl;
};

}   // namespace tarn::zero

template <>
struct std::hash<tarn::zero::ModelElement> {
    std::size_t operator()(tarn::zero::ModelElement const& element) const noexcept
    {
        return std::hash<void const*>{}(element.get());
    }
};
