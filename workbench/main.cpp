#include "workbench/Arguments.h"
#include "workbench/Check.h"
#include "workbench/Document.h"
#include "workbench/Json.h"
#include "workbench/Mirror.h"
#include "workbench/Progress.h"
#include "workbench/Reference.h"
#include "workbench/Report.h"
#include "workbench/Session.h"
#include "workbench/Statistics.h"
#include "workbench/Text.h"
#include "workbench/Writer.h"
#include "workbench/sample/Sample.h"

#include <chrono>
#include <exception>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace workbench {

namespace {

enum ExitCode { GOOD = 0, DIFFERENT = 1, UNUSABLE = 2 };

/// What a run works on.
struct Material {
    std::string title;
    std::vector<Expression> expressions;
    Recording recording;
};

Material materialOf(Arguments const& arguments)
{
    if (arguments.expressions.empty())
        return {"sample, a day at a small editor", sample::expressions(), sample::day()};
    std::vector<Expression> expressions = loadExpressions(arguments.expressions);
    Recording recording = loadRecording(arguments.recording, expressions.size());
    return {arguments.recording, std::move(expressions), std::move(recording)};
}

/// The sample's answers come from the host that evaluates everything, so that replaying the files checks the library.
void saveSample(std::string const& folder)
{
    std::vector<Expression> const expressions = sample::expressions();
    Recording recording = sample::day();
    Reference reference(expressions, recording.initial,
                        [](std::size_t context) { return "context " + std::to_string(context); });
    recording.hasAnswers = true;
    recording.initialValues = reference.values();
    for (Step& step : recording.steps)
        step.changed = reference.step(step.operations);
    saveExpressions(folder + "/expressions.json", expressions);
    saveRecording(folder + "/session.json", recording);
}

/// How long each step takes with nothing in between. A host that asks the library does not evaluate everything, too,
/// which would leave it with empty caches.
std::vector<std::chrono::nanoseconds> timesAlone(Material const& material, bool mirrors)
{
    Session session(material.expressions, material.recording);
    std::optional<Mirror> mirror;
    if (mirrors)
        mirror.emplace(session.root());
    std::vector<std::chrono::nanoseconds> times;
    for (Step const& step : material.recording.steps)
        times.push_back(session.run(step).time);
    return times;
}

ExitCode replay(Arguments const& arguments, Material const& material)
{
    auto const& [title, expressions, recording] = material;
    bool const checks = arguments.check && recording.hasAnswers;
    bool const verifies = arguments.verify || (arguments.check && !recording.hasAnswers);
    Report report(std::cout, expressions);
    Statistics statistics(expressions.size());
    Check recorded(expressions);
    Check evaluated(expressions);

    std::vector<std::chrono::nanoseconds> const alone =
        verifies ? timesAlone(material, arguments.mirror) : std::vector<std::chrono::nanoseconds>{};
    Session session(expressions, recording);
    std::optional<Reference> reference;
    if (checks)
        recorded.initial(recording.initialValues, session.values());
    if (verifies) {
        reference.emplace(expressions, recording.initial,
                          [&](std::size_t context) { return session.reference(context); });
        evaluated.initial(reference->values(), session.values());
    }
    std::optional<Mirror> mirror;
    if (arguments.mirror)
        mirror.emplace(session.root());
    if (!arguments.quiet)
        report.opening(title, recording);
    {
        Progress progress(recording.steps.size(), !arguments.quiet && !arguments.trace);
        std::size_t number = 0;
        for (Step const& step : recording.steps) {
            StepResult result = session.run(step);
            if (verifies)
                result.time = alone[number];
            statistics.add(step, result);
            ++number;
            if (checks)
                recorded.step(number, step.changed, result);
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
    return differences == 0 ? GOOD : DIFFERENT;
}

ExitCode run(std::vector<std::string> const& words)
{
    Arguments const arguments = Arguments::read(words);
    ExitCode result = GOOD;
    if (arguments.help)
        std::cout << Arguments::HELP;
    else if (arguments.version)
        std::cout << "studio-workbench " << STUDIO_DATA_VERSION << '\n';
    else if (!arguments.saveSample.empty())
        saveSample(arguments.saveSample);
    else
        result = replay(arguments, materialOf(arguments));
    if (!std::cout.flush())
        throw std::runtime_error("the output cannot be written");
    return result;
}

}   // namespace

}   // namespace workbench

int main(int count, char** words)
{
    using namespace workbench;
    try {
        return run({words + 1, words + count});
    } catch (UsageError const& error) {
        std::cerr << "studio-workbench: " << oneLine(error.what()) << "; --help says what it takes\n";
    } catch (std::exception const& error) {
        std::cerr << "studio-workbench: " << oneLine(error.what()) << '\n';
    }
    return UNUSABLE;
}
