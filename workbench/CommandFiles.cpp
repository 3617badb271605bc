#include "workbench/CommandFiles.h"

#include "workbench/Json.h"
#include "workbench/Text.h"

#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace workbench {

using studio::commands::Command;
using studio::commands::KeyRule;
using studio::commands::MenuEntry;

namespace {

constexpr std::array s_rulesFile{
    Member{"format", JsonKind::number, true},
    Member{"expressions", JsonKind::text},
    Member{"rules", JsonKind::list, true},
};
constexpr std::array s_rule{
    Member{"id", JsonKind::number, true},
    Member{"sequence", JsonKind::any, true},
    Member{"command", JsonKind::text, true},
    Member{"args", JsonKind::any},
    Member{"when", JsonKind::text},
    Member{"clause", JsonKind::text},
    Member{"expression", JsonKind::number},
    Member{"weight", JsonKind::any, true},
    Member{"source", JsonKind::text, true},
    Member{"removes", JsonKind::list},
    Member{"by", JsonKind::text},
};
constexpr std::array s_menusFile{
    Member{"format", JsonKind::number, true},
    Member{"expressions", JsonKind::text},
    Member{"commands", JsonKind::list, true},
    Member{"entries", JsonKind::list, true},
};
constexpr std::array s_command{
    Member{"id", JsonKind::number, true},
    Member{"command", JsonKind::text, true},
    Member{"title", JsonKind::text, true},
    Member{"enabled", JsonKind::text},
    Member{"enabledClause", JsonKind::text},
    Member{"enabledExpression", JsonKind::number},
    Member{"checked", JsonKind::text},
    Member{"checkedClause", JsonKind::text},
    Member{"checkedExpression", JsonKind::number},
};
constexpr std::array s_entry{
    Member{"id", JsonKind::number, true},   Member{"menu", JsonKind::text, true}, Member{"group", JsonKind::text},
    Member{"order", JsonKind::any},         Member{"command", JsonKind::number},  Member{"submenu", JsonKind::text},
    Member{"title", JsonKind::any},         Member{"when", JsonKind::text},       Member{"clause", JsonKind::text},
    Member{"expression", JsonKind::number}, Member{"source", JsonKind::text},
};
constexpr std::array s_answersFile{
    Member{"format", JsonKind::number, true},  Member{"session", JsonKind::text},
    Member{"rules", JsonKind::text},           Member{"menus", JsonKind::text},
    Member{"sequences", JsonKind::list, true}, Member{"shown", JsonKind::list, true},
    Member{"initial", JsonKind::object, true}, Member{"steps", JsonKind::list, true},
};
constexpr std::array s_sequence{
    Member{"sequence", JsonKind::text, true},
    Member{"candidates", JsonKind::list, true},
};
constexpr std::array s_row{
    Member{"keys", JsonKind::list},
    Member{"menus", JsonKind::list},
    Member{"commands", JsonKind::list},
};

void expectFormat(Node const& document, std::span<Member const> members)
{
    if (document.member("format").number() != 1)
        document.member("format").fail("only format 1 is known");
    document.expectMembers(members);
}

/// Calls `read` with each item of a list; the items stand in the order of their numbers.
template <class Read>
void eachNumbered(Node const& list, std::span<Member const> members, Read const& read)
{
    for (std::size_t i = 0; i != list.size(); ++i) {
        Node const item = list.item(i);
        item.expectMembers(members);
        if (item.member("id").number() != i)
            item.member("id").fail("expected " + std::to_string(i) + ": items stand in the order of their numbers");
        read(item);
    }
}

std::string textAt(Node const& node, char const* key)
{
    return node.has(key) ? node.member(key).text() : std::string();
}

std::size_t below(Node const& node, std::size_t end)
{
    if (node.number() >= end)
        node.fail("expected a number below " + counted(end));
    return node.number();
}

std::vector<std::size_t> numbers(Node const& list, std::size_t end)
{
    std::vector<std::size_t> result(list.size());
    for (std::size_t i = 0; i != result.size(); ++i)
        result[i] = below(list.item(i), end);
    return result;
}

int weightAt(Node const& node)
{
    studio::data::PropertyValue const weight = node.value();
    if (!weight.isDouble() || weight.getDouble() != std::trunc(weight.getDouble()) ||
        std::abs(weight.getDouble()) > std::numeric_limits<int>::max())
        node.fail("expected a whole number of 31 bits");
    return static_cast<int>(weight.getDouble());
}

bool logical(Node const& node)
{
    if (!node.value().isLogical())
        node.fail("expected a logical");
    return node.value().getBool();
}

/// A title without expressions.
std::string plainTitle(std::string title)
{
    for (std::size_t at = title.find('{'); at != std::string::npos; at = title.find('{', at + 2))
        title.insert(at, 1, '{');
    return title;
}

void readRules(Node const& document, CommandFiles& files)
{
    Node const list = document.member("rules");
    eachNumbered(list, s_rule, [&](Node const& node) {
        KeyRule rule;
        if (Node const sequence = node.member("sequence"); !sequence.value().isUndefined())
            rule.keys = sequence.text();
        rule.command = node.member("command").text();
        rule.when = textAt(node, "when");
        rule.weight = weightAt(node.member("weight"));
        rule.source = node.member("source").text();
        if (node.has("removes"))
            files.removals.emplace_back(files.parts.rules.size(), numbers(node.member("removes"), list.size()));
        files.parts.rules.push_back(std::move(rule));
    });
}

void readMenus(Node const& document, CommandFiles& files)
{
    eachNumbered(document.member("commands"), s_command, [&](Node const& node) {
        files.parts.commands.push_back({node.member("command").text(),
                                        plainTitle(node.member("title").text()),
                                        {},
                                        textAt(node, "enabled"),
                                        {},
                                        textAt(node, "checked")});
    });
    eachNumbered(document.member("entries"), s_entry, [&](Node const& node) {
        MenuEntry entry{node.member("menu").text()};
        // The order of a menu is that of the numbers, since that of the groups is a collation.
        entry.order = static_cast<double>(node.member("id").number());
        if (node.has("command"))
            entry.command = files.parts.commands[below(node.member("command"), files.parts.commands.size())].id;
        entry.submenu = textAt(node, "submenu");
        entry.when = textAt(node, "when");
        files.parts.entries.push_back(std::move(entry));
    });
}

KeyAnswer readAnswer(Node const& node, std::size_t rules)
{
    if (node.value().isDouble())
        return {KeyAnswer::Kind::Rule, below(node, rules)};
    if (node.text() != "none" && node.text() != "pending")
        node.fail("expected the number of a rule, \"none\" or \"pending\"");
    return {node.text() == "none" ? KeyAnswer::Kind::None : KeyAnswer::Kind::Pending, 0};
}

CommandRow readRow(Node const& node, CommandFiles const& files, CommandAnswers const& answers)
{
    node.expectMembers(s_row);
    CommandRow row;
    auto const each = [&](char const* key, auto const& read) {
        for (std::size_t i = 0; node.has(key) && i != node.member(key).size(); ++i)
            read(node.member(key).item(i));
    };
    each("keys", [&](Node const& item) {
        KeyAnswer const answer = readAnswer(item.item(1), files.parts.rules.size());
        row.keys.push_back({below(item.item(0), answers.sequences.size()), answer,
                            item.size() > 2 ? readAnswer(item.item(2), files.parts.rules.size()) : answer});
    });
    each("menus", [&](Node const& item) {
        std::size_t const entries = files.parts.entries.size();
        row.menus.push_back({below(item.item(0), answers.menus.size()), numbers(item.item(1), entries),
                             numbers(item.item(2), entries), numbers(item.item(3), entries)});
    });
    each("commands", [&](Node const& item) {
        bool const hasMark = !item.item(2).value().isUndefined();
        row.commands.push_back({below(item.item(0), files.parts.commands.size()), logical(item.item(1)),
                                hasMark ? std::optional<bool>(logical(item.item(2))) : std::nullopt});
    });
    return row;
}

}   // namespace

