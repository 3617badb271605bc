#include "tarn/zero/ListenerHolder.h"

#include <utility>

namespace tarn::zero {

Listener::~Listener() = default;

bool Listener::concerns(ElementImpl const&, std::uint64_t) const noexcept
{
    return true;
}

ListenerHolderBase::ListenerHolderBase(Listener* listener, bool, bool, bool, bool deep, bool, bool, bool) noexcept
    : m_listener{listener}, m_deep{deep}
{}

ListenerHolderBase::~ListenerHolderBase() = default;

void ListenerHolderBase::invalidate() noexcept
{
    Listener* const listener = std::exchange(m_listener, nullptr);
    if (!listener)
        return;
    try {
        listener->listenerRemoved();
    } catch (...) {
        // The listener is being removed: nothing left to report the failure to.
    }
}

}   // namespace tarn::zero
