#pragma once

#include "foundation/Export.h"

#include <string>
#include <string_view>

namespace tarn::zero {
class ReportData;
}

namespace studio::data {

class PropertyValue;

/// Watches the work of an engine, for layers above it and for tools. Every function does nothing unless it is
/// overridden.
///
/// A *round* is the processing of one report, or of one `ExpressionEngine::updateExpression`. A callback that writes
/// starts a round inside the running one. Observers are called in the order of their registration. Only `roundsEnded`
/// may change anything; the others may run in the middle of a round and must neither write nor use the engine.
class STUDIO_DATA_EXPORT EngineObserver {
public:
    EngineObserver() = default;
    EngineObserver(EngineObserver const&) = delete;
    EngineObserver& operator=(EngineObserver const&) = delete;
    virtual ~EngineObserver();

    /// Called before anything of a round happens. `report` is what the engine processes, null for `updateExpression`.
    virtual void roundBegins(tarn::zero::ReportData const* report) noexcept;
    /// Called when a report has touched the path of a symbol before its last component, and the symbol is bound to its
    /// present path.
    virtual void symbolRebound(std::string_view symbol) noexcept;
    /// Called after each evaluation but an expression's first, before its handles are notified. `before` and `after`
    /// are often equal.
    virtual void expressionEvaluated(std::string const& text, PropertyValue const& before,
                                     PropertyValue const& after) noexcept;
    /// Called before the callback of a handle, in a round.
    virtual void handleNotified(std::string const& text, PropertyValue const& value) noexcept;
    /// Called when a round has ended, also by an exception, with the report of its `roundBegins`. Rounds end in the
    /// reverse order of their beginnings. Not called if the engine was destroyed in the round.
    virtual void roundEnds(tarn::zero::ReportData const* report) noexcept;
    /// Called when the engine is about to be destroyed: no call follows, and the observer need not be removed.
    virtual void engineEnds() noexcept;
    /// Called when the outermost round has ended, also by an exception, and no callback is running. May do anything:
    /// write, which starts rounds of their own and ends them for all observers before this call returns, acquire,
    /// release, add and remove observers, destroy the engine. Later observers are called even if it throws; the first
    /// exception then leaves the commit or the `updateExpression` that began the round, unless that throws already.
    virtual void roundsEnded();
};

}   // namespace studio::data
