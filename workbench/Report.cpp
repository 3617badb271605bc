#include "workbench/Report.h"

#include "workbench/Terminal.h"
#include "workbench/Text.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace workbench {

namespace {

constexpr std::size_t TEXT_WIDTH = 72;
constexpr std::size_t SOURCE_WIDTH = 48;

/// Returns `part` of `whole` in percent, with the digits that a small share needs; 0 % if `whole` is 0.
std::string percent(std::size_t part, std::size_t whole)
{
    double const share = whole == 0 ? 0 : 100.0 * static_cast<double>(part) / static_cast<double>(whole);
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), share < 10 ? "%.1f %%" : "%.0f %%", share);
    return text.data();
}

std::string aligned(std::string const& text, std::size_t width)
{
    return std::string(width - std::min(width, text.size()), ' ') + text;
}

std::string line(std::string const& what, std::string const& text)
{
    return what + std::string(16 - std::min<std::size_t>(what.size(), 15), ' ') + text + '\n';
}

std::string described(Expression const& expression, bool whole)
{
    std::string text = oneLine(expression.text, whole ? std::string::npos : TEXT_WIDTH);
    if (!expression.source.empty())
        text += "   [" + oneLine(expression.source, whole ? std::string::npos : SOURCE_WIDTH) + "]";
    return text;
}

}   // namespace

void Report::opening(Recording const& recording)
{
    out << title << ": " << counted(expressions.size(), "expression") << ", " << counted(recording.contexts, "context")
        << ", " << counted(recording.steps.size(), "step") << "\n\n";
}

void Report::step(std::size_t number, Step const& step, StepResult const& result)
{
    std::size_t const lineWidth = width.value_or(std::string::npos);
    std::size_t const textWidth = width ? TEXT_WIDTH : std::string::npos;   // elsewhere nothing is cut
    std::string head = "step " + std::to_string(number);
    if (!step.during.empty())
        head += "  " + oneLine(step.during, textWidth);
    head += "  (" + counted(step.operations.size(), "operation") + ", " + lasting(result.time) + ")";
    out << oneLine(head + (result.changes.empty() ? ": silent" : ""), lineWidth) << '\n';
    for (Change const& change : result.changes)
        out << oneLine("  " + aligned(std::to_string(change.expression), 5) + "  " +
                           oneLine(shown(change.from), textWidth) + " -> " + oneLine(shown(change.to), textWidth) +
                           "   in " + described(expressions[change.expression], !width),
                       lineWidth)
            << '\n';
    expectWritten(out);
}

void Report::summary(Statistics const& statistics)
{
    std::size_t const everything = statistics.steps() * expressions.size();
    out << line("steps",
                counted(statistics.steps()) + ", each one transaction; " + counted(statistics.silentSteps) + " silent");
    out << line("operations", counted(statistics.operations));
    out << line("notifications",
                counted(statistics.notifications) +
                    (statistics.mostInStep == 0 ? ""
                                                : "; most in one step: " + counted(statistics.mostChanges) + " (step " +
                                                      std::to_string(statistics.mostInStep) + ")"));
    out << line("time per step", "median " + lasting(statistics.within(0.5)) + ", 90 % within " +
                                     lasting(statistics.within(0.9)) + ", longest " + lasting(statistics.within(1)) +
                                     "; all steps " + lasting(statistics.total()));
    out << line("evaluations", counted(everything) + " in a host that evaluates everything after each step; " +
                                   percent(statistics.notifications, everything) + " would find a change");
    busiest(statistics);
}

void Report::busiest(Statistics const& statistics)
{
    std::vector<std::size_t> const ranking = statistics.busiest(10);
    if (ranking.empty())
        return;
    out << "\nbusiest expressions, by changes\n";
    for (std::size_t const expression : ranking)
        out << aligned(counted(statistics.changesOf[expression]), 8) << "  "
            << described(expressions[expression], false) << '\n';
}

void Report::comparison(Reference const& reference, Statistics const& statistics)
{
    out << '\n'
        << line("in comparison", "a host that evaluates everything: " + counted(reference.evaluations(), "evaluation") +
                                     " in " + lasting(reference.time()) + "; all steps here took " +
                                     lasting(statistics.total()));
}

void Report::verdict(std::string const& against, Check const& check, Statistics const& statistics)
{
    out << '\n' << title << ", " << against << ": " << counted(check.differences(), "difference") << " in ";
    if (check.initialValues() == expressions.size())
        out << counted(expressions.size(), "initial value") << " and ";
    if (check.steps() < statistics.steps())   // the others have no recorded answers
        out << counted(check.steps()) << " of ";
    out << counted(statistics.steps(), "step") << '\n';
    differences(check.differences(), check.first());
}

void Report::verdict(Mirror const& mirror, bool everyStep)
{
    out << '\n'
        << title << ", the mirror of the root, compared " << (everyStep ? "after every step" : "at the end") << ": "
        << counted(mirror.differences(), "difference") << "; now " << counted(mirror.contexts(), "context") << " with "
        << counted(mirror.properties(), "value") << '\n';
    differences(mirror.differences(), mirror.first());
}

void Report::differences(std::size_t count, std::vector<std::string> const& first)
{
    for (std::string const& difference : first)
        out << "  " << difference << '\n';
    if (count > first.size())
        out << "  and " << counted(count - first.size()) << " more\n";
    expectWritten(out);
}

}   // namespace workbench
