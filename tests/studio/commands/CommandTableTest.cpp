#include "studio/commands/CommandTable.h"

#include "gel/ParseError.h"
#include "studio/commands/Contribution.h"
#include "support/Allocations.h"
#include "support/Contexts.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace studio::commands {
namespace {

using data::ExpressionEngine;
using data::PropertyValue;
using support::context;
using support::Provider;

std::string textOf(std::optional<CommandState> const& state)
{
    if (!state)
        return "none";
    return state->title + (state->isEnabled ? "" : " disabled") + (state->isVisible ? "" : " hidden") +
           (state->isChecked ? *state->isChecked ? " [x]" : " [ ]" : "");
}

class Table : public testing::Test {
protected:
    Table()
    {
        table->onChanged([this](std::span<CommandChange const> changes) {
            for (CommandChange const& change : changes)
                log += change.id + ": " + textOf(change.before) + " -> " + textOf(change.after) + "; ";
            log += "| ";
        });
        menus->onChanged([this](std::span<MenuChange const> changes) {
            for (MenuChange const& change : changes)
                log += change.menu + ' ' + std::string{"-~+!"[static_cast<int>(change.kind)]} +
                       std::to_string(change.index) +
                       (change.to == change.index ? "" : ">" + std::to_string(change.to)) + "; ";
            log += "| ";
        });
    }
    Contribution load(Contribution::Parts parts) { return {*table, &*menus, nullptr, std::move(parts)}; }
    std::string take() { return std::exchange(log, {}); }
    /// The commands and submenus that a menu shows.
    std::string shown(char const* menu)
    {
        std::string text;
        for (MenuItem const& item : menus->items(menu))
            text += (text.empty() ? "" : " ") + item.command + item.submenu;
        return text;
    }
    template <class Action>
    static std::string refusal(Action const& action)
    {
        try {
            action();
        } catch (std::exception const& error) {
            return error.what();
        }
        return "accepted";
    }

