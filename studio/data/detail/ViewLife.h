#pragma once

#include "studio/data/ContextHandleImpl.h"

namespace studio::data {

/// Tells who may outlast a view, its handles and its own functions that call out, whether it is still there.
struct ContextHandleImpl::Life {
    ContextView* view;     // null once the last record is gone
    bool ending = false;   // the destructor has begun
};

}   // namespace studio::data
