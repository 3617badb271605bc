#pragma once

#include "support/Elements.h"
#include "tarn/zero/ReportData.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace support {

/// Returns the elements of a report, as in "+a b -c": `+` marks a created one, `-` a destroyed one. A context is called
/// "context".
template <class Report>
std::string listed(Report const& report)
{
    std::string text;
    auto const list = [&](char const* sign, tarn::zero::ReportRange const& range) {
        for (tarn::zero::ReportEntry const entry : range) {
            Property::Impl const* const property = tarn::zero::elementCast<Property>(entry.element());
            text += (text.empty() ? "" : " ") + (sign + (property ? property->getName() : "context"));
        }
    };
    list("+", report.created());
    list("", report.modified());
    list("-", report.destroyed());
    return text;
}

/// Listens to every commit of one model and records a part for each of its two overloads: "+a b; context".
class ReportRecorder : public tarn::zero::Listener {
public:
    using Data = std::shared_ptr<tarn::zero::ReportData>;

    explicit ReportRecorder(Model heardOf) : model{std::move(heardOf)} { model->addDeepListener(this); }
    ~ReportRecorder() override { model->removeListener(this); }

    /// Returns the parts recorded since the last call.
    std::string take() { return std::exchange(heard, {}); }

    void transactionCommitted(tarn::zero::DeepChangeReport<Property> const& report) { note(report, onProperties); }
    void transactionCommitted(tarn::zero::ShallowChangeReport<ContextData> const& report) { note(report, onContexts); }
    void listenerRemoved() override { ++removals; }

    /// Called after each part. May destroy this object.
    std::function<void(Data const&)> onProperties, onContexts;
    int removals = 0;

private:
    template <class Report>
    void note(Report const& report, std::function<void(Data const&)> const call)
    {
        heard += (heard.empty() ? "" : "; ") + listed(report);
        if (call)
            call(report.data());
    }

    Model model;
    std::string heard;
};

}   // namespace support
