#include "tarn/zero/ListenerHolder.h"

#include <utility>

namespace tarn::zero {

ListenerHolderBase::ListenerHolderBase(Listener* listener, bool, bool, bool, bool, bool, bool, bool) noexcept
    : m_listener{listener}
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
