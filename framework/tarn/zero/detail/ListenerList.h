#pragma once

#include "tarn/zero/ListenerHolder.h"

#include <memory>
#include <vector>

namespace tarn::zero::detail {

/// The listeners of one model in order of registration. A snapshot stays as it was when the list changes, so that a
/// list may be changed while it is being served; taking one costs a counted pointer.
class ListenerList {
public:
    using Holders = std::vector<std::shared_ptr<ListenerHolderBase>>;
    using Snapshot = std::shared_ptr<Holders const>;

    bool empty() const noexcept { return !m_holders || m_holders->empty(); }
    Snapshot const& snapshot() const noexcept { return m_holders; }
    bool contains(Listener const* listener) const noexcept;
    void add(std::shared_ptr<ListenerHolderBase> holder);
    /// Removes and invalidates the listener's holder, if it has one. Finishes whatever happens.
    void remove(Listener const* listener) noexcept;
    /// Invalidates every holder.
    void clear() noexcept;

private:
    Snapshot m_holders;
};

}   // namespace tarn::zero::detail
