#include "tarn/zero/ElementImpl.h"

namespace tarn::zero {

ElementImpl::CollectionCallback ElementImpl::m_callback = nullptr;

ElementImpl::~ElementImpl() = default;

void ElementImpl::destroySelf() noexcept
{
    m_refCount.store(REFCOUNT_DELETING, std::memory_order_relaxed);
    delete this;
}

}   // namespace tarn::zero