    Provider root = context({{"a", true}, {"b", false}, {"n", 1}, {"s", "x"}});
    std::optional<ExpressionEngine> engine{std::in_place, root, data::ReleasePolicy::KeepsShared};
    std::string log;
    std::optional<CommandTable> table{*engine};
    std::optional<Menus> menus{*table};
};

TEST_F(Table, ReportsACommitInOneCallWithWhatDiffersAfterIt)
{
    Contribution const plugin = load({{{"save", "Save {s}", "", "a"},
                                       {"stop", "Stop {{{n}}", "", "b", "n > 0"},
                                       {"wrap", "Wrap", "", "", "", "a"},
                                       {"quit", "Quit"}}});
    EXPECT_EQ(take(), "save: none -> Save x; stop: none -> Stop {1} disabled; wrap: none -> Wrap [x]; "
                      "quit: none -> Quit; | ");
    struct Row {
        char const* name;
        std::vector<std::pair<char const*, PropertyValue>> writes;
        char const* reported;
    } const rows[] = {
        {"one condition of two commands",
         {{"a", false}},
         "save: Save x -> Save x disabled; wrap: Wrap [x] -> Wrap [ ]; | "},
        {"several writes", {{"b", true}, {"n", 0}}, "stop: Stop {1} disabled -> Stop {0} hidden; | "},
        {"there and back", {{"b", false}, {"b", true}}, ""},
        {"another value of the same truth", {{"a", 0}}, ""},
        {"undefined is false", {{"b", PropertyValue{}}}, "stop: Stop {0} hidden -> Stop {0} disabled hidden; | "},
        {"a value in a title", {{"s", PropertyValue{}}}, "save: Save x disabled -> Save  disabled; | "},
    };
    for (Row const& row : rows) {
        support::inTransaction([&] {
            for (auto const& [name, value] : row.writes)
                root->setPropertyValue(name, value);
        });
        EXPECT_EQ(take(), row.reported) << row.name;
    }
}

TEST_F(Table, RefusesWhatIsWrongAndAddsNothing)
{
    Contribution const plugin = load({{{"save"}}, {{"file", "", 0, "", "recent"}}, {}, {{"isA", "a"}}});
    take();
    std::string const long_(40'000, ' ');
    struct Row {
        char const* name;
        Contribution::Parts parts;
        char const* reason;
    } const rows[] = {
        {"an id that exists", {{{"new"}, {"save"}}}, "command \"save\" exists already"},
        {"an id twice", {{{"new"}, {"new"}}}, "command \"new\" exists already"},
        {"strange bytes",
         {{{"\x01\xc3\xa4\xff"}, {"\x01\xc3\xa4\xff"}}},
         "command \"\\x01\xc3\xa4\\xff\" exists already"},
        {"no id", {{{""}}}, "a command needs an id"},
        {"a condition", {{{"new", "", "", "", "a &&"}}}, "gel:1:5: command \"new\", visible: "},
        {"a title", {{{"new", "x {n"}}}, "command \"new\", title: a brace is not closed: x {n"},
        {"a value in a title", {{{"new", "x {n n}"}}}, "gel:1:3: command \"new\", title: "},
        {"nothing in a title",
         {{{"new", "x {}"}}},
         "command \"new\", title: there is no expression between the braces"},
        {"a command and a submenu",
         {{}, {{"file", "", 0, "new", "old"}}},
         "entry of menu \"file\" for submenu \"old\": an entry has either a command or a submenu"},
        {"neither", {{}, {{"file"}}}, "an entry has either a command or a submenu"},
        {"no menu", {{}, {{"", "", 0, "new"}}}, "the menu has no name"},
        {"an order", {{}, {{"file", "", std::nan(""), "new"}}}, "the order is not a number"},
        {"a menu in itself", {{}, {{"file", "", 0, "", "file"}}}, "a submenu leads back to itself: file -> file"},
        {"a menu in a submenu",
         {{}, {{"recent", "", 0, "", "more"}, {"more", "", 0, "", "file"}}},
         "a submenu leads back to itself: file -> recent -> more -> file"},
        {"a name that is none", {{{"new"}}, {}, {}, {{"is a", "a"}}}, "a definition needs a plain name"},
        {"a path", {{{"new"}}, {}, {}, {{"is.a", "a"}}}, "a definition needs a plain name"},
        {"a definition", {{{"new"}}, {}, {}, {{"isB", "b b"}}}, "gel:1:3: definition \"isB\": "},
        {"another definition", {{{"new"}}, {}, {}, {{"isA", "!a"}}}, "\"isA\" is defined already, as a"},
        {"a definition of itself", {{}, {}, {}, {{"x", "!x"}}}, "a definition leads back to itself: x -> x"},
        {"definitions in a circle",
         {{}, {}, {}, {{"x", "y && a"}, {"y", "a && z"}, {"z", "a || x"}}},
         "a definition leads back to itself: z -> x -> y -> z"},
        {"a text that becomes too long",
         {{{"new", "", "", "x && x"}}, {}, {}, {{"x", "a" + long_}}},
         "command \"new\", enabled: with all definitions in place the text is longer than 65536 bytes, at \"x\""},
        {"a text that grows without end",
         {{{"new", "", "", "d0"}},
          {},
          {},
          [] {
              std::vector<std::pair<std::string, std::string>> all{{"d60", "a"}};
              for (int i = 0; i != 60; ++i) {
                  std::string const next = 'd' + std::to_string(i + 1);
                  all.emplace_back('d' + std::to_string(i), next + " && " + next);
              }
              return all;
          }()},
         "the text is longer than 65536 bytes"},
        {"a text that becomes too deep",
         {{{"new", "", "", "(d0)"}},
          {},
          {},
          [] {
              std::vector<std::pair<std::string, std::string>> all;
              for (int i = 0; i != 200; ++i)
                  all.emplace_back('d' + std::to_string(i), 'd' + std::to_string(i + 1));
              return all;
          }()},
         "deep"},
    };
    for (Row const& row : rows) {
        EXPECT_NE(refusal([&] { load(row.parts); }).find(row.reason), std::string::npos)
            << row.name << ": " << refusal([&] { load(row.parts); });
        EXPECT_EQ(take(), "") << row.name;
        EXPECT_EQ(table->list(), std::vector<std::string>{"save"}) << row.name;
        EXPECT_EQ(menus->list(), (std::vector<std::string>{"file", "recent"})) << row.name;
        EXPECT_TRUE(engine->listExpressions().empty()) << row.name;
        EXPECT_EQ(table->expanded("x && y && d0 && isA"), "x && y && d0 && (a)") << row.name;
    }
    EXPECT_EQ(refusal([&] {
                  Contribution(*table, nullptr, nullptr, {{}, {{"file", "", 0, "x"}}});
              }),
              "a contribution with entries needs menus");
    ExpressionEngine const other{root};
    EXPECT_THROW(CommandTable{const_cast<ExpressionEngine&>(other)}, std::invalid_argument);
}

TEST_F(Table, ReplacesDefinitionsUntilTheirLastUserEnds)
{
    table->define("isIdle", "!isBusy");
    Contribution first = load({{}, {}, {}, {{"isBusy", "a || b"}}});
    Contribution const second = load({{}, {}, {}, {{"isBusy", "a || b"}}});
    for (int users = 2; users != 0; --users) {
        EXPECT_EQ(table->expanded("isIdle && isIdle.x && 'isIdle'"), "(!(a || b)) && isIdle.x && 'isIdle'");
        EXPECT_EQ(table->expanded("x"), "x");
        if (users == 2)
            first = {};
    }
    Contribution const user = load({{{"go", "", "", "isIdle"}}});
    const_cast<Contribution&>(second) = {};
    EXPECT_EQ(table->expanded("isIdle"), "(!isBusy)") << "texts that are added later";
    take();
    root->setPropertyValue("a", false);
    EXPECT_EQ(take(), "go:  disabled -> ; | ") << "texts that were added before";
}

TEST_F(Table, ExplainsWhyACommandIsDisabled)
{
    using Sentences = std::vector<std::string>;
    Contribution const plugin =
        load({{{"save", "", "", "isB && n > 1"}, {"open", "", "", "a"}}, {}, {}, {{"isB", "b"}}});
    EXPECT_EQ(table->whyDisabled("save"), Sentences{}) << "without a function";
    table->explainWith([](std::string const& condition) { return Sentences{"needs " + condition}; });
    EXPECT_EQ(table->whyDisabled("save"), Sentences{"needs (b) && n > 1"});
    EXPECT_EQ(table->whyDisabled("open"), Sentences{});
    EXPECT_EQ(table->whyDisabled("unknown"), Sentences{});
}

TEST_F(Table, OrdersMenusAndReportsTheStepsBetweenTheirLists)
{
    Contribution const plugin =
        load({{{"cut"}, {"copy"}, {"paste", "Paste", "", "b"}, {"go"}, {"find", "Find {n}", "", "", "n > 0"}},
              {{"edit", "", 1, "paste"},
               {"edit", "2_a", 0, "copy"},
               {"edit", "2_a", -1, "cut", "", "", "a"},
               {"edit", "navigation", 9, "go", "", "", "a"},
               {"edit", "9_z", 0, "go", "", "", "!a"},
               {"edit", "", 0, "", "search", "Search {n}"},
               {"search", "", 0, "", "more", "", "a"},
               {"more", "", 0, "find"},
               {"edit", "", 2, "unknown"}}});
    take();
    EXPECT_EQ(plugin.warnings(),
              std::vector<std::string>{"an entry of menu \"edit\" refers to the unknown command \"unknown\""});
    EXPECT_EQ(menus->list(), (std::vector<std::string>{"edit", "more", "search"}));
    EXPECT_EQ(shown("edit"), "go cut copy search paste");
    struct Row {
        char const* name;
        char const* property;
        PropertyValue value;
        char const* steps;
        char const* list;
    } const rows[] = {
        {"a state of an item", "b", true, "edit !4; | ", "go cut copy search paste"},
        {"a value in titles", "n", 2, "edit !3; more !0; | ", "go cut copy search paste"},
        {"a submenu that becomes empty", "n", 0, "edit -3; more -0; search -0; | ", "go cut copy paste"},
        {"a command in another group", "a", false, "edit -1; edit ~0>1; edit !1; | ", "copy go paste"},
        {"a submenu behind a condition", "n", 3, "more +0; | ", "copy go paste"},
        {"several at once", "a", true, "edit ~1>0; edit +1; edit +3; edit !0; search +0; | ",
         "go cut copy search paste"},
    };
    for (Row const& row : rows) {
        root->setPropertyValue(row.property, row.value);
        std::string const reported = take();
        std::size_t const begin = reported.find("| ") + 2;
        EXPECT_EQ(reported.find(':') == std::string::npos ? reported : reported.substr(begin), row.steps) << row.name;
        EXPECT_EQ(shown("edit"), row.list) << row.name;
    }
    EXPECT_EQ(menus->items("edit")[3].state.title, "Search 3");
    EXPECT_EQ(menus->entry(menus->items("edit")[1].entry)->order, -1);
}

TEST_F(Table, OrdersGroupsAsTheHostDoes)
{
    Menus backwards{*table, [](std::string_view left, std::string_view right) { return left > right; }};
    Contribution const plugin{*table,
                              &backwards,
                              nullptr,
                              {{{"x"}, {"y"}, {"z"}}, {{"m", "a", 0, "x"}, {"m", "c", 0, "y"}, {"m", "", 0, "z"}}}};
    std::string order;
    for (MenuItem const& item : backwards.items("m"))
        order += item.command;
    EXPECT_EQ(order, "yxz");
}

TEST_F(Table, ReportsAReloadByWhatDiffers)
{
    Contribution::Parts parts{{{"same"}, {"other", "A"}}, {{"m", "", 0, "same"}, {"m", "", 0, "other"}}};
    Contribution plugin = load(parts);
    take();
    // Inside a round both are one batch.
    auto const handle = engine->acquireExpression("a", [&](auto const&, PropertyValue const& value) {
        if (value == PropertyValue{true})
            return;
        plugin = {};
        EXPECT_TRUE(!table->describe("same") && table->find("same")) << "visible until it is reported";
        parts.commands[1].title = "B";
        std::swap(parts.entries[0], parts.entries[1]);
        plugin = load(parts);
        EXPECT_EQ(table->find("other")->title, "A");
        EXPECT_EQ(shown("m"), "same other");
    });
    root->setPropertyValue("a", false);
    EXPECT_EQ(take(), "other: A -> B; | m ~1>0; m !0; m !1; | ");
    EXPECT_EQ(shown("m"), "other same");
}

TEST_F(Table, RefusesReceiversThatWriteWithoutEnd)
{
    Contribution const plugin = load({{{"flip", "", "", "b"}}});
    int calls = 0;
    table->onChanged([&](auto&&) { root->setPropertyValue("b", ++calls % 2 == 0); });
    EXPECT_EQ(refusal([&] { root->setPropertyValue("b", true); }),
              "receivers of changes have written 1000 times in a row; the last change was of \"flip\"");
    EXPECT_EQ(calls, 1000);
    EXPECT_FALSE(table->find("flip")->isEnabled);
    table->onChanged({});
    root->setPropertyValue("b", 1);
    EXPECT_TRUE(table->find("flip")->isEnabled) << "what was left";
}

TEST_F(Table, LosesNothingWithoutMemory)
{
    Contribution::Parts const parts{
        {{"save", "A title that is long enough {s}", "", "a && n > 0"}, {"quit", "", "", "b"}},
        {{"a menu of that name", "", 0, "save", "", "", "b || n > 0"},
         {"file", "", 0, "", "a menu of that name", "And its title is long {n}"}},
        {},
        {{"isThatAllRight", "b || a"}}};
    Contribution plugin;
    int failures = 0;
    for (bool happened = true; happened; ++failures) {
        support::FailingAllocation const failing{static_cast<std::size_t>(failures)};
        try {
            plugin = load(parts);
        } catch (std::bad_alloc const&) {
            support::Exempt const exempt;
            ASSERT_TRUE(!plugin && table->list().empty() && menus->list().empty() && engine->listExpressions().empty());
        }
        happened = failing.happened();
    }
    EXPECT_GT(failures, 50);
    table->onChanged({});
    menus->onChanged({});
    for (failures = 0;; ++failures) {
        root->setPropertyValue("n", 1);
        root->setPropertyValue("s", "x");
        support::FailingAllocation const failing{static_cast<std::size_t>(failures)};
        try {
            support::inTransaction([&] {
                root->setPropertyValue("n", 0);
                root->setPropertyValue("s", "another text that is long");
            });
        } catch (std::bad_alloc const&) {}
        support::Exempt const exempt;
        if (!failing.happened())
            break;
        root->setPropertyValue("b", failures % 2 != 0);   // brings what was left out
        bool const isCommitted = root->getPropertyValue("n") == PropertyValue{0};
        EXPECT_EQ(table->find("save")->isEnabled, !isCommitted) << failures;
    }
}

TEST_F(Table, AChangeCostsWhatItChanges)
{
    std::vector<Contribution> plugins;
    auto const allocations = [this] {
        std::size_t const before = support::allocationCount();
        for (int i = 0; i != 100; ++i)
            root->setPropertyValue("n", i % 2);
        return support::allocationCount() - before;
    };
    plugins.push_back(load({{{"one", "", "", "n > 0"}}, {{"m", "", 0, "one"}}}));
    table->onChanged({});
    menus->onChanged({});
    allocations();
    std::size_t const few = allocations();
    Contribution::Parts many;
    for (int i = 0; i != 1000; ++i) {
        many.commands.push_back({"c" + std::to_string(i), "", "", "a && s == 'x" + std::to_string(i) + "'"});
        many.entries.push_back({"m", "", 0, many.commands.back().id});
    }
    plugins.push_back(load(std::move(many)));
    allocations();
    EXPECT_EQ(allocations(), few);
    EXPECT_LE(few, 100 * 10U);
}

}   // namespace
}   // namespace studio::commands
