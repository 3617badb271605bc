#include "tarn/zero/Listener.h"

namespace tarn::zero {

Listener::~Listener() = default;

bool Listener::concerns(ElementImpl const&, std::uint64_t) const noexcept
{
    return true;
}

}   // namespace tarn::zero
