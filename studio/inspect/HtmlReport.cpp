#include "studio/inspect/HtmlReport.h"

#include "studio/data/ContextProvider.h"
#include "studio/inspect/Explanation.h"
#include "studio/inspect/Watcher.h"
#include "studio/inspect/detail/Names.h"
#include "studio/inspect/detail/Page.h"
#include "studio/inspect/detail/PlainText.h"
#include "studio/inspect/detail/Values.h"

#include <boost/uuid/uuid_io.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

namespace studio::inspect {
namespace {

using boost::uuids::uuid;
using data::PropertyValue;
using Json = nlohmann::json;

Json plain(std::string_view text)
{
    return detail::PlainText{text}.utf8;
}

/// Undefined is null. What JSON has no value for is an object.
Json jsonOf(PropertyValue const& value)
{
    if (value.isUndefined())
        return nullptr;
    if (value.isLogical())
        return value.getBool();
    if (value.isUUID())
        return {{"id", to_string(value.getUUID())}};
    if (value.isDouble() && std::isfinite(value.getDouble()))
        return value.getDouble();
    return value.isDouble() ? Json{{"number", detail::literal(value)}} : plain(value.getString());
}

char const* nameOf(PropertyChange::Kind kind)
{
    switch (kind) {
    case PropertyChange::Kind::Created: return "created";
    case PropertyChange::Kind::Changed: return "changed";
    case PropertyChange::Kind::Destroyed: break;
    }
    return "destroyed";
}

/// The data of a page. Contexts, properties and expressions refer to each other by their places in the lists.
class PageData {
public:
    explicit PageData(data::ExpressionEngine const& observed) : engine{observed}
    {
        if (engine.getRoot())
            addContext(engine.getRoot()->getId(), "");
        addReferred();
    }

    void addExpressions()
    {
        std::vector<data::ExpressionEngine::Entry> const entries = engine.listExpressions();
        for (data::ExpressionEngine::Entry const& entry : entries)
            places.try_emplace(entry.text, places.size());
        for (data::ExpressionEngine::Entry const& entry : entries)
            expressions.push_back(expression(entry, explain(entry.text, engine.getRoot())));
    }

    void addCommits(Watcher const& watcher)
    {
        for (Commit const& commit : watcher.commits()) {
            Json entry{{"number", commit.number},    {"cause", commit.cause},        {"began", commit.began},
                       {"ended", commit.ended},      {"changes", Json::array()},     {"created", Json::array()},
                       {"destroyed", Json::array()}, {"evaluations", Json::array()}, {"calls", Json::array()}};
            if (!commit.callback.empty())
                entry["callback"] = reference(commit.callback);
            for (PropertyChange const& each : commit.changes)
                entry["changes"].push_back(change(each));
            for (uuid const& each : commit.created)
                entry["created"].push_back(addContext(each));
            for (uuid const& each : commit.destroyed)
                entry["destroyed"].push_back(addContext(each));
            for (Evaluation const& each : commit.evaluations) {
                entry["evaluations"].push_back({{"expression", reference(each.text)},
                                                {"before", jsonOf(each.before)},
                                                {"after", jsonOf(each.after)},
                                                {"at", each.at}});
            }
            for (std::string const& each : commit.calls)
                entry["calls"].push_back(reference(each));
            commits.push_back(std::move(entry));
        }
        addReferred();
    }

    Json json() const
    {
        Json result{{"expressions", expressions},
                    {"commits", commits},
                    {"contexts", Json::array()},
                    {"properties", Json::array()}};
        for (Context const& each : contexts) {
            Json entry{{"id", to_string(each.id)}, {"exists", each.exists}};
            if (each.path)
                entry["path"] = plain(*each.path);
            result["contexts"].push_back(std::move(entry));
        }
        for (Property const* const each : properties) {
            Json entry{{"context", each->context}, {"name", plain(each->name)}, {"readers", each->readers}};
            if (each->value)
                entry["value"] = jsonOf(*each->value);
            result["properties"].push_back(std::move(entry));
        }
        return result;
    }

private:
    struct Context {
        uuid id;
        std::optional<std::string> path;   // the shortest; empty if the root does not reach it, or it is too long
        bool exists;
    };
    struct Property {
        std::size_t place;
        std::size_t context;
        std::string name;
        std::optional<PropertyValue> value;
        std::vector<std::size_t> readers;
        std::vector<data::ExpressionEngine::Leaf> leaves;
    };

