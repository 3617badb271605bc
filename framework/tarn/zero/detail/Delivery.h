#pragma once

#include "tarn/zero/detail/ListenerList.h"

#include <cstddef>
#include <memory>
#include <vector>

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

    /// How many reports may be under way when another commit begins. Not 0.
    std::size_t limit() const noexcept { return m_limit; }
    void setLimit(std::size_t limit) noexcept { m_limit = limit; }
    /// True if that many are.
    bool isFull() const noexcept { return m_depth >= m_limit; }
    /// Throws `std::runtime_error`, whose text names what the newest reports under way changed.
    [[noreturn]] void refuse() const;

private:
    friend class tarn::zero::Invariants;

    struct Frame;   // one report under way; lives on the stack of its commit

    static void serve(Frame& frame);
    std::vector<ReportData const*> reports() const;

    Frame* m_oldest = nullptr;   // with listeners left to serve
    Frame* m_newest = nullptr;
    std::size_t m_depth = 0;   // frames
    std::size_t m_limit = 1'000;
};

}   // namespace tarn::zero::detail
