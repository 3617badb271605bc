#include "tarn/zero/detail/Delivery.h"

#include "tarn/zero/ReportData.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <utility>

namespace tarn::zero::detail {

namespace {

using Reports = std::vector<ReportData const*>;

constexpr std::size_t longestCircle = 16;   // longest cycle that is searched for, in commits
constexpr std::size_t mostCommits = 8;      // commits that are named if there is no cycle
constexpr std::size_t mostElements = 3;     // elements named per commit

std::string shortName(ModelElement::Impl const& element)
{
    std::string const name = element.nameInMessages();
    ModelElement::Impl const* const container = element.containerImpl();
    return name.empty() || !container ? element.describe() : '"' + name + "\" of " + container->describe();
}

std::string namesIn(ReportData const& report)
{
    std::string text;
    std::size_t const count = report.storages().size();
    for (std::size_t i = 0; i != std::min(count, mostElements); ++i) {
        text += i == 0 ? "" : ", ";
        text += shortName(*report.storages()[i]->element().get());
    }
    return count <= mostElements ? text : text + " and " + std::to_string(count - mostElements) + " more";
}

bool changedTheSame(ReportData const& left, ReportData const& right)
{
    return std::equal(left.storages().begin(), left.storages().end(), right.storages().begin(), right.storages().end(),
                      [](auto const* one, auto const* other) { return one->element() == other->element(); });
}

/// Length of the cycle in which the last commits repeat the changes of those before them; 0 if there is none.
std::size_t circle(Reports const& reports)
{
    for (std::size_t length = 1; length <= std::min(longestCircle, reports.size() / 2); ++length)
        if (std::equal(reports.rbegin(), reports.rbegin() + static_cast<std::ptrdiff_t>(length),
                       reports.rbegin() + static_cast<std::ptrdiff_t>(length),
                       [](auto const* one, auto const* other) { return changedTheSame(*one, *other); }))
            return length;
    return 0;
}

}   // namespace

void Delivery::deliver(std::shared_ptr<ReportData> const& report, ListenerList::Snapshot const& holders)
{
    if (holders.size() == 0)
        return;
    PendingDelivery pending{report, holders};
    m_pending.push_back(pending);
    // Reports already completed by a nested commit stay in the list until their own commit returns; `serve` skips them.
    for (PendingDelivery& older : m_pending)
        serve(older);
    m_pending.pop_back();   // nested commits have returned
    if (pending.firstException)
        std::rethrow_exception(pending.firstException);
}

void Delivery::serve(PendingDelivery& pending)
{
    std::uint64_t const outer = std::exchange(m_servedNumber, pending.report->number());
    while (pending.next != pending.holders.size()) {
        ListenerHolderBase& holder = pending.holders[pending.next++];
        if (!holder.listener())
            continue;
        try {
            holder.transactionCommitted(pending.report);
        } catch (...) {
            if (!pending.firstException)
                pending.firstException = std::current_exception();
        }
    }
    m_servedNumber = outer;
}

void Delivery::refuse() const
{
    Reports const underWay = reports();
    std::size_t const length = circle(underWay);
    std::size_t const named = length != 0 ? length + 1 : std::min(mostCommits, underWay.size());
    std::string text = "a transaction is refused inside the delivery of " + std::to_string(underWay.size()) +
                       " commits, each made by a listener of the one before";
    text += length != 0 ? ", which change in a circle " : ", of which the last changed ";
    for (std::size_t i = underWay.size() - named; i != underWay.size(); ++i)
        text += namesIn(*underWay[i]) + (i + 1 == underWay.size() ? "" : " -> ");
    throw std::runtime_error{text};
}

std::vector<ReportData const*> Delivery::reports() const
{
    Reports list;
    list.reserve(m_pending.size());
    for (PendingDelivery const& pending : m_pending)
        list.push_back(pending.report.get());
    return list;
}

}   // namespace tarn::zero::detail
