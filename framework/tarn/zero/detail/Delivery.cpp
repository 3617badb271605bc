#include "tarn/zero/detail/Delivery.h"

#include "tarn/zero/ReportData.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <stdexcept>
#include <string>

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
    for (std::size_t i = 0; i != std::min(count, mostElements); ++i)
        text += (i == 0 ? "" : ", ") + shortName(*report.storages()[i]->element().get());
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
    ++m_depth;

    // Frames already completed by a nested commit stay in the list until their own commit returns; `serve` skips them.
    for (Frame* older = m_oldest; older; older = older->newer)
        serve(*older);

    --m_depth;
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
    list.reserve(m_depth);
    for (Frame const* frame = m_oldest; frame; frame = frame->newer)
        list.push_back(frame->report.get());
    return list;
}

}   // namespace tarn::zero::detail
