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

// A function that calls out keeps the state: a callback, or a listener, may destroy the view meanwhile.

std::unique_ptr<ContextHandleImpl> ContextView::acquire(Id const& id, ContextHandleImpl::Callback const& callback)
{
    detail::ViewState::Pointer const kept{state};
    return kept->acquire(*this, id, callback);
}

void ContextView::release(ContextHandleImpl* handle) noexcept
{
    if (!handle)
        return;
    detail::ViewState::Pointer const kept{state};
    kept->release(*handle);
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
    detail::ViewState::Pointer const kept{state};
    return kept->createRecord(id);
}

void ContextView::destroyRecord(HandleRecord* record)
{
    detail::ViewState::Pointer const kept{state};
    kept->destroyRecord(record);
}

ContextData ContextView::cloneData(Id const& id)
{
    return state->cloneData(id);
}

void ContextView::createClosure(ContextData const& clone)
{
    detail::ViewState::Pointer const kept{state};
    kept->createClosure(clone);
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
    detail::ViewState::Pointer const kept{state};
    kept->discardOrphans();
}

bool ContextView::concerns(tarn::zero::ElementImpl const& element, std::uint64_t) const noexcept
{
    return state->concerns(static_cast<tarn::zero::ModelElement::Impl const&>(element));
}

void ContextView::transactionCommitted(tarn::zero::ShallowChangeReport<Property> const& report)
{
    detail::ViewState::Pointer const kept{state};
    kept->followProperties(report);
}

void ContextView::transactionCommitted(tarn::zero::ShallowChangeReport<ContextData> const& report)
{
    detail::ViewState::Pointer const kept{state};
    kept->followContexts(report);
}

}   // namespace studio::data