    static constexpr std::size_t LONGEST_PATH = 4'096;   // in bytes; a bound to the size of the page

    std::size_t addContext(uuid const& id, std::optional<std::string> path = {})
    {
        if (path && path->size() > LONGEST_PATH)
            path.reset();
        auto const [place, isNew] = contextPlaces.try_emplace(id, contexts.size());
        if (isNew)
            contexts.push_back({id, std::move(path), reader.hasContext(id)});
        return place->second;
    }

    /// Adds the properties of the contexts since the last call, and the contexts that they refer to, nearest first.
    void addReferred()
    {
        for (; complete != contexts.size(); ++complete) {
            if (!contexts[complete].exists)
                continue;
            std::optional<std::string> const path = contexts[complete].path;
            for (std::string const& name :
                 PropertyValue{contexts[complete].id}.getContextProvider()->getPropertyNames()) {
                Property const& property = propertyAt(complete, name);
                if (property.value && property.value->isContextProvider()) {
                    std::string const below = path && !path->empty() ? *path + '.' + name : name;
                    addContext(property.value->getUUID(), path ? std::optional{below} : std::nullopt);
                }
            }
        }
    }

    Property& propertyAt(std::size_t context, std::string_view name)
    {
        auto const [place, isNew] = propertyPlaces.try_emplace(std::pair{context, std::string{name}});
        Property& property = place->second;
        if (isNew) {
            uuid const& id = contexts[context].id;
            property = {properties.size(),     context, std::string{name},
                        reader.find(id, name), {},      engine.findLeaves(id, name)};
            properties.push_back(&property);
        }
        return property;
    }

    Json expression(data::ExpressionEngine::Entry const& entry, Explanation const& explanation)
    {
        detail::PlainText const text{entry.text};
        Json result{{"text", text.utf8},
                    {"value", jsonOf(entry.value)},
                    {"handles", entry.handles},
                    {"deciding", explanation.deciding},
                    {"isComplete", explanation.isComplete},
                    {"nodes", Json::array()},
                    {"conditions", Json::array()},
                    {"symbols", Json::array()}};
        if (Json current = jsonOf(detail::propertyValue(explanation.value)); current != result["value"])
            result["current"] = std::move(current);
        for (std::size_t each = 0; each != explanation.tree.nodes().size(); ++each) {
            gel::Tree::Node const& node = explanation.tree.nodes()[each];
            Json json{{"kind", detail::nameOf(node.kind)},
                      {"name", plain(node.name)},
                      {"from", text.positions[node.offset]},
                      {"to", text.positions[node.offset + node.size]},
                      {"parts", std::vector(node.parts.begin(), node.parts.end())}};
            if (explanation.values[each])
                json["value"] = jsonOf(detail::propertyValue(*explanation.values[each]));
            result["nodes"].push_back(std::move(json));
        }
        for (Explanation::Condition const& each : explanation.conditions)
            result["conditions"].push_back({{"nodes", each.nodes}, {"holds", each.holds}, {"isNeeded", each.isNeeded}});
        for (Explanation::Symbol const& each : explanation.symbols)
            result["symbols"].push_back(symbol(each));
        return result;
    }

