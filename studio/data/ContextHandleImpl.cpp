#include "studio/data/ContextHandleImpl.h"

#include "studio/data/HandleRecord.h"
#include "studio/data/detail/ViewState.h"

#include <utility>

namespace studio::data {

constinit char const* const ContextHandleImpl::TypeName = "ContextHandle";
constinit char const* const ContextHandleImpl::ROOKTypeName = "studio.data.ContextHandle";

ContextHandleImpl::ContextHandleImpl(boost::uuids::uuid const& id, Callback function, ContextView* owner)
    : uuid{id}, callback{std::move(function)}, view{owner ? &detail::ViewState::of(*owner) : nullptr}
{}

ContextHandleImpl::~ContextHandleImpl()
{
    release();
    leaveRecord();   // of a record that it joined without its view
    link.unlink();   // it may be waiting for its call
    callback.reset();
    tearDown();
}

ContextData ContextHandleImpl::getData() const
{
    detail::ViewState const* const living = livingView();
    return living ? living->getData(uuid) : ContextData{};
}

void ContextHandleImpl::notify(ContextData const& data) const
{
    if (callback)
        callback(data);
}

void ContextHandleImpl::detach()
{
    HandleRecord::List waiting;   // this handle, until it is called or destroyed
    if (!detached) {
        boost::intrusive_ptr<detail::ViewState> const living{livingView()};
        HandleRecord* const left = record;
        leaveRecord();
        cutOff();
        waiting.push_back(*this);
        if (living)
            living->undoEmptyRecord(left);
        if (waiting.empty())
            return;   // detached or destroyed by what ended with the record
    }
    if (!link.is_linked())
        return;
    link.unlink();
    notify(ContextData{});
}

void ContextHandleImpl::release() noexcept
{
    if (detail::ViewState* const living = livingView())
        living->release(*this);
}

void ContextHandleImpl::leaveRecord() noexcept
{
    if (record)
        record->remove(*this);
}

void ContextHandleImpl::cutOff() noexcept
{
    detached = true;
    view.reset();
}

detail::ViewState* ContextHandleImpl::livingView() const noexcept
{
    return view && !view->hasEnded ? view.get() : nullptr;
}

}   // namespace studio::data
