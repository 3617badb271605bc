#pragma once

#include "studio/data/ContextProvider.h"
#include "support/ReportRecorder.h"

namespace support {

/// Listens to every commit of the shared model: records what changed, one word each, and then runs the test's action.
class ContextWatch : public tarn::zero::Listener {
public:
    ContextWatch() { studio::data::ContextProvider::sharedModel()->addDeepListener(this); }
    ~ContextWatch() override { studio::data::ContextProvider::sharedModel()->removeListener(this); }

    void transactionCommitted(tarn::zero::ShallowChangeReport<Property> const& report) { note(report, onProperties); }
    void transactionCommitted(tarn::zero::ShallowChangeReport<ContextData> const& report) { note(report, onContexts); }

    /// Returns the words recorded since the last call, separated by spaces.
    std::string takeHeard() { return std::exchange(m_heard, {}); }

    std::function<void()> onProperties, onContexts;
    tarn::zero::ModelElement last;   ///< the newest context in a report

private:
    template <class Report>
    void note(Report const& report, std::function<void()> const& then)
    {
        m_heard += (m_heard.empty() ? "" : " ") + listed(report);
        for (tarn::zero::ReportEntry const entry : report.created())
            last = entry.element();
        if (then)
            then();
    }

    std::string m_heard;
};

/// Returns the id of a provider whose construction failed: looking it up throws `std::bad_weak_ptr`.
inline boost::uuids::uuid deadEntry()
{
    struct Refusal {};
    ContextWatch watch;
    watch.onContexts = [] { throw Refusal{}; };
    try {
        studio::data::ContextProvider::create();
    } catch (Refusal const&) {}
    return watch.last.Uuid();
}

}   // namespace support
