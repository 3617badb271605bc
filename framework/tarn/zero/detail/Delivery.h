#pragma once

#include "tarn/zero/detail/ListenerList.h"

#include <boost/intrusive/list.hpp>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <vector>

namespace tarn::zero::detail {

/// Delivers reports to listeners in commit order. A commit made by a listener first delivers the older reports to the
/// listeners that have not received them, so each listener receives each report once and in order.
class Delivery {
public:
    /// Delivers `report`, which the caller keeps, to `holders`; returns when all have received it. *Throws* the first
    /// exception that a listener threw for this report.
    void deliver(std::shared_ptr<ReportData> const& report, ListenerList::Snapshot const& holders);

    /// The number of the report that a listener is being notified of; 0 if there is none.
    std::uint64_t servedNumber() const noexcept { return m_servedNumber; }

    /// True if no report is in delivery.
    bool isIdle() const noexcept { return m_pending.empty(); }

    /// The number of reports in delivery at which another commit is refused. Not 0.
    std::size_t limit() const noexcept { return m_limit; }
    void setLimit(std::size_t limit) noexcept { m_limit = limit; }
    /// True if the limit is reached.
    bool isFull() const noexcept { return m_pending.size() >= m_limit; }
    /// *Throws* `std::runtime_error`, whose text names what the newest reports in delivery changed.
    [[noreturn]] void refuse() const;

private:
    friend class tarn::zero::Invariants;

    /// One report in delivery; lives on the stack of its commit.
    struct PendingDelivery
        : boost::intrusive::list_base_hook<boost::intrusive::link_mode<boost::intrusive::normal_link>> {
        PendingDelivery(std::shared_ptr<ReportData> const& given, ListenerList::Snapshot const& takers) noexcept
            : report{given}, holders{takers}
        {}

        std::shared_ptr<ReportData> const& report;
        ListenerList::Snapshot holders;
        std::size_t next = 0;   // the holder to serve
        std::exception_ptr firstException;
    };

    void serve(PendingDelivery& pending);
    std::vector<ReportData const*> reports() const;

    boost::intrusive::list<PendingDelivery> m_pending;   // oldest first
    std::size_t m_limit = 1'000;
    std::uint64_t m_servedNumber = 0;
};

}   // namespace tarn::zero::detail
