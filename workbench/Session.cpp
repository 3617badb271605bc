#include "workbench/Session.h"

#include "studio/data/ContextProvider.h"
#include "studio/data/ExpressionEngine.h"
#include "studio/data/ExpressionHandle.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace workbench {

using studio::data::ContextProvider;
using studio::data::ExpressionEngine;
using studio::data::PropertyValue;
namespace {

/// Merges the callbacks of a step: per expression the first `from` and the last `to`.
void netChanges(std::vector<Change>& calls, StepResult& result)
{
    std::stable_sort(calls.begin(), calls.end(),
                     [](Change const& left, Change const& right) { return left.expression < right.expression; });
    for (auto first = calls.begin(); first != calls.end();) {
        auto const last =
            std::find_if(first, calls.end(), [&](Change const& call) { return call.expression != first->expression; });
        if (last - first > 1)
            result.toldAgain.push_back(first->expression);
        if (!(first->from == (last - 1)->to))
            result.changes.push_back({first->expression, std::move(first->from), std::move((last - 1)->to)});
        first = last;
    }
}

}   // namespace

Session::Session(std::vector<Expression> const& expressions, Recording const& recording)
    : contexts(recording.contexts, ContextProvider::create()), reported(expressions.size())
{
    contexts.apply(recording.initial);
    engine = std::make_unique<ExpressionEngine>(root());
    handles.reserve(expressions.size());
    for (std::size_t i = 0; i < expressions.size(); ++i)
        subscribe(i, expressions[i].text);
    calls.clear();
}

Session::~Session() = default;

StepResult Session::run(Step const& step)
{
    StepResult result;
    auto const start = std::chrono::steady_clock::now();
    contexts.apply(step.operations);
    result.time = std::chrono::steady_clock::now() - start;
    result.notifications = calls.size();
    netChanges(calls, result);
    calls.clear();
    return result;
}

void Session::subscribe(std::size_t expression, std::string const& text)
{
    handles.push_back(
        engine->acquireExpression(text, [this, expression](std::string const&, PropertyValue const& value) {
            calls.push_back({expression, std::exchange(reported[expression], value), value});
        }));
}

}   // namespace workbench
