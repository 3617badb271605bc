#include "gel/Eval.h"
#include "shell/Commands.h"
#include "shell/Places.h"
#include "shell/Text.h"
#include "studio/data/PropertyValueJson.h"
#include "studio/host/PathEnd.h"
#include "studio/inspect/Explanation.h"
#include "studio/inspect/Flips.h"
#include "studio/inspect/Graph.h"
#include "studio/inspect/Reasons.h"
#include "workbench/RecordedState.h"
#include "workbench/Text.h"

#include <optional>
#include <set>
#include <utility>

// The commands that only read.

namespace shell {

using json = nlohmann::ordered_json;
using studio::data::PropertyValue;
using workbench::counted;
using workbench::RecordedState;
namespace host = studio::host;
namespace inspect = studio::inspect;

namespace {

constexpr char const* TOO_LONG = "(paths longer than 4,096 bytes are left out)";

}   // namespace

Answer Commands::show(std::string_view text)
{
    PropertyValue const value = evaluate(textOf(text), model->root()->getId());
    return {literal(value), value};
}

Answer Commands::explain(std::string_view text)
{
    inspect::Explanation const explanation = inspect::explain(textOf(text), model->root());
    return {withoutLineEnd(inspect::describe(explanation)), json::parse(inspect::json(explanation))};
}

Answer Commands::reason(std::string_view argument)
{
    std::string const text = textOf(argument);
    inspect::Reasons reasons(model->root());
    for (auto const& [condition, sentence] : model->material().reasons)
        reasons.add(condition, sentence);
    std::vector<std::string> const sentences = reasons.reasonFor(text);
    Lines lines;
    for (std::string const& sentence : sentences)
        lines.add(sentence);
    return {sentences.empty()
                ? "its value is " + literal(evaluate(text, model->root()->getId())) + ", which counts as true"
                : lines.text,
            sentences};
}

Answer Commands::flip(std::string_view argument)
{
    std::string const text = textOf(argument);
    std::vector<inspect::Flip> const flips = inspect::flipsOf(text, model->root());
    std::string const wanted = isTrue(evaluate(text, model->root()->getId())) ? "false" : "true";
    Lines lines;
    lines.add(flips.empty() ? "no set of up to three changes was found that would make it " + wanted
                            : wanted + " after" + (flips.size() > 1 ? " one of" : ""));
    json all = json::array();
    for (inspect::Flip const& flip : flips) {
        lines.add("  " + withoutLineEnd(inspect::describe(flip)));
        json& changes = all.emplace_back(json::array());
        for (inspect::ProposedChange const& change : flip.changes) {
            json& object = changes.emplace_back(json{{"path", change.path}});
            if (change.before)
                object["before"] = *change.before;
            object["after"] = change.after;
        }
    }
    // No value helps where there is no context for it.
    if (flips.empty())
        for (std::string const& symbol : gel::symbols(text)) {
            host::PathEnd const end = host::endOf(model->root(), symbol);
            bool const isBeforeLast = end.offset + end.size != symbol.size();
            if (isBeforeLast && end.reason != host::PathEnd::Reason::Found)
                lines.add("  " + host::describe(end, symbol));
        }
    return {lines.text, std::move(all)};
}

Answer Commands::why(std::string_view argument)
{
    std::string const text = textOf(argument);
    inspect::Why const why = model->watcher().why(text);
    if (why.commit == 0 && !model->engine().findExpression(text))
        throw CommandError("this text is not watched, so its changes are not known; watch it first");
    json object = json::parse(inspect::json(why, text));
    Lines lines;
    lines.add(withoutLineEnd(inspect::describe(why, text)));
    for (inspect::Why::Link const& link : why.chain)
        if (std::string const maker = model->makerOf(link.commit); !maker.empty()) {
            lines.add("commit " + std::to_string(link.commit) + " was made by " + maker);
            object["makers"].push_back({{"commit", link.commit}, {"maker", maker}});
        }
    return {lines.text, std::move(object)};
}

Answer Commands::whyNot(std::string_view argument)
{
    std::string const text = textOf(argument);
    if (!model->engine().findExpression(text))
        throw CommandError("this text is not watched, so its changes are not known; watch it first");
    inspect::WhyNot const whyNot = model->watcher().whyNot(text);
    json object = json::parse(inspect::json(whyNot, text));
    Lines lines;
    lines.add(withoutLineEnd(inspect::describe(whyNot, text)));
    if (whyNot.since != 0) {
        inspect::Why const why = model->watcher().why(text);
        lines.add("commit " + std::to_string(why.commit) + " changed it: " + literal(why.before) + " -> " +
                  literal(why.after));
        object["changed"] = {{"before", why.before}, {"after", why.after}};
    }
    for (std::uint64_t const commit : std::set{whyNot.since, whyNot.commit})
        if (std::string const maker = model->makerOf(commit); !maker.empty()) {
            lines.add("commit " + std::to_string(commit) + " was made by " + maker);
            object["makers"].push_back({{"commit", commit}, {"maker", maker}});
        }
    return {lines.text, std::move(object)};
}

Answer Commands::list(std::string_view path)
{
    Places const places = Places::reachedFrom(model->root()->getId());
    std::string const below = std::string(path) + '.';
    Lines lines;
    json object = json::object();
    for (auto const& [name, value] : places.properties)
        if (path.empty() || name == path || name.starts_with(below)) {
            lines.add(name + " = " + places.shownAt(name, value));
            object[name] = value;
        }
    if (!places.isComplete)
        lines.add(TOO_LONG);
    if (lines.text.empty() && !path.empty())
        failAt(host::endOf(model->root(), path), path);
    return {lines.text.empty() ? "nothing yet; make and set add contexts and properties" : lines.text,
            std::move(object)};
}

Answer Commands::texts(std::string_view word)
{
    auto const& expressions = model->material().expressions;
    Lines lines;
    json all = json::array();
    for (std::size_t i = 0; i < expressions.size(); ++i) {
        auto const& [text, label] = expressions[i];
        if (!containsWord(text, word) && !containsWord(label, word))
            continue;
        PropertyValue const value = evaluate(text, model->root()->getId());
        lines.add('#' + std::to_string(i) + ' ' + literal(value) + "   " + text +
                  (label.empty() ? "" : "   [" + label + ']'));
        all.push_back({{"number", i}, {"text", text}, {"label", label}, {"value", value}});
    }
    return {lines.text.empty() ? "no matching expression" : lines.text, std::move(all)};
}

Answer Commands::find(std::string_view word)
{
    Places const places = Places::reachedFrom(model->root()->getId());
    Lines lines;
    json properties = json::object();
    for (auto const& [path, value] : places.properties)
        if (containsWord(path, word)) {
            lines.add(path + " = " + places.shownAt(path, value));
            properties[path] = value;
        }
    if (!places.isComplete)
        lines.add(TOO_LONG);
    Answer const expressions = texts(word);
    if (!expressions.json.empty())
        lines.add(expressions.text);
    return {lines.text.empty() ? "no path or expression contains that word" : lines.text,
            {{"properties", std::move(properties)}, {"texts", expressions.json}}};
}

Answer Commands::graph(std::string_view argument)
{
    inspect::Graph const whole = inspect::graphOf(model->engine());
    if (argument.empty())
        return Answer::document(withoutLineEnd(inspect::dot(whole)));
    inspect::Graph part = inspect::around(whole, textOf(argument), 1);
    // The last word is a depth unless the text ends with it.
    std::size_t const space = argument.find_last_of(" \t");
    if (part.nodes.empty() && space != std::string_view::npos)
        if (auto const depth = numberIn(argument.substr(space + 1)))
            part = inspect::around(whole, textOf(trimmed(argument.substr(0, space))), *depth);
    if (part.nodes.empty())
        throw CommandError("no watched expression has this text, and none reads a property or context at this path");
    return Answer::document(withoutLineEnd(inspect::dot(part)));
}

Answer Commands::diff(std::string_view arguments)
{
    workbench::Recording const& recording = model->material().recording;
    auto const [first, second] = firstWord(arguments);
    std::vector<RecordedState> states;
    std::vector<Places> places;
    for (std::string_view const word : {first, second}) {
        std::size_t const step = requireNumber(word);
        if (step > recording.steps.size())
            throw CommandError("there is no step " + counted(step) + ": the session has " +
                               counted(recording.steps.size(), "step"));
        RecordedState const& state = states.emplace_back(recording, step);
        places.push_back(Places::reachedFrom(RecordedState::idOf(0), [&](boost::uuids::uuid const& id) {
            RecordedState::Properties const* const found = state.properties(id);
            return found ? std::optional{Places::Properties(found->begin(), found->end())} : std::nullopt;
        }));
    }
    auto const shown = [](PropertyValue const* value) {
        return !value            ? "absent"
               : value->isUUID() ? "context " + std::to_string(RecordedState::numberOf(value->getUUID()))
                                 : literal(*value);
    };
    std::map<std::string, std::pair<PropertyValue const*, PropertyValue const*>> properties;
    for (auto const& [path, value] : places[0].properties)
        properties[path].first = &value;
    for (auto const& [path, value] : places[1].properties)
        properties[path].second = &value;
    Lines lines;
    json changed = json::array();
    for (auto const& [path, values] : properties) {
        auto const& [before, after] = values;
        if (before && after && *before == *after)
            continue;
        lines.add(path + ": " + shown(before) + " -> " + shown(after));
        json& object = changed.emplace_back(json{{"path", path}});
        if (before)
            object["before"] = *before;
        if (after)
            object["after"] = *after;
    }
    json values = json::array();
    for (auto const& [text, label] : model->material().expressions) {
        PropertyValue const before = evaluate(text, RecordedState::idOf(0), states[0]);
        PropertyValue const after = evaluate(text, RecordedState::idOf(0), states[1]);
        if (before == after)
            continue;
        lines.add(text + ": " + literal(before) + " -> " + literal(after) +
                  (label.empty() ? "" : "   [" + label + ']'));
        values.push_back({{"text", text}, {"label", label}, {"before", before}, {"after", after}});
    }
    return {lines.text.empty() ? "no difference" : lines.text,
            {{"properties", std::move(changed)}, {"values", std::move(values)}}};
}

}   // namespace shell
