#pragma once

#include "support/Elements.h"
#include "tarn/zero/ReportData.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace support {

/// What a report lists, as in "+a b -c": a `+` was created, a `-` destroyed. A context is called "context".
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

/// Hears of every commit of one model and notes what it is told, a piece for each of its two overloads: "+a b;
/// context".
class ReportRecorder : public tarn::zero::Listener {
public:
    using Data = std::shared_ptr<tarn::zero::ReportData>;

    explicit ReportRecorder(Model heardOf) : model{std::move(heardOf)} { model->addDeepListener(this); }
    ~ReportRecorder() override { model->removeListener(this); }

    /// What was heard since the last time.
    std::string take() { return std::exchange(heard, {}); }

    void transactionCommitted(tarn::zero::DeepChangeReport<Property> const& report) { note(report, onProperties); }
    void transactionCommitted(tarn::zero::ShallowChangeReport<ContextData> const& report) { note(report, onContexts); }
    void listenerRemoved() override { ++removals; }

    /// What the test wants done after each piece. May destroy this.
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
