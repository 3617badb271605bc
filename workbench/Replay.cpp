#include "workbench/Replay.h"

#include "workbench/Check.h"
#include "workbench/Mirror.h"
#include "workbench/Progress.h"
#include "workbench/Reference.h"
#include "workbench/Report.h"
#include "workbench/Session.h"
#include "workbench/Statistics.h"

#include <chrono>
#include <iostream>

namespace workbench {

namespace {

/// Measures how long each step takes by itself. In the run that is compared, evaluating everything empties the
/// processor's caches between the steps, and a view is updated within them.
std::vector<std::chrono::nanoseconds> timesAlone(std::vector<Expression> const& expressions, Recording const& recording)
{
    Session session(expressions, recording);
    std::vector<std::chrono::nanoseconds> times;
    times.reserve(recording.steps.size());
    for (Step const& step : recording.steps)
        times.push_back(session.run(step).time);
    return times;
}

}   // namespace

std::size_t replay(Arguments const& arguments, std::vector<Expression> const& expressions, Material const& material,
                   std::optional<std::size_t> width)
{
    Recording const& recording = material.recording;
    bool const checks = arguments.check && recording.hasAnswers();
    bool const verifies = arguments.verify || (arguments.check && !checks);
    bool const timedAlone = verifies || arguments.mirror;
    Report report(std::cout, material.title, expressions, width);
    Statistics statistics(expressions.size());
    Check recorded(expressions);
    Check evaluated(expressions);

    std::vector<std::chrono::nanoseconds> const alone =
        timedAlone ? timesAlone(expressions, recording) : std::vector<std::chrono::nanoseconds>{};
    Session session(expressions, recording);
    std::optional<Reference> reference;
    if (checks && recording.initialValues)
        recorded.initial(*recording.initialValues, session.values());
    if (verifies) {
        reference.emplace(expressions, recording.initial,
                          [&](std::size_t context) { return session.reference(context); });
        evaluated.initial(reference->values(), session.values());
    }
    std::optional<Mirror> mirror;
    if (arguments.mirror)
        mirror.emplace(session.root());
    if (!arguments.quiet)
        report.opening(recording);
    {
        Progress progress(recording.steps.size(), !arguments.quiet && !arguments.trace);
        std::size_t number = 0;
        for (Step const& step : recording.steps) {
            StepResult result = session.run(step);
            if (timedAlone)
                result.time = alone[number];
            statistics.add(step, result);
            ++number;
            if (checks && step.changed)
                recorded.step(number, *step.changed, result);
            if (reference)
                evaluated.step(number, reference->step(step.operations), result);
            if (mirror && arguments.check)
                mirror->compare("step " + std::to_string(number));
            if (arguments.trace)
                report.step(number, step, result);
            progress.advance();
        }
    }
    if (!arguments.quiet) {
        if (arguments.trace)
            std::cout << '\n';
        report.summary(statistics);
        if (reference)
            report.comparison(*reference, statistics);
    }
    if (checks && (!arguments.quiet || recorded.differences() > 0))
        report.verdict("against the recorded answers", recorded, statistics);
    if (reference && (!arguments.quiet || evaluated.differences() > 0))
        report.verdict("against evaluating everything", evaluated, statistics);
    std::size_t differences = recorded.differences() + evaluated.differences();
    if (mirror) {
        mirror->compare("at the end");
        if (!arguments.quiet || mirror->differences() > 0)
            report.verdict(*mirror, arguments.check);
        differences += mirror->differences();
    }
    return differences;
}

}   // namespace workbench
