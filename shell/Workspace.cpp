#include "shell/Workspace.h"

#include "shell/Places.h"
#include "tarn/zero/ReportData.h"
#include "workbench/Text.h"

#include <new>
#include <utility>

namespace shell {

using studio::data::PropertyValue;
using studio::data::ReleasePolicy;

Workspace::Workspace(std::shared_ptr<Material const> material)
    : source{std::move(material)},
      contexts{source->recording.contexts, owned.root()},
      expressions{owned.root(), ReleasePolicy::KeepsShared},
      recorder{expressions},
      current{"the start of the session"}
{
    expressions.addObserver(*this);
    contexts.apply(source->recording.initial);
    for (workbench::Expression const& expression : source->expressions)
        if (recorded.insert(expression.text).second)
            subscribe(expression.text);
}

Workspace::~Workspace()
{
    expressions.removeObserver(*this);
}

void Workspace::watch(std::string const& text)
{
    if (!handles.count(text))
        subscribe(text);
    shown.insert(text);
}

bool Workspace::unwatch(std::string const& text)
{
    if (shown.erase(text) == 0)
        return false;
    if (!recorded.count(text)) {
        handles.erase(text);
        values.erase(text);
        before.erase(text);
    }
    return true;
}

void Workspace::makeStep()
{
    workbench::Step const& step = source->recording.steps[stepsMade];
    announce("step " + std::to_string(stepsMade + 1) + (step.during.empty() ? "" : ", " + step.during));
    contexts.apply(step.operations);
    ++stepsMade;
}

void Workspace::beginBatch()
{
    batched.clear();
    batchedCount = 0;
    open.emplace();
}

void Workspace::addToBatch(std::string_view command)
{
    constexpr std::size_t NAMED = 3;
    if (batchedCount < NAMED)
        batched += (batchedCount == 0 ? "" : "; ") + std::string(command);
    ++batchedCount;
    announce("the batch " + batched +
             (batchedCount > NAMED ? " and " + workbench::counted(batchedCount - NAMED) + " more" : ""));
}

void Workspace::endBatch(bool isFinal)
{
    // Ended even if the commit fails.
    struct End {
        std::optional<studio::host::Batch>& open;
        ~End() { open.reset(); }
    } const end{open};
    if (isFinal)
        open->commit();
    else
        open->rollBack();
}

std::string Workspace::makerOf(std::uint64_t commit) const
{
    auto const found = makers.find(commit);
    return found == makers.end() ? std::string{} : found->second;
}

std::string Workspace::withNames(std::string const& text) const
{
    constexpr std::size_t LENGTH = 36;   // of an id
    std::map<std::string, std::string> names;
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        // The hyphen rules out nearly all places.
        bool const mayBeId = i + LENGTH <= text.size() && text[i + 8] == '-' && text[i + 23] == '-';
        if (mayBeId && names.empty())
            names = namesOfContexts();
        auto const found = mayBeId ? names.find(text.substr(i, LENGTH)) : names.end();
        if (found == names.end()) {
            result += text[i];
        } else {
            result += found->second;
            i += LENGTH - 1;
        }
    }
    return result;
}

std::map<std::string, std::string> Workspace::namesOfContexts() const
{
    std::map<std::string, std::string> names;
    for (auto const& [id, path] : Places::reachedFrom(root()->getId()).contexts)
        names[PropertyValue{id}.asString()] = "@" + path;
    for (std::size_t i = 1; i < source->recording.contexts; ++i)
        if (PropertyValue const& reference = contexts.reference(i); reference.isUUID())
            names[reference.asString()] = "context " + std::to_string(i);
    return names;
}

std::vector<Workspace::Change> Workspace::changes() const
{
    std::vector<Change> changes;
    for (auto const& [text, value] : before)
        if (PropertyValue const& now = values.at(text); !(now == value))
            changes.push_back({text, value, now});
    return changes;
}

void Workspace::compareWith(Workspace const& former)
{
    before.clear();
    for (auto const& [text, value] : former.values)
        if (values.count(text))
            before[text] = value;
}

void Workspace::subscribe(std::string const& text)
{
    auto handle = expressions.acquireExpression(text, [this](std::string const& same, PropertyValue const& value) {
        if (auto const [known, isFirst] = values.try_emplace(same, value); !isFirst) {
            before.try_emplace(same, known->second);
            known->second = value;
        }
    });
    handles[text] = std::move(handle);
}

void Workspace::roundBegins(tarn::zero::ReportData const* report) noexcept
{
    try {
        if (report)
            makers.emplace(report->number(), current);
    } catch (std::bad_alloc const&) {
        // The commit has no maker then.
    }
    if (makers.size() > studio::inspect::Watcher::Limits{}.commits)
        makers.erase(makers.begin());
}

}   // namespace shell
