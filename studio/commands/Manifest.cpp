#include "studio/commands/Manifest.h"

#include "gel/ParseError.h"
#include "gel/Tree.h"
#include "studio/commands/Chord.h"
#include "studio/commands/detail/Definitions.h"
#include "studio/commands/detail/JsonDocument.h"
#include "studio/commands/detail/Quoted.h"
#include "studio/commands/detail/Title.h"
#include "studio/host/SimilarName.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <exception>
#include <limits>
#include <span>
#include <stdexcept>
#include <string>
#include <unordered_set>
#include <utility>

namespace studio::commands {

using detail::inQuotes;
using detail::JsonPlace;
using JsonKind = detail::JsonValue::Kind;

namespace {

/// A member that an object may have.
template <class T>
struct Member {
    std::string_view name;
    void (*read)(JsonPlace const& place, T& into);
    bool isRequired = false;
};

/// Reads the members of an object. An unknown one is refused, so that a misspelt one is never taken for an absent one.
template <class T>
T readObject(JsonPlace const& place, std::span<Member<T> const> members)
{
    T result{};
    auto const& parts = place.as(JsonKind::Object).value->parts;
    for (std::size_t i = 0; i != parts.size(); ++i) {
        host::SimilarName similar{parts[i].name};
        auto member = members.begin();
        for (; member != members.end() && member->name != parts[i].name; ++member)
            similar.add(member->name);
        if (member == members.end())
            place.fail("unknown member " + inQuotes(parts[i].name) + similar.question());
        member->read(place.part(i), result);
    }
    for (Member<T> const& member : members)
        if (member.isRequired &&
            std::none_of(parts.begin(), parts.end(), [&](auto const& part) { return part.name == member.name; }))
            place.fail("the member " + inQuotes(member.name) + " is missing");
    return result;
}

template <class T>
std::vector<T> readList(JsonPlace const& place, std::span<Member<T> const> members, void (*check)(JsonPlace const&, T&))
{
    std::vector<T> result;
    for (std::size_t i = 0; i != place.as(JsonKind::List).value->parts.size(); ++i) {
        JsonPlace const item = place.part(i);
        result.push_back(readObject(item, members));
        check(item, result.back());
    }
    return result;
}

std::string condition(JsonPlace const& place)
{
    try {
        if (!place.text().empty())
            gel::Tree{place.text()};
    } catch (gel::ParseError const& error) {
        place.fail(error.what());
    }
    return place.text();
}

std::string title(JsonPlace const& place)
{
    try {
        for (auto const& [literal, expression] : detail::Title::split(place.text(), ""))
            if (!expression.empty())
                gel::Tree{expression};
    } catch (std::exception const& error) {
        place.fail(error.what());
    }
    return place.text();
}

std::string name(JsonPlace const& place)
{
    if (place.text().empty())
        place.fail("a name is empty");
    return place.text();
}

std::string keys(JsonPlace const& place)
{
    try {
        parseKeys(place.text());
    } catch (std::invalid_argument const& error) {
        place.fail(error.what());
    }
    return place.text();
}

int weight(JsonPlace const& place)
{
    double const number = place.number();
    if (number != std::trunc(number) || std::abs(number) > std::numeric_limits<int>::max())
        place.fail("a weight is a whole number of 31 bits");
    return static_cast<int>(number);
}

using Parts = Contribution::Parts;
using Place = JsonPlace const&;

constexpr std::array COMMAND{
    Member<Command>{"id", [](Place at, Command& into) { into.id = name(at); }, true},
    Member<Command>{"title", [](Place at, Command& into) { into.title = title(at); }},
    Member<Command>{"category", [](Place at, Command& into) { into.category = at.text(); }},
    Member<Command>{"enabled", [](Place at, Command& into) { into.enabled = condition(at); }},
    Member<Command>{"visible", [](Place at, Command& into) { into.visible = condition(at); }},
    Member<Command>{"checked", [](Place at, Command& into) { into.checked = condition(at); }},
};
constexpr std::array ENTRY{
    Member<MenuEntry>{"command", [](Place at, MenuEntry& into) { into.command = name(at); }},
    Member<MenuEntry>{"submenu", [](Place at, MenuEntry& into) { into.submenu = name(at); }},
    Member<MenuEntry>{"title", [](Place at, MenuEntry& into) { into.title = title(at); }},
    Member<MenuEntry>{"group", [](Place at, MenuEntry& into) { into.group = at.text(); }},
    Member<MenuEntry>{"order", [](Place at, MenuEntry& into) { into.order = at.number(); }},
    Member<MenuEntry>{"when", [](Place at, MenuEntry& into) { into.when = condition(at); }},
};
constexpr std::array RULE{
    Member<KeyRule>{"keys", [](Place at, KeyRule& into) { into.keys = keys(at); }},
    Member<KeyRule>{"command", [](Place at, KeyRule& into) { into.command = name(at); }, true},
    Member<KeyRule>{"when", [](Place at, KeyRule& into) { into.when = condition(at); }},
    Member<KeyRule>{"arguments", [](Place at, KeyRule& into) { into.arguments = at.value->json(); }},
    Member<KeyRule>{"weight", [](Place at, KeyRule& into) { into.weight = weight(at); }},
};

void checkEntry(Place place, MenuEntry& entry)
{
    if (entry.command.empty() == entry.submenu.empty())
        place.fail("an entry has a command or a submenu, and not both");
}

void checkRule(Place place, KeyRule& rule)
{
    if (rule.command == "-")
        place.fail("a removal needs a command");
    if (rule.keys.empty() && !rule.command.starts_with('-'))
        place.fail("the member \"keys\" is missing; a removal alone may leave it out");
}

std::vector<std::pair<std::string, std::string>> definitions(Place place)
{
    std::vector<std::pair<std::string, std::string>> result;
    detail::Definitions known;   // refuses names that are not plain, and cycles
    for (std::size_t i = 0; i != place.as(JsonKind::Object).value->parts.size(); ++i) {
        JsonPlace const item = place.part(i);
        result.emplace_back(item.value->name, condition(item));
        try {
            known.add(result.back().first, result.back().second);
        } catch (std::exception const& error) {
            item.fail(error.what());
        }
    }
    return result;
}

std::vector<Command> commands(Place place)
{
    std::vector<Command> result = readList<Command>(place, COMMAND, [](Place, Command&) {});
    std::unordered_set<std::string> ids;
    for (std::size_t i = 0; i != result.size(); ++i)
        if (!ids.insert(result[i].id).second)
            place.part(i).fail("the command " + inQuotes(result[i].id) + " stands twice");
    return result;
}

/// A manifest, and the source of its rules.
struct Document {
    Parts parts;
    std::string source;
};

constexpr std::array DOCUMENT{
    Member<Document>{"source", [](Place at, Document& into) { into.source = at.text(); }},
    Member<Document>{"definitions", [](Place at, Document& into) { into.parts.definitions = definitions(at); }},
    Member<Document>{"commands", [](Place at, Document& into) { into.parts.commands = commands(at); }},
    Member<Document>{"menus",
                     [](Place at, Document& into) {
                         for (std::size_t i = 0; i != at.as(JsonKind::Object).value->parts.size(); ++i)
                             for (MenuEntry& entry : readList<MenuEntry>(at.part(i), ENTRY, &checkEntry)) {
                                 entry.menu = at.value->parts[i].name;
                                 into.parts.entries.push_back(std::move(entry));
                             }
                     }},
    Member<Document>{"keys",
                     [](Place at, Document& into) { into.parts.rules = readList<KeyRule>(at, RULE, &checkRule); }},
};

}   // namespace

Contribution::Parts readManifest(std::string_view text, std::string_view file)
{
    detail::JsonValue const root = detail::parseJson(text, file);
    Document document = readObject<Document>({&root, file, {}}, DOCUMENT);
    for (KeyRule& rule : document.parts.rules)
        rule.source = document.source;
    return std::move(document.parts);
}

}   // namespace studio::commands
