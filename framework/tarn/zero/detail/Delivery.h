#pragma once

#include "tarn/zero/detail/ListenerList.h"

#include <memory>

namespace tarn::zero::detail {

/// Hands reports to listeners in commit order. A commit made by a listener first hands the older reports to the
/// listeners that have not had them, so everybody hears everything once and in order.
class Delivery {
public:
    /// Serves `report`, which the caller keeps, to the listeners of now and returns when all have had it; then rethrows
    /// the first exception that a listener threw at it.
    void deliver(std::shared_ptr<ReportData> const& report, ListenerList::Snapshot const& holders);

    /// True if no report is under way.
    bool isIdle() const noexcept { return m_oldest == nullptr; }

private:
    friend class tarn::zero::Invariants;

    struct Frame;   // one report under way; lives on the stack of its commit

    static void serve(Frame& frame);

    Frame* m_oldest = nullptr;   // with listeners left to serve
    Frame* m_newest = nullptr;
};

}   // namespace tarn::zero::detail