CommandFiles loadCommandFiles(std::string const& rules, std::string const& menus)
{
    CommandFiles files;
    nlohmann::json const menusJson = readJson(menus);
    Node const menusDocument(menus, menusJson);
    expectFormat(menusDocument, s_menusFile);
    readMenus(menusDocument, files);
    nlohmann::json const rulesJson = readJson(rules);
    Node const rulesDocument(rules, rulesJson);
    expectFormat(rulesDocument, s_rulesFile);
    readRules(rulesDocument, files);
    return files;
}

CommandAnswers loadCommandAnswers(std::string const& file, CommandFiles const& files, std::size_t steps)
{
    nlohmann::json const json = readJson(file);
    Node const document(file, json);
    expectFormat(document, s_answersFile);
    CommandAnswers answers;
    Node const sequences = document.member("sequences");
    for (std::size_t i = 0; i != sequences.size(); ++i) {
        Node const node = sequences.item(i);
        node.expectMembers(s_sequence);
        answers.sequences.push_back(
            {node.member("sequence").text(), numbers(node.member("candidates"), files.parts.rules.size())});
    }
    Node const shown = document.member("shown");
    for (std::size_t i = 0; i != shown.size(); ++i)
        answers.menus.push_back(shown.item(i).text());
    answers.rows.push_back(readRow(document.member("initial"), files, answers));
    Node const list = document.member("steps");
    if (list.size() != steps)
        list.fail("recorded over " + counted(list.size(), "step") + ", but the session has " + counted(steps));
    for (std::size_t i = 0; i != steps; ++i)
        answers.rows.push_back(readRow(list.item(i), files, answers));
    return answers;
}

}   // namespace workbench