    Json symbol(Explanation::Symbol const& symbol)
    {
        Json result{{"path", plain(symbol.path)}, {"value", jsonOf(symbol.walk.value)}, {"steps", Json::array()}};
        result["end"] = detail::nameOf(symbol.walk.reason);
        bool isBound = true;
        for (host::Walk::Step const& step : symbol.walk.steps) {
            std::string_view const name = std::string_view{symbol.path}.substr(step.offset, step.size);
            Property& property = propertyAt(addContext(step.context), name);
            if (property.readers.empty() || property.readers.back() != expressions.size())
                property.readers.push_back(expressions.size());
            result["steps"].push_back(property.place);
            // Paths are bound name by name, also past a property that hides the rest.
            bool const isWhole = name.find('.') == std::string_view::npos;
            data::ExpressionEngine::Leaf const leaf{symbol.path, static_cast<unsigned long>(step.offset)};
            if (isWhole && std::find(property.leaves.begin(), property.leaves.end(), leaf) == property.leaves.end())
                isBound = false;
        }
        result["isBound"] = isBound;
        return result;
    }

    Json change(PropertyChange const& change)
    {
        std::size_t const context = addContext(change.context.is_nil() ? change.contextBefore : change.context);
        Json result{{"kind", nameOf(change.kind)}, {"property", propertyAt(context, change.name).place}};
        if (change.kind == PropertyChange::Kind::Changed && change.nameBefore != change.name)
            result["nameBefore"] = plain(change.nameBefore);
        if (change.kind == PropertyChange::Kind::Changed && change.contextBefore != change.context)
            result["contextBefore"] = addContext(change.contextBefore);
        if (change.before)
            result["before"] = jsonOf(*change.before);
        if (change.after)
            result["after"] = jsonOf(*change.after);
        return result;
    }

    /// Returns the place of an expression; the text if it is no longer acquired.
    Json reference(std::string const& text) const
    {
        auto const found = places.find(text);
        return found == places.end() ? plain(text) : Json(found->second);
    }

    data::ExpressionEngine const& engine;
    host::ContextReader reader;
    std::vector<Context> contexts;
    std::size_t complete = 0;   // that many contexts are listed with their properties
    std::map<uuid, std::size_t> contextPlaces;
    std::map<std::pair<std::size_t, std::string>, Property> propertyPlaces;
    std::vector<Property const*> properties;
    std::map<std::string, std::size_t> places;
    Json expressions = Json::array();
    Json commits = Json::array();
};

/// Returns JSON that may stand in a script element: whatever the texts hold, `<`, `>` and `&` are escapes.
std::string inScript(Json const& json)
{
    std::string result;
    for (char const each : json.dump(-1, ' ', true)) {
        switch (each) {
        case '<': result += "\\u003c"; break;
        case '>': result += "\\u003e"; break;
        case '&': result += "\\u0026"; break;
        default: result += each;
        }
    }
    return result;
}

/// Returns a text as the content of an element.
std::string inElement(std::string_view text)
{
    std::string result;
    for (char const each : printable(detail::PlainText{text}.utf8)) {
        switch (each) {
        case '<': result += "&lt;"; break;
        case '&': result += "&amp;"; break;
        default: result += each;
        }
    }
    return result;
}

/// Puts the parts into the page, in the order of their marks.
std::string filled(std::string_view page, std::initializer_list<std::pair<std::string_view, std::string>> parts)
{
    std::string result;
    for (auto const& [mark, text] : parts) {
        std::size_t const at = page.find(mark);
        (result += page.substr(0, at)) += text;
        page.remove_prefix(at + mark.size());
    }
    return result += page;
}

}   // namespace

std::string htmlReport(data::ExpressionEngine const& engine, Watcher const* watcher, std::string const& title)
{
    PageData page{engine};
    page.addExpressions();
    if (watcher)
        page.addCommits(*watcher);
    Json json = page.json();
    json["title"] = plain(title);
    json["dropped"] = watcher ? Json(watcher->dropped()) : Json{};
    return filled(detail::pageTemplate(), {{"{{title}}", inElement(title)}, {"{{data}}", inScript(json)}});
}

}   // namespace studio::inspect
