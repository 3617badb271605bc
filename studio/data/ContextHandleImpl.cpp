#include "studio/data/ContextHandleImpl.h"

#include "studio/data/ContextView.h"
#include "studio/data/HandleRecord.h"
#include "studio/data/detail/ViewLife.h"

#include <utility>

namespace studio::data {

/// A running callback: owns the function meanwhile and returns it if the handle still exists.
struct ContextHandleImpl::Call : private boost::noncopyable {
    explicit Call(ContextHandleImpl const& called) : handle{&called}, function{std::move(called.callback)}
    {
        handle->running = this;
    }
    ~Call()
    {
        if (!handle)
            return;
        handle->callback = std::move(function);
        handle->running = nullptr;
    }

    ContextHandleImpl const* handle;   // null once the handle is destroyed
    Callback function;
};

constinit char const* const ContextHandleImpl::TypeName = "ContextHandle";
constinit char const* const ContextHandleImpl::ROOKTypeName = "studio.data.ContextHandle";

ContextHandleImpl::ContextHandleImpl(boost::uuids::uuid const& id, Callback function, ContextView* owner)
    : uuid{id}, callback{std::move(function)}, view{owner}, life{owner ? owner->life : nullptr}
{}

ContextHandleImpl::~ContextHandleImpl()
{
    release();
    leaveRecord();   // of a record that it joined without its view
    unlink();        // it may be waiting for its call
    if (running)
        running->handle = nullptr;
    callback = nullptr;
    tearDown();
}

ContextData ContextHandleImpl::getData() const
{
    ContextView const* const living = livingView();
    return living ? living->getData(uuid) : ContextData{};
}

void ContextHandleImpl::notify(ContextData const& data) const
{
    if (running)
        return running->function(data);   // from inside the callback
    if (!callback)
        return;
    Call lent{*this};
    lent.function(data);
}

void ContextHandleImpl::detach()
{
    ContextHandleImpl* waiting = nullptr;   // this handle, until it is called or destroyed
    if (!detached) {
        ContextView* const living = livingView();
        HandleRecord* const left = record;
        leaveRecord();
        cutOff();
        link(waiting);
        if (living)
            living->undoEmptyRecord(left);
        if (!waiting)
            return;   // detached or destroyed by what ended with the record
    }
    if (!position)
        return;
    unlink();
    notify(ContextData{});
}

void ContextHandleImpl::release() noexcept
{
    if (ContextView* const living = livingView())
        living->release(this);
}

void ContextHandleImpl::leaveRecord() noexcept
{
    if (record)
        record->remove(*this);
}

void ContextHandleImpl::cutOff() noexcept
{
    detached = true;
    view = nullptr;
}

ContextView* ContextHandleImpl::livingView() const noexcept
{
    return detached || !life ? nullptr : life->view;
}

void ContextHandleImpl::link(ContextHandleImpl*& first) noexcept
{
    next = first;
    if (next)
        next->position = &next;
    first = this;
    position = &first;
}

void ContextHandleImpl::unlink() noexcept
{
    if (!position)
        return;
    *position = next;
    if (next)
        next->position = position;
    position = nullptr;
    next = nullptr;
}

}   // namespace studio::data
