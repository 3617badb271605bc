#pragma once

#include "studio/data/ContextHandleImpl.h"

namespace studio::data {

/// Shared by a view, its handles and its functions that call out: says whether the view still exists.
struct ContextHandleImpl::Life {
    ContextView* view;     // null once the last record is gone
    bool ending = false;   // the destructor has begun
};

}   // namespace studio::data
