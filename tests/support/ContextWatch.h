#pragma once

#include "studio/data/ContextProvider.h"
#include "studio/data/model/ContextDataImpl.h"
#include "studio/data/model/PropertyImpl.h"
#include "tarn/zero/ModelImpl.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace support {

/// Hears of every commit of the shared model: notes what changed, one word each, and then does what the test wants.
class ContextWatch : public tarn::zero::Listener {
public:
    using Property = studio::data::Property;
    using ContextData = studio::data::ContextData;
    using Reports =
        tarn::zero::ReportList<tarn::zero::ShallowChangeReport<Property>, tarn::zero::ShallowChangeReport<ContextData>>;

    ContextWatch() { studio::data::ContextProvider::sharedModel()->addDeepListener(this); }
    ~ContextWatch() override { studio::data::ContextProvider::sharedModel()->removeListener(this); }

    void transactionCommitted(tarn::zero::ShallowChangeReport<Property> const& report)
    {
        note(report, [](auto const& element) { return static_cast<Property::Impl const*>(element.get())->getName(); });
        if (onProperties)
            onProperties();
    }
    void transactionCommitted(tarn::zero::ShallowChangeReport<ContextData> const& report)
    {
        note(report, [](auto const&) { return std::string{"context"}; });
        if (onContexts)
            onContexts();
    }

    /// What was noted since the last time, with spaces between.
    std::string takeHeard() { return std::exchange(m_heard, {}); }

    std::function<void()> onProperties;
    std::function<void()> onContexts;
    tarn::zero::ModelElement last;   ///< the element that was noted last

private:
    template <class Report, class NameOf>
    void note(Report const& report, NameOf const& nameOf)
    {
        auto const list = [&](char const* sign, tarn::zero::ReportRange const& range) {
            for (tarn::zero::ReportEntry const entry : range) {
                last = entry.element();
                m_heard += (m_heard.empty() ? "" : " ") + (sign + nameOf(last));
            }
        };
        list("+", report.created());
        list("", report.modified());
        list("-", report.destroyed());
    }

    std::string m_heard;
};

}   // namespace support
