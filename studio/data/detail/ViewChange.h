#pragma once

#include "studio/data/ContextView.h"
#include "studio/data/detail/ViewLife.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/Transaction.h"

#include <boost/none.hpp>

#include <memory>

namespace studio::data {

/// One transaction of a view's model. If it rolls back, the view's graph is rebuilt from the remaining clones.
class ContextView::Change {
public:
    explicit Change(ContextView& view) : life{view.life}, transaction{view.model->beginTransaction(true)} {}
    Change(Change const&) = delete;
    Change& operator=(Change const&) = delete;
    ~Change()
    {
        if (open && life->view)
            life->view->stale = true;
    }

    /// Commits. The view may be destroyed when this returns or throws: the model may have listeners.
    void commit()
    {
        try {
            transaction.commit(boost::none);
            open = false;
        } catch (...) {
            open = life->view && life->view->model->isInTransaction();   // if false, committed: a listener threw
            throw;
        }
    }

    bool viewLives() const noexcept { return life->view != nullptr; }

private:
    std::shared_ptr<ContextHandleImpl::Life> life;
    tarn::zero::Transaction transaction;
    bool open = true;
};

}   // namespace studio::data
