#include "tarn/zero/detail/Delivery.h"

#include <cstddef>
#include <exception>

namespace tarn::zero::detail {

struct Delivery::Frame {
    std::shared_ptr<ReportData> const& report;
    ListenerList::Snapshot holders;
    std::size_t next = 0;
    std::exception_ptr firstException;
    Frame* newer = nullptr;
};

void Delivery::deliver(std::shared_ptr<ReportData> const& report, ListenerList::Snapshot const& holders)
{
    if (holders.size() == 0)
        return;
    Frame frame{report, holders, 0, nullptr, nullptr};
    Frame* const outer = m_newest;
    (outer ? outer->newer : m_oldest) = &frame;
    m_newest = &frame;

    // Frames that a listener's own commit has served to the end stay until their commit returns; skip them.
    for (Frame* older = m_oldest; older; older = older->newer)
        serve(*older);

    m_newest = outer;
    (outer ? outer->newer : m_oldest) = nullptr;
    if (frame.firstException)
        std::rethrow_exception(frame.firstException);
}

void Delivery::serve(Frame& frame)
{
    while (frame.next != frame.holders.size()) {
        ListenerHolderBase& holder = frame.holders[frame.next++];
        if (!holder.listener())
            continue;
        try {
            holder.transactionCommitted(frame.report);
        } catch (...) {
            if (!frame.firstException)
                frame.firstException = std::current_exception();
        }
    }
}

}   // namespace tarn::zero::detail
