#include "shell/Commands.h"

#include "gel/Eval.h"
#include "gel/ParseError.h"
#include "shell/Places.h"
#include "shell/Text.h"
#include "shell/Verbs.h"
#include "studio/data/PropertyValueJson.h"
#include "studio/host/PathEnd.h"
#include "studio/host/Put.h"
#include "studio/inspect/HtmlReport.h"
#include "workbench/Text.h"

#include <algorithm>
#include <set>
#include <string>
#include <utility>

namespace shell {

using json = nlohmann::ordered_json;
using studio::data::PropertyValue;
using workbench::counted;
namespace host = studio::host;
namespace inspect = studio::inspect;

namespace {

/// A label without spaces and in lower case.
std::string labelKey(std::string_view label)
{
    std::string key;
    for (char const each : label)
        if (each != ' ')
            key += lower(each);
    return key;
}

}   // namespace

Commands::Commands(Files& files, Material material)
    : files{files}, model{std::make_unique<Workspace>(std::make_shared<Material const>(std::move(material)))}
{}

std::size_t Commands::requireNumber(std::string_view word)
{
    if (auto const number = numberIn(word))
        return *number;
    throw CommandError("expected a whole number, found " + workbench::inQuotes(word));
}

void Commands::failAt(host::PathEnd const& end, std::string_view path, std::string_view advice)
{
    throw CommandError(host::describe(end, path).append(advice));
}

std::string Commands::textOf(std::string_view argument) const
{
    auto const& expressions = model->material().expressions;
    if (argument.starts_with('#')) {
        std::size_t const number = requireNumber(argument.substr(1));
        if (number >= expressions.size())
            throw CommandError("there is no expression #" + std::to_string(number) + ": the session has " +
                               counted(expressions.size(), "expression") + ", numbered from 0");
        return expressions[number].text;
    }
    for (workbench::Expression const& expression : expressions)
        if (expression.source == argument)
            return expression.text;
    // A label with a slip may also be read as an expression, over names that do not exist.
    std::string const written = labelKey(argument);
    for (workbench::Expression const& expression : expressions) {
        std::string const known = labelKey(expression.source);
        std::size_t const longer = std::max(known.size(), written.size());
        if (longer >= 6 && longer < 100 && longer - std::min(known.size(), written.size()) <= 2 &&
            distance(written, known) <= std::min<std::size_t>(2, longer / 4) && namesNothing(std::string(argument)))
            throw CommandError("no expression has the label " + workbench::inQuotes(argument) + "; did you mean " +
                               workbench::inQuotes(expression.source) + '?');
    }
    return std::string(argument);
}

/// True if the text does not parse, or if it has names and the root has none of them.
bool Commands::namesNothing(std::string const& text) const
{
    try {
        std::set<std::string> const symbols = gel::symbols(text);
        return !symbols.empty() && std::none_of(symbols.begin(), symbols.end(), [&](std::string const& symbol) {
            return model->root()->hasProperty(symbol.substr(0, symbol.find('.')));
        });
    } catch (gel::ParseError const&) {
        // It is no expression at all.
    }
    return true;
}

Answer Commands::watch(std::string_view argument)
{
    refuseInBatch("watch");
    std::string const text = textOf(argument);
    model->watch(text);
    PropertyValue const value = evaluate(text, model->root()->getId());
    return {literal(value), value};
}

Answer Commands::unwatch(std::string_view argument)
{
    refuseInBatch("unwatch");
    if (!model->unwatch(textOf(argument)))
        throw CommandError("this text is not watched");
    return {};
}

Answer Commands::set(std::string_view arguments)
{
    auto const [path, rest] = firstWord(arguments);
    auto const isAssignment = rest.starts_with('=') && !rest.starts_with("==");
    std::string_view const text = isAssignment ? trimmed(rest.substr(1)) : rest;
    PropertyValue value;
    if (text.starts_with('@')) {
        value = model->root()->getPropertyValue(std::string(text.substr(1)));
        if (text.size() == 1)
            value = PropertyValue{model->root()};
        if (!value.isContextProvider())
            throw CommandError("there is no context at " + workbench::inQuotes(text.substr(1)));
    } else {
        value = evaluate(std::string(text), model->root()->getId());
    }
    PropertyValue const before = model->root()->getPropertyValue(std::string(path));
    // The text is made before the write. What it replaces is named by its path before the write, which may move it.
    std::string const line = std::string(path) + ": ";
    std::string const from =
        (before.isUUID() ? Places::reachedFrom(model->root()->getId()).shown(before) : literal(before)) + " -> ";
    std::string const to = !value.isUUID() ? literal(value) : text.size() == 1 ? "the root" : std::string(text);
    Answer changed{line + from + to, value}, added{line + to + ", a new property", value},
        same{line + to + ", unchanged", value};
    switch (host::put(model->root(), path, value)) {
    case host::Written::Changed: return changed;
    case host::Written::Added: return added;
    case host::Written::Same: return same;
    case host::Written::Nowhere: break;
    }
    failAt(host::endOf(model->root(), path), path, "; make the context first");
}

Answer Commands::unset(std::string_view path)
{
    host::PathEnd const end = host::endOf(model->root(), path);
    if (end.reason != host::PathEnd::Reason::Found && end.reason != host::PathEnd::Reason::Hidden)
        failAt(end, path);
    Answer answer{std::string(path) + ": removed"};
    end.context->removeProperty(std::string(path.substr(end.offset, end.size)));
    return answer;
}

Answer Commands::make(std::string_view path)
{
    bool const isThere = model->tree().find(path) != nullptr;
    Answer answer{std::string(path) + (isThere ? ": a context already" : ": a new context")};
    model->tree().make(path);
    return answer;
}

Answer Commands::drop(std::string_view path)
{
    Answer answer{std::string(path) + ": dropped"};
    if (!model->tree().drop(path))
        throw CommandError("make has made no context at " + workbench::inQuotes(path) +
                           "; contexts of the session are dropped by its steps only");
    return answer;
}

Answer Commands::batch(std::string_view)
{
    if (model->isInBatch())
        throw CommandError("a batch is open already");
    model->beginBatch();
    return {"changes are reported at end; cancel undoes them"};
}

Answer Commands::end(std::string_view)
{
    if (!model->isInBatch())
        throw CommandError("no batch is open");
    model->endBatch(true);
    return {"committed"};
}

Answer Commands::cancel(std::string_view)
{
    if (!model->isInBatch())
        throw CommandError("no batch is open");
    model->endBatch(false);
    return {"undone"};
}

Answer Commands::step(std::string_view count)
{
    refuseInBatch("step");
    std::size_t const left = model->material().recording.steps.size() - model->step();
    std::size_t const wanted = count.empty() ? 1 : count == "end" ? left : requireNumber(count);
    if (!count.empty() && count != "end" && wanted == 0)
        throw CommandError("expected a number from 1 on or end, found 0");
    if (left == 0)
        throw CommandError(model->step() == 0 ? "there is no session to step through; load one first"
                                              : "the session ends with step " + counted(model->step()));
    for (std::size_t i = 0; i < std::min(wanted, left); ++i)
        model->makeStep();
    return position();
}

Answer Commands::back(std::string_view count)
{
    refuseInBatch("back");
    std::size_t const wanted = count.empty() ? 1 : count == "start" ? model->step() : requireNumber(count);
    if (wanted == 0 && count != "start")
        throw CommandError("expected a number from 1 on or start, found 0");
    if (wanted > model->step())
        throw CommandError("the session is at step " + counted(model->step()) + "; it cannot go back " +
                           counted(wanted));
    restart(model->sharedMaterial(), model->step() - wanted);
    return position();
}

Answer Commands::position() const
{
    workbench::Recording const& recording = model->material().recording;
    std::size_t const step = model->step();
    std::string text = "step " + counted(step) + " of " + counted(recording.steps.size());
    json object{{"step", step}, {"steps", recording.steps.size()}};
    if (step > 0 && !recording.steps[step - 1].during.empty()) {
        text += ": " + recording.steps[step - 1].during;
        object["during"] = recording.steps[step - 1].during;
    }
    std::size_t const changed = model->changes().size();
    object["changed"] = changed;
    text += changed == 0 ? "; no value changed" : "; " + counted(changed, "value") + " changed";
    return {std::move(text), std::move(object)};
}

void Commands::restart(std::shared_ptr<Material const> material, std::size_t steps)
{
    bool const isSame = material == model->sharedMaterial();
    auto fresh = std::make_unique<Workspace>(std::move(material));
    for (std::string const& text : model->watched())
        fresh->watch(text);
    for (std::size_t i = 0; i < steps; ++i)
        fresh->makeStep();
    if (isSame)
        fresh->compareWith(*model);
    model = std::move(fresh);
}

Answer Commands::load(std::string_view arguments)
{
    refuseInBatch("load");
    std::vector<std::string> const words = wordsOf(arguments);
    bool const isSample = words.size() == 1 && words[0] == "sample";
    if (!isSample && words.size() != 2)
        throw CommandError("expected a file of expressions and a session, or sample");
    restart(std::make_shared<Material const>(isSample ? files.sample() : files.load(words[0], words[1])), 0);
    workbench::Recording const& recording = model->material().recording;
    return model->material().title + ": " + counted(model->material().expressions.size(), "expression") + ", " +
           counted(recording.contexts, "context") + ", " + counted(recording.steps.size(), "step");
}

Answer Commands::save(std::string_view file)
{
    std::string const name = wordsOf(file).size() == 1 ? wordsOf(file)[0] : std::string(file);
    std::string const& title = model->material().title;
    files.write(name, inspect::htmlReport(model->engine(), &model->watcher(), title.empty() ? "studio-shell" : title));
    return name + ": written";
}

Answer Commands::trace(std::string_view file)
{
    std::string const text = model->watcher().chromeTrace();
    if (file == "-")
        return Answer::document(withoutLineEnd(text), json::parse(text));
    std::string const name = wordsOf(file).size() == 1 ? wordsOf(file)[0] : std::string(file);
    files.write(name, text);
    return name + ": written";
}

Answer Commands::help(std::string_view name)
{
    if (!name.empty()) {
        Verb const* const verb = findVerb(name);
        if (!verb)
            throw CommandError("unknown verb " + workbench::inQuotes(name));
        return syntaxOf(*verb) + "\n  " + verb->help;
    }
    std::size_t width = 0;
    for (Verb const& verb : verbs())
        width = std::max(width, syntaxOf(verb).size());
    Lines lines;
    for (Verb const& verb : verbs()) {
        if (&verb == verbs().data() || verb.group != (&verb - 1)->group)
            lines.add(nameOf(verb.group));
        std::string syntax = syntaxOf(verb);
        syntax.resize(width + 2, ' ');
        lines.add("  " + syntax + verb.help);
    }
    lines.add("TEXT is an expression. One of the session may be given by its number (#2) or its label (File > Save).");
    return lines.text;
}

Answer Commands::quit(std::string_view)
{
    isDone = true;
    return {};
}

void Commands::refuseInBatch(char const* verb) const
{
    if (model->isInBatch())
        throw CommandError(std::string("a batch is open; end or cancel it before ") + verb);
}

}   // namespace shell
