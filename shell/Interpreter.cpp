#include "shell/Interpreter.h"

#include "gel/ParseError.h"
#include "shell/Places.h"
#include "shell/Text.h"
#include "shell/Verbs.h"
#include "studio/data/ContextProvider.h"
#include "studio/data/PropertyValueJson.h"
#include "tarn/zero/ModelImpl.h"
#include "workbench/Json.h"
#include "workbench/Text.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <new>
#include <set>
#include <utility>

namespace shell {

using json = nlohmann::ordered_json;
using Kind = Outcome::Kind;

namespace {

constexpr std::size_t LONGEST_NAME = 160;   // of a command as the maker of a commit, in columns

std::string dump(json const& object)
{
    std::string text = object.dump(-1, ' ', true, json::error_handler_t::replace);
    for (std::size_t at = 0; (at = text.find('\x7f', at)) != std::string::npos;)
        text.replace(at, 1, "\\u007f");   // ASCII, and yet a terminal obeys it
    return text;
}

bool isInPath(char each)
{
    auto const byte = static_cast<unsigned char>(each);
    return each == '.' || each == '_' || byte >= 0x80 || (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'z') ||
           (byte >= 'A' && byte <= 'Z');
}

/// The number of the last commit of any model.
std::uint64_t lastCommit()
{
    return studio::data::ContextProvider::sharedModel()->lastReport();
}

std::string placed(gel::ParseError const& error)
{
    std::string const line = error.line() > 1 ? "line " + std::to_string(error.line()) + ", " : "";
    return line + "column " + std::to_string(error.column()) + ": " + error.reason() + '\n' + error.excerpt();
}

}   // namespace

Interpreter::Interpreter(Files& files, Material material, Format format)
    : commands{files, std::move(material)}, format{format}
{}

Outcome Interpreter::run(std::string_view line)
{
    if (line.size() > LONGEST_LINE)
        return failed(line.substr(0, 40), "the line is longer than " + workbench::counted(LONGEST_LINE) + " bytes");
    line = trimmed(line);
    if (line.empty() || line.starts_with('#'))
        return {};
    std::uint64_t const last = lastCommit();
    bool const isInBatch = commands.workspace().isInBatch();
    try {
        return outcomeOf(line);
    } catch (std::bad_alloc const&) {
        bool const isSame = !isInBatch && lastCommit() == last;
        return failed(line, isSame ? "out of memory; nothing has changed"
                                   : "out of memory; the command may have been carried out, in part or whole");
    }
}

Outcome Interpreter::outcomeOf(std::string_view line)
{
    try {
        return done(line, answer(line));
    } catch (gel::ParseError const& error) {
        return failed(line, placed(error));
    } catch (workbench::DocumentError const& error) {
        return failed(line, error.what(), Kind::FileFailed);
    } catch (std::bad_alloc const&) {
        throw;
    } catch (std::exception const& error) {
        return failed(line, error.what());
    }
}

Outcome Interpreter::finish()
{
    if (!commands.workspace().isInBatch())
        return {};
    commands.workspace().endBatch(false);
    return failed("batch", "the input ended in a batch, which was rolled back");
}

Answer Interpreter::answer(std::string_view line)
{
    auto const [name, arguments] = firstWord(line);
    Verb const* const verb = findVerb(name);
    if (!verb) {
        std::string_view const similar = similarVerb(name);
        throw CommandError(
            "unknown verb " + workbench::inQuotes(name) +
            (similar.empty() ? "; help lists the verbs" : "; did you mean " + std::string(similar) + "?"));
    }
    std::size_t count = 0;
    for (auto rest = firstWord(arguments); !rest.first.empty() && count <= 2; rest = firstWord(rest.second))
        ++count;
    if (count > verb->most && verb->most == 0)
        throw CommandError(std::string(verb->name) + " takes no argument");
    if (count < verb->fewest || count > verb->most)
        throw CommandError("usage: " + syntaxOf(*verb));
    std::string const shortened = workbench::oneLine(line, LONGEST_NAME);
    bool const isInBatch = commands.workspace().isInBatch();
    if (!isInBatch)
        commands.workspace().announce("the command " + shortened);
    Answer answer = (commands.*verb->run)(arguments);
    if (isInBatch && commands.workspace().isInBatch() && verb->group == Group::Changes)
        commands.workspace().addToBatch(shortened);
    return answer;
}

Outcome Interpreter::done(std::string_view line, Answer const& answer)
{
    Workspace& workspace = commands.workspace();
    std::vector<Workspace::Change> const changes = workspace.changes();
    workspace.forgetChanges();
    auto const isShown = [&](Workspace::Change const& change) { return workspace.watched().count(change.text) != 0; };
    Outcome outcome{Kind::Done, {}, commands.hasQuit()};
    if (format == Format::Text) {   // makes no JSON, whose destructor needs memory
        std::string text = answer.text;
        for (Workspace::Change const& change : changes)
            if (isShown(change))
                text += (text.empty() ? "* " : "\n* ") + change.text + ": " + literal(change.before) + " -> " +
                        literal(change.after);
        outcome.text = printable(answer.isDocument ? text : workspace.withNames(text));
        return outcome;
    }
    json object{{"command", line}, {"result", answer.json.is_null() ? json(answer.text) : answer.json}};
    for (Workspace::Change const& change : changes)
        if (isShown(change))
            object["changes"].push_back({{"text", change.text}, {"before", change.before}, {"after", change.after}});
    outcome.text = dump(object);
    return outcome;
}

Outcome Interpreter::failed(std::string_view line, std::string const& reason, Kind kind) const
{
    if (format == Format::Json)
        return {kind, dump({{"command", line}, {"error", reason}})};
    std::string const name = printable(firstWord(line).first);
    return {kind, workbench::oneLine(name, 20) + ": " + printable(reason)};
}

Completion Interpreter::complete(std::string_view line) const
{
    auto const [name, rest] = firstWord(line);
    std::set<std::string> words;
    auto const offer = [&](std::string_view start, std::string const& word) {
        if (std::string_view(word).starts_with(start))
            words.insert(word);
    };
    std::size_t const argument = static_cast<std::size_t>(rest.data() - line.data());
    bool const isVerb = rest.empty() && (line.empty() || line.back() != ' ');
    Verb const* const verb = findVerb(name);
    if (isVerb || (verb && verb->takes == Takes::Verb)) {
        std::size_t const begin = isVerb ? line.size() - name.size() : rest.empty() ? line.size() : argument;
        for (Verb const& each : verbs())
            offer(line.substr(begin), each.name);
        return {begin, {words.begin(), words.end()}};
    }
    if (!verb || verb->takes == Takes::Nothing)
        return {line.size(), {}};
    // A whole text or its label, as far as it is written; otherwise the path that is being written.
    if (verb->takes == Takes::Text && !rest.empty() && line.substr(argument).find('.') == std::string_view::npos) {
        for (auto const& [text, label] : commands.workspace().material().expressions)
            if (!label.empty())
                offer(line.substr(argument), label);
        if (!words.empty())
            return {argument, {words.begin(), words.end()}};
    }
    std::size_t begin = line.size();
    while (begin > 0 && isInPath(line[begin - 1]))
        --begin;
    for (auto const& [path, value] : Places::reachedFrom(commands.workspace().root()->getId()).properties)
        offer(line.substr(begin), path);
    return {begin, {words.begin(), words.end()}};
}

}   // namespace shell
