#include "studio/data/ContextView.h"

#include "studio/data/ContextProvider.h"
#include "studio/data/HandleRecord.h"
#include "studio/data/detail/ViewState.h"

namespace studio::data {

constinit char const* const ContextView::TypeName = "ContextView";
constinit char const* const ContextView::ROOKTypeName = "studio.data.ContextView";

ContextView::ContextView(tarn::zero::Model const& model) : state{new detail::ViewState{model}}
{
    ContextProvider::sharedModel()->addDeepListener(this);
}

ContextView::~ContextView()
{
    ContextProvider::sharedModel()->removeListener(this);
    state->end();
    tearDown();
}

std::unique_ptr<ContextView> ContextView::create(tarn::zero::Model const& model)
{
    auto view = std::make_unique<ContextView>(model);
    view->takeNativeOwnership();
    return view;
}

// What may call out is called through a pointer of its own, so that the state outlives a view that is destroyed
// meanwhile.

std::unique_ptr<ContextHandleImpl> ContextView::acquire(Id const& id, ContextHandleImpl::Callback const& callback)
{
    return detail::ViewState::Pointer
    {
        state
        } -> acquire(*this, id, callback);
}

void ContextView::release(ContextHandleImpl* handle) noexcept
{
    if (handle)
        detail::ViewState::Pointer
        {
            state
            } -> release(*handle);
}

ContextData ContextView::getData(Id const& id) const
{
    return state->getData(id);
}

HandleRecord* ContextView::getRecord(Id const& id) const
{
    return state->getRecord(id);
}

HandleRecord* ContextView::createRecord(Id const& id)
{
    return detail::ViewState::Pointer
    {
        state
        } -> createRecord(id);
}

void ContextView::destroyRecord(HandleRecord* record)
{
    detail::ViewState::Pointer
    {
        state
        } -> destroyRecord(record);
}

ContextData ContextView::cloneData(Id const& id)
{
    return state->cloneData(id);
}

void ContextView::createClosure(ContextData const& clone)
{
    detail::ViewState::Pointer
    {
        state
        } -> createClosure(clone);
}

void ContextView::removeDescendents(ContextData const& clone, IdSet& pending) const
{
    state->removeDescendents(clone, pending);
}

void ContextView::removeDescendents(HandleRecord* record, IdSet& pending) const
{
    if (!record || !record->provider)
        return;
    Id const id = record->provider->getId();
    if (pending.erase(id) != 0)
        state->removeDescendents(state->getData(id), pending);
}

void ContextView::discardOrphans()
{
    detail::ViewState::Pointer
    {
        state
        } -> discardOrphans();
}

bool ContextView::concerns(tarn::zero::ElementImpl const& element, std::uint64_t) const noexcept
{
    return state->concerns(static_cast<tarn::zero::ModelElement::Impl const&>(element));
}

void ContextView::transactionCommitted(tarn::zero::ShallowChangeReport<Property> const& report)
{
    detail::ViewState::Pointer
    {
        state
        } -> followProperties(report);
}

void ContextView::transactionCommitted(tarn::zero::ShallowChangeReport<ContextData> const& report)
{
    detail::ViewState::Pointer
    {
        state
        } -> followContexts(report);
}

}   // namespace studio::data
