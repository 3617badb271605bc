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
        for (tarn::zero::ReportEntry const entry : report.created())
            note("+" + nameOf(entry), entry);
        for (tarn::zero::ReportEntry const entry : report.modified())
            note(nameOf(entry), entry);
        for (tarn::zero::ReportEntry const entry : report.destroyed())
            note("-" + nameOf(entry), entry);
        if (onProperties)
            onProperties();
    }

    void transactionCommitted(tarn::zero::ShallowChangeReport<ContextData> const& report)
    {
        for (tarn::zero::ReportEntry const entry : report.created())
            note("+context", entry);
        for (tarn::zero::ReportEntry const entry : report.modified())
            note("context", entry);
        for (tarn::zero::ReportEntry const entry : report.destroyed())
            note("-context", entry);
        if (onContexts)
            onContexts();
    }

    /// What was noted since the last time, with spaces between.
    std::string takeHeard() { return std::exchange(m_heard, {}); }

    std::function<void()> onProperties;
    std::function<void()> onContexts;
    tarn::zero::ModelElement last;   ///< the element that was noted last

private:
    static std::string nameOf(tarn::zero::ReportEntry const& entry)
    {
        return static_cast<Property::Impl const*>(entry.element().get())->getName();
    }
    void note(std::string const& word, tarn::zero::ReportEntry const& entry)
    {
        m_heard += m_heard.empty() ? word : ' ' + word;
        last = entry.element();
    }

    std::string m_heard;
};

}   // namespace support
