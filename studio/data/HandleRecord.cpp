#include "studio/data/HandleRecord.h"

#include "studio/data/ContextHandleImpl.h"
#include "studio/data/ContextProvider.h"

#include <utility>

namespace studio::data {

HandleRecord::HandleRecord(std::shared_ptr<ContextProvider> contextProvider) noexcept
    : provider{std::move(contextProvider)}
{}

HandleRecord::~HandleRecord()
{
    handles.clear();
    ContextHandleImpl* waiting = nullptr;   // in order of acquisition; a destroyed handle leaves the list
    while (ContextHandleImpl* const handle = newest) {
        handle->record = nullptr;
        handle->unlink();
        handle->link(waiting);
        handle->cutOff();
    }
    while (ContextHandleImpl* const handle = waiting)
        handle->detach();
    std::shared_ptr<ContextProvider> const last = std::move(provider);   // its end may call out and must find none here
}

void HandleRecord::add(ContextHandleImpl& handle)
{
    if (handle.detached || !handles.insert(&handle).second)
        return;
    handle.leaveRecord();
    handle.record = this;
    handle.link(newest);
}

bool HandleRecord::remove(ContextHandleImpl& handle) noexcept
{
    if (handles.erase(&handle) == 0)
        return false;
    handle.record = nullptr;
    handle.unlink();
    return true;
}

void RecordList::append(HandleRecord& record) noexcept
{
    record.position = end;
    *end = &record;
    end = &record.next;
}

void RecordList::remove(HandleRecord& record) noexcept
{
    *record.position = record.next;
    (record.next ? record.next->position : end) = record.position;
}

}   // namespace studio::data
