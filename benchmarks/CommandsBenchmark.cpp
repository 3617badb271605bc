#include "benchmarks/Allocations.h"
#include "benchmarks/Peers.h"

#include "gel/DataSource.h"
#include "gel/Program.h"
#include "studio/commands/CommandTable.h"
#include "studio/commands/Contribution.h"
#include "studio/commands/Keymap.h"
#include "studio/commands/Menus.h"
#include "studio/data/EngineObserver.h"

#include <array>
#include <span>

namespace benchmarks {

namespace {

using namespace studio::commands;
using studio::data::ContextProvider;
using studio::data::PropertyValue;

constexpr int PROPERTIES = 1'000;

/// An application: contexts, and commands, menus and keys over them.
struct Application {
    explicit Application(int properties) : root{makeContext(std::make_shared<LibraryPeer>(), properties)} {}

    Contribution load(Contribution::Parts parts) { return {table, &menus, &keymap, std::move(parts)}; }

    std::shared_ptr<ContextProvider> root;
    studio::data::ExpressionEngine engine{root, studio::data::ReleasePolicy::KeepsShared};
    CommandTable table{engine};
    Menus menus{table};
    Keymap keymap{table};
    std::vector<Contribution> plugins;
};

std::string numbered(std::string const& name, int number)
{
    return name + std::to_string(number);
}

/// Returns one of 160,000 sequences of two chords, of which the first has `alt` alone.
std::string keysOf(int number)
{
    auto const keys = static_cast<int>(keyNames().size());
    std::array const chords{
        Chord{Chord::Alt, static_cast<std::uint8_t>(number % keys)},
        Chord{static_cast<std::uint8_t>(number / keys / keys % 16), static_cast<std::uint8_t>(number / keys % keys)}};
    return textOf(chords);
}

/// Returns commands of a plugin, each with an entry in a menu of twenty and with a rule. A third of them has conditions
/// of their own, which the others share, and all have one in common.
Contribution::Parts makeParts(std::string const& plugin, int commands)
{
    Contribution::Parts parts;
    for (int i = 0; i < commands; ++i) {
        std::string const id = numbered(plugin + ".command", i);
        std::string const name = propertyName(i / 3 % PROPERTIES);
        std::string const condition = name + " < " + std::to_string(i / 3 + 1);
        parts.commands.push_back(
            {.id = id, .title = numbered("Command ", i), .enabled = condition, .visible = "property00 == 0"});
        parts.entries.push_back({.menu = numbered("menu", i / 20), .command = id, .when = condition});
        parts.rules.push_back({.keys = keysOf(i), .command = id, .when = condition, .source = plugin});
    }
    return parts;
}

/// Presses keys beside rules of other keys. Of sixteen rules of a sequence the weakest applies.
Task press(int rules)
{
    struct Pressing final : studio::data::EngineObserver {
        explicit Pressing() { application.engine.addObserver(*this); }
        ~Pressing() override { application.engine.removeObserver(*this); }
        Pressing(Pressing const&) = delete;
        Pressing& operator=(Pressing const&) = delete;
        void expressionEvaluated(std::string const& /*text*/, PropertyValue const& /*before*/,
                                 PropertyValue const& /*after*/) noexcept override
        {
            ++evaluations;
        }

        Application application{PROPERTIES};
        std::uint64_t presses = 0;
        std::uint64_t wrong = 0;
        std::uint64_t allocations = 0;
        std::uint64_t evaluations = 0;
    };
    auto const pressing = std::make_shared<Pressing>();
    Contribution::Parts parts;
    parts.commands.push_back({.id = "save", .enabled = "property01 == 0"});
    for (int i = 0; i < rules; ++i)
        parts.rules.push_back({.keys = keysOf(i), .command = numbered("command", i), .when = propertyName(i % 1'000)});
    for (int i = 0; i < 16; ++i)
        for (char const* const keys : {"ctrl+s", "ctrl+k ctrl+s"})
            parts.rules.push_back(
                {.keys = keys, .command = "save", .when = i == 0 ? "property02 == 0" : propertyName(i)});
    pressing->application.plugins.push_back(pressing->application.load(std::move(parts)));

    struct Press {
        Chord chord;
        KeyMatch::Kind expected;
    };
    std::array const sequence{
        Press{parseChord("ctrl+s"), KeyMatch::Kind::Command}, Press{parseChord("f24"), KeyMatch::Kind::None},
        Press{parseChord("ctrl+k"), KeyMatch::Kind::Pending}, Press{parseChord("ctrl+s"), KeyMatch::Kind::Command}};
    return {[=](std::uint64_t times) {
                std::uint64_t const before = allocationCount();
                for (; times != 0; --times) {
                    Press const& next = sequence[pressing->presses++ % sequence.size()];
                    pressing->wrong += pressing->application.keymap.press(next.chord).kind != next.expected;
                }
                pressing->allocations += allocationCount() - before;
            },
            [=] { return pressing->wrong + pressing->allocations + pressing->evaluations == 0; }};
}

/// Writes a property that enables and disables one command of many; each has a condition, an entry and a rule.
Task flipOne(int commands)
{
    struct Flipping {
        explicit Flipping(int properties) : application{properties} {}
        Application application;
        std::size_t changes = 0;
        std::size_t commits = 0;
        bool isEnabled = false;
    };
    auto const flipping = std::make_shared<Flipping>(commands);
    Application& application = flipping->application;
    Contribution::Parts parts;
    for (int i = 0; i < commands; ++i) {
        std::string const id = numbered("command", i);
        parts.commands.push_back({.id = id, .title = numbered("Command ", i), .enabled = propertyName(i)});
        parts.entries.push_back({.menu = numbered("menu", i / 20), .command = id});
        parts.rules.push_back({.keys = keysOf(i), .command = id, .when = propertyName(i)});
    }
    application.plugins.push_back(application.load(std::move(parts)));
    application.table.onChanged([flipping = flipping.get()](std::span<CommandChange const> changes) {
        flipping->changes += changes.size();
        flipping->isEnabled = changes.front().after->isEnabled;
    });
    std::string const name = propertyName(7);
    return {
        [=](std::uint64_t times) {
            for (; times != 0; --times)
                flipping->application.root->setPropertyValue(name, ++flipping->commits % 2 == 0 ? 0.0 : 1.0);
        },
        [=] { return flipping->changes == flipping->commits && flipping->isEnabled == (flipping->commits % 2 != 0); }};
}

constexpr int FOCUSED = 70;      // commands that the focus enables and disables
constexpr int FOLLOWING = 300;   // commands with conditions over the focus
constexpr int COMMANDS = 900;

/// A window with two parts, one of which has the focus.
struct Window {
    Window()
    {
        editor->addProperty("isEditor", true);
        preview->addProperty("isEditor", false);
        for (auto const& part : {editor, preview})
            part->addProperty("isOpen", true);
        root->addProperty("focus", PropertyValue{editor});
    }

    void moveFocus() { root->setPropertyValue("focus", PropertyValue{++moves % 2 == 0 ? editor : preview}); }

    static std::string conditionOf(int command)
    {
        std::string const rest = " && " + propertyName(command % 20) + " < " + std::to_string(command + 1);
        return command < FOCUSED     ? "focus.isEditor" + rest
               : command < FOLLOWING ? "focus.isOpen" + rest
                                     : propertyName(command % 7) + " == 0" + rest;
    }

    std::shared_ptr<ContextProvider> root = makeContext(std::make_shared<LibraryPeer>(), 20);
    std::shared_ptr<ContextProvider> editor = ContextProvider::create();
    std::shared_ptr<ContextProvider> preview = ContextProvider::create();
    std::size_t moves = 0;
    std::size_t changes = 0;
};

/// Moves the focus. Commands are subscribed to what they depend on.
Task moveFocus()
{
    struct Following : Window {
        studio::data::ExpressionEngine engine{root, studio::data::ReleasePolicy::KeepsShared};
        CommandTable table{engine};
        Contribution plugin;
    };
    auto const window = std::make_shared<Following>();
    Contribution::Parts parts;
    for (int i = 0; i < COMMANDS; ++i)
        parts.commands.push_back(
            {.id = numbered("command", i), .title = numbered("Command ", i), .enabled = Window::conditionOf(i)});
    window->plugin = Contribution{window->table, nullptr, nullptr, std::move(parts)};
    window->table.onChanged(
        [window = window.get()](std::span<CommandChange const> changes) { window->changes += changes.size(); });
    return {[=](std::uint64_t times) {
                for (; times != 0; --times)
                    window->moveFocus();
            },
            [=] { return window->changes == FOCUSED * window->moves; }};
}

/// Values of symbols, read from contexts.
class Values final : public gel::DataSource {
public:
    explicit Values(ContextProvider const& root) : root{root} {}
    gel::Value lookup(std::string const& symbol) const override
    {
        PropertyValue const value = root.getPropertyValue(symbol);
        return value.isLogical() ? gel::Value{value.getBool()} : gel::Value{value.getDouble()};
    }

private:
    ContextProvider const& root;
};

/// Moves the focus, and evaluates each condition, which was parsed before, to find what has changed.
Task moveFocusByHand()
{
    struct Evaluating : Window {
        std::vector<gel::Program> conditions;
        std::vector<bool> enabled = std::vector<bool>(COMMANDS, true);
    };
    auto const window = std::make_shared<Evaluating>();
    for (int i = 0; i < COMMANDS; ++i)
        window->conditions.emplace_back(Window::conditionOf(i));
    return {[=](std::uint64_t times) {
                Values const source{*window->root};
                for (; times != 0; --times) {
                    window->moveFocus();
                    for (std::size_t i = 0; i != window->conditions.size(); ++i) {
                        bool const isEnabled = window->conditions[i].eval(source) == gel::Value{true};
                        window->changes += isEnabled != window->enabled[i];
                        window->enabled[i] = isEnabled;
                    }
                }
            },
            [=] { return window->changes == FOCUSED * window->moves; }};
}

/// Loads a plugin, or unloads it while another one that came later uses the same conditions.
Task load(int commands, bool isUnloaded)
{
    auto const application = std::make_shared<Application>(PROPERTIES);
    auto const parts = std::make_shared<Contribution::Parts>();
    auto const loadFirst = [=] { application->plugins.push_back(application->load(std::move(*parts))); };
    auto const prepare = [=] {
        application->plugins.clear();
        *parts = makeParts("first", commands);
    };
    auto const hasCommands = [=](std::size_t count) {
        return application->table.list().size() == count && !application->menus.items("menu0").empty() == (count != 0);
    };
    auto const all = static_cast<std::size_t>(commands);
    if (!isUnloaded)
        return {[=](std::uint64_t) { loadFirst(); }, [=] { return hasCommands(all); }, prepare};
    return {[=](std::uint64_t) { application->plugins.erase(application->plugins.begin()); },
            [=] { return hasCommands(all) && application->table.find("second.command0"); },
            [=] {
                prepare();
                loadFirst();
                application->plugins.push_back(application->load(makeParts("second", commands)));
            }};
}

/// Keeps commands, or rules, with conditions that are subscribed already.
Task keep(int count, bool areRules)
{
    auto const application = std::make_shared<Application>(PROPERTIES);
    Contribution::Parts conditions;
    for (int i = 0; i < PROPERTIES; ++i)
        conditions.commands.push_back({.id = numbered("condition", i), .enabled = propertyName(i)});
    application->plugins.push_back(application->load(std::move(conditions)));
    return {[=](std::uint64_t) {
                Contribution::Parts parts;
                for (int i = 0; i < count; ++i)
                    if (areRules)
                        parts.rules.push_back({.keys = keysOf(i),
                                               .command = numbered("condition", i % PROPERTIES),
                                               .when = propertyName(i % PROPERTIES)});
                    else
                        parts.commands.push_back({.id = numbered("command", i),
                                                  .title = numbered("Command ", i),
                                                  .enabled = propertyName(i % PROPERTIES)});
                application->plugins.push_back(application->load(std::move(parts)));
            },
            [=] {
                return areRules ? !application->keymap.rulesOf("condition0").empty()
                                : application->table.find("command0") != nullptr;
            }};
}

}   // namespace

void addCommands(std::vector<Workload>& list, Sizes const& sizes)
{
    using enum Workload::Kind;
    for (int const count : {1'000, 100'000}) {
        list.push_back({numbered("W12-press-", count), steady, 1, {}, [=] { return press(count); }});
        list.push_back({numbered("W12-commit-", count), steady, 1, {}, [=] { return flipOne(count); }});
    }
    list.push_back({"W12-focus", steady, 1, moveFocusByHand, moveFocus});
    for (auto const& [id, count] : {std::pair{"", COMMANDS}, std::pair{"-9000", 10 * COMMANDS}}) {
        std::string const name = id;
        list.push_back({"W12-load" + name, once, double(count), {}, [=, n = count] { return load(n, false); }});
        list.push_back({"W12-unload" + name, once, double(count), {}, [=, n = count] { return load(n, true); }});
    }
    for (auto const& [id, areRules] : {std::pair{"W12-command-bytes", false}, std::pair{"W12-rule-bytes", true}})
        list.push_back({id, memory, double(sizes.contexts), {}, [count = sizes.contexts, rules = areRules] {
                            return keep(count, rules);
                        }});
}

}   // namespace benchmarks
