#include "studio/data/HandleRecord.h"

#include "studio/data/ContextProvider.h"

#include <utility>

namespace studio::data {

HandleRecord::HandleRecord(std::shared_ptr<ContextProvider> contextProvider) noexcept
    : provider{std::move(contextProvider)}
{}

HandleRecord::~HandleRecord()
{
    handles.clear();
    for (ContextHandleImpl& handle : ordered) {
        handle.record = nullptr;
        handle.cutOff();
    }
    while (!ordered.empty())
        ordered.front().detach();
    std::shared_ptr<ContextProvider> const last = std::move(provider);   // its end may call out and must find none here
}

void HandleRecord::add(ContextHandleImpl& handle)
{
    if (handle.detached || !handles.insert(&handle).second)
        return;
    handle.leaveRecord();
    handle.record = this;
    ordered.push_back(handle);
}

bool HandleRecord::remove(ContextHandleImpl& handle) noexcept
{
    if (handles.erase(&handle) == 0)
        return false;
    handle.record = nullptr;
    handle.link.unlink();
    return true;
}

}   // namespace studio::data
