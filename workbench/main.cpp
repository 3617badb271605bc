#include "studio/inspect/Explanation.h"
#include "workbench/Arguments.h"
#include "workbench/CommandCheck.h"
#include "workbench/CommandFiles.h"
#include "workbench/CommandsDay.h"
#include "workbench/Document.h"
#include "workbench/Json.h"
#include "workbench/RecordedState.h"
#include "workbench/Reference.h"
#include "workbench/Replay.h"
#include "workbench/Report.h"
#include "workbench/System.h"
#include "workbench/Terminal.h"
#include "workbench/Text.h"
#include "workbench/Writer.h"
#include "workbench/sample/Sample.h"

#include <exception>
#include <iostream>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace workbench {

namespace {

enum ExitCode { GOOD = 0, DIFFERENT = 1, UNUSABLE = 2 };

/// Loads every session before any is replayed: an unusable file is rejected before there is output.
std::vector<Material> loadMaterials(Arguments const& arguments, std::size_t expressions)
{
    std::vector<Material> materials;
    for (std::string const& file : arguments.recordings) {
        materials.push_back({file, loadRecording(file, expressions)});
        if (arguments.check && (expressions == 0 || !materials.back().recording.hasAnswers()))
            throw DocumentError(file, "no recorded answers", "--check has nothing to compare; --verify needs none");
    }
    return materials;
}

/// Writes the sample's files. Their answers come from the host that evaluates everything, so that replaying the files
/// checks the library.
void saveSample(std::string const& folder, bool force)
{
    std::vector<std::string> const files{folder + "/expressions.json", folder + "/session.json"};
    std::string const present = presentAmong(files);
    if (!present.empty() && !force) {
        if (!canConfirm())
            throw std::runtime_error(present + ": already there; --force overwrites");
        if (!confirm(oneLine(present) + ": already there; overwrite?"))
            throw std::runtime_error("nothing was written");
    }
    std::vector<Expression> const expressions = sample::expressions();
    Recording recording = sample::day();
    Reference reference(expressions, recording.initial,
                        [](std::size_t context) { return "context " + std::to_string(context); });
    recording.initialValues = reference.values();
    for (Step& step : recording.steps)
        step.changed = reference.step(step.operations);
    // What appeared after the question was not meant by it.
    writeFiles({{files[0], expressionsText(expressions)}, {files[1], recordingText(recording)}},
               force || !present.empty() ? Existing::Replace : Existing::Keep);
}

/// Prints which of several sessions agreed.
void summarize(std::vector<std::string> const& different, std::size_t sessions)
{
    std::cout << '\n'
              << counted(sessions, "session") << ": " << counted(sessions - different.size())
              << " without differences, ";
    std::cout << counted(different.size()) << " with";
    char const* separator = ": ";
    for (std::string const& title : different)
        std::cout << std::exchange(separator, ", ") << oneLine(title);
    std::cout << '\n';
}

ExitCode replayAll(Arguments const& arguments)
{
    bool const isSample = arguments.expressions.empty();
    std::vector<Expression> const expressions =
        isSample ? sample::expressions() : loadExpressions(arguments.expressions);
    std::vector<Material> const materials =
        isSample ? std::vector<Material>{{"sample, a day at a small editor", sample::day()}}
                 : loadMaterials(arguments, expressions.size());
    std::optional<std::size_t> const width = terminalWidth();
    std::vector<std::string> different;
    for (Material const& material : materials) {
        if (&material != &materials.front() && !arguments.quiet)
            std::cout << '\n';
        if (replay(arguments, expressions, material, width) > 0)
            different.push_back(material.title);
    }
    bool const compared = arguments.check || arguments.verify || arguments.mirror;
    if (isSample && !compared && !arguments.trace && !arguments.quiet) {
        std::cout << '\n';
        showCommandsDay(std::cout, Moments::InBrief, width);
    }
    if (materials.size() > 1 && compared && (!arguments.quiet || !different.empty()))
        summarize(different, materials.size());
    return different.empty() ? GOOD : DIFFERENT;
}

/// Prints the explanation of one expression after a step.
void explainOne(Arguments const& arguments)
{
    bool const isSample = arguments.expressions.empty();
    std::vector<Expression> const expressions =
        isSample ? sample::expressions() : loadExpressions(arguments.expressions);
    Recording const recording =
        isSample ? sample::day() : loadRecording(arguments.recordings.front(), expressions.size());
    auto const [number, step] = *arguments.explain;
    if (number >= expressions.size())
        throw UsageError("--explain: there are " + counted(expressions.size(), "expression") + ", counted from 0");
    if (step > recording.steps.size())
        throw UsageError("--explain: the session has " + counted(recording.steps.size(), "step"));
    std::cout << studio::inspect::describe(
        studio::inspect::explain(expressions[number].text, RecordedState::idOf(0), RecordedState(recording, step)));
}

/// Replays a session under commands, menus and keys.
ExitCode checkCommands(Arguments const& arguments)
{
    using Disabled = studio::commands::Keymap::Disabled;
    std::vector<std::string> const& names = arguments.commandFiles;
    CommandFiles const files = loadCommandFiles(names[0], names[1]);
    Recording const recording = loadOperations(names[2]);
    CommandAnswers const answers = loadCommandAnswers(names[3], files, recording.steps.size());
    ExitCode result = GOOD;
    for (char const* const policy : {"when", "enabled"}) {
        if (!arguments.policy.empty() && arguments.policy != policy)
            continue;
        CommandCheck const check = checkCommands(
            files, recording, answers, policy == std::string("when") ? Disabled::Swallowed : Disabled::PassedOver);
        if (check.differences > 0)
            result = DIFFERENT;
        if (arguments.quiet && check.differences == 0)
            continue;
        std::cout << oneLine(names[3]) << ", --policy " << policy << ": " << counted(check.differences, "difference")
                  << " in " << counted(check.keys) << " verdicts on keys, " << counted(check.menus) << " menus and "
                  << counted(check.commands) << " states of commands over " << counted(check.steps, "step") << '\n';
        for (std::string const& line : check.first)
            std::cout << "  " << line << '\n';
    }
    return result;
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
        saveSample(arguments.saveSample, arguments.force);
    else if (arguments.explain)
        explainOne(arguments);
    else if (arguments.commands)
        showCommandsDay(std::cout, Moments::All, terminalWidth());
    else if (arguments.checkCommands)
        result = checkCommands(arguments);
    else
        result = replayAll(arguments);
    expectWritten(std::cout);
    return result;
}

}   // namespace

}   // namespace workbench

int main(int count, char** words)
{
    using namespace workbench;
    system::prepareStreams();
    try {
        return run(system::argumentsOf(count, words));
    } catch (UsageError const& error) {
        std::cerr << "studio-workbench: " << oneLine(error.what()) << "; see --help\n";
    } catch (std::bad_alloc const&) {
        std::cerr << "studio-workbench: out of memory\n";
    } catch (std::exception const& error) {
        std::cerr << "studio-workbench: " << oneLine(error.what()) << '\n';
    }
    return UNUSABLE;
}
