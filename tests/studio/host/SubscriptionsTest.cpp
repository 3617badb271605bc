#include "studio/host/Subscriptions.h"

#include "studio/host/Schema.h"
#include "support/Allocations.h"
#include "support/Contexts.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace studio::host {
namespace {

using data::ExpressionEngine;
using data::PropertyValue;
using support::context;
using support::inTransaction;
using support::Provider;

class Subscribed : public testing::Test {
protected:
    std::function<void(bool)> note(char const* name)
    {
        return [this, name](bool holds) { log += std::string{name} + (holds ? "+ " : "- "); };
    }
    std::string take() { return std::exchange(log, {}); }

    Provider child = context({{"dirty", true}});
    Provider root = context({{"n", 1}, {"s", "x"}, {"doc", child}});
    std::optional<Subscriptions> subscriptions{root};
    std::string log;
};

TEST_F(Subscribed, HandOverOnlyRealChanges)
{
    double const infinity = std::numeric_limits<double>::infinity();
    struct Row {
        PropertyValue value;
        char const* condition;
        char const* label;
        bool isSameValue = false;
    } const rows[] = {{1, "n+ ", "1"},
                      {2, "", "2"},
                      {2.5, "", "2.5"},
                      {1e21, "", "1e+21"},
                      {-123456.25, "", "-123456.25"},
                      {0.000001, "", "0.000001"},
                      {1e-7, "", "1e-7"},
                      {"2.5", "", "2.5"},
                      {"", "n- ", ""},
                      {{}, "", "", false},
                      {0, "", "0"},
                      {-0.0, "", "0", true},
                      {false, "", "false"},
                      {-infinity, "n+ ", "-Infinity"},
                      {"false", "", "false"},
                      {true, "", "true"},
                      {child, "", child->getId().is_nil() ? "" : nullptr}};
    root->setPropertyValue("n", "before");
    std::string label = "none";
    std::vector<PropertyValue> values;
    Subscription const condition = subscriptions->when("n", note("n"));
    Subscription const shows = subscriptions->show("n", [&](std::string const& text) {
        EXPECT_NE(text, label) << "a repetition";
        label = text;
    });
    Subscription const watches =
        subscriptions->watch("n", [&](PropertyValue const& value) { values.push_back(value); });
    EXPECT_EQ(take() + label, "n+ before");
    root->setPropertyValue("n", false);
    take();
    for (Row const& row : rows) {
        std::size_t const before = values.size();
        root->setPropertyValue("n", row.value);
        EXPECT_EQ(take(), row.condition) << row.value.asString();
        EXPECT_EQ(label, row.label ? std::string{row.label} : row.value.asString());
        EXPECT_EQ(values.size() - before, row.isSameValue ? 0u : 1u) << row.value.asString();
        EXPECT_EQ(values.back(), watches.value());
    }
}

TEST_F(Subscribed, ReleasesFreezeNobody)
{
    // An engine of its own keeps shared symbols; a popup that closes leaves the command alone.
    Subscription const save = subscriptions->when("doc.dirty && n > 0", note("save"));
    Subscription popup = subscriptions->when("doc.dirty", note("popup"));
    EXPECT_EQ(take(), "save+ popup+ ");
    std::size_t const before = support::allocationCount();
    popup.reset();
    EXPECT_EQ(support::allocationCount(), before);
    child->setPropertyValue("dirty", false);
    root->setPropertyValue("doc", context({{"dirty", true}}));   // dangles at once
    root->setPropertyValue("doc", child);
    child->setPropertyValue("dirty", true);
    EXPECT_EQ(take(), "save- save+ save- save+ ");
    ExpressionEngine engine{root};
    EXPECT_THROW(Subscriptions{engine}, std::invalid_argument);
    EXPECT_THROW(static_cast<void>(subscriptions->when("n", nullptr)), std::invalid_argument);
}

TEST_F(Subscribed, FailuresReachTheHostAndNotTheWriter)
{
    std::vector<Subscription> kept;
    auto const fails = [](auto const&) { throw std::runtime_error{"broken"}; };
    EXPECT_THROW(static_cast<void>(subscriptions->when("n", fails)), std::runtime_error);
    EXPECT_TRUE(subscriptions->engine().listExpressions().empty()) << "nothing is subscribed";
    std::string failures;
    subscriptions->onError([&](Failure const& failure) {
        failures += failure.text + '=' + failure.value.asString() + ": " + failure.reason + "; ";
        EXPECT_THROW(std::rethrow_exception(failure.exception), std::runtime_error);
    });
    kept.push_back(subscriptions->watch("n + 1", fails));
    kept.push_back(subscriptions->when("n + 1 > 2", note("n")));
    kept.push_back(subscriptions->show("n + 1", fails));
    kept.push_back(subscriptions->when("n + 1 > 1", note("m")));
    EXPECT_EQ(std::exchange(failures, {}), "n + 1=2: broken; n + 1=2: broken; ");
    EXPECT_NO_THROW(root->setPropertyValue("n", 5));
    EXPECT_EQ(failures, "n + 1=6: broken; n + 1=6: broken; ");
    EXPECT_EQ(take(), "n- m+ n+ ");
    kept.clear();
    std::optional<support::FailingAllocation> exhausted;
    int reported = 0;
    subscriptions->onError([&, held = std::string(100, 'x')](Failure const&) { ++reported, exhausted.reset(); });
    kept.push_back(subscriptions->watch("'a text that needs memory of its own ' + n", [&](auto const&) {
        exhausted.emplace(0, support::FailingAllocation::Sticky::Yes);
        throw 1;
    }));
    EXPECT_NO_THROW(root->setPropertyValue("n", 6));
    EXPECT_EQ(reported, 2) << "without memory, too";
    kept[0] = subscriptions->watch("n", fails);
    subscriptions->onError({});
    EXPECT_THROW(root->setPropertyValue("n", -5), std::runtime_error);
}

TEST_F(Subscribed, AllocateNoMoreThanHandlesOfTheEngine)
{
    PropertyValue const texts[] = {std::string(60, 'y'), std::string(60, 'z')};
    int calls = 0;
    auto const allocated = [&] {
        std::size_t before = 0;
        for (int round = 0; round != 12; ++round) {
            if (round == 4)
                before = support::allocationCount();
            root->setPropertyValue("n", round % 2 + 1.25);
            root->setPropertyValue("s", texts[round % 2]);
        }
        return support::allocationCount() - before;
    };
    std::vector<std::unique_ptr<data::ExpressionHandle>> handles;
    for (char const* const text : {"n > 1", "n", "s", "s"})
        handles.push_back(subscriptions->engine().acquireExpression(text, [](auto const&, auto const&) {}));
    std::size_t const ofHandles = allocated();
    handles.clear();
    root->setPropertyValue("n", 1);
    Subscription const kept[] = {subscriptions->when("n > 1", [&](bool) { ++calls; }),
                                 subscriptions->show("n", [&](std::string const&) { ++calls; }),
                                 subscriptions->show("s", [&](std::string const&) { ++calls; }),
                                 subscriptions->watch("s", [&](PropertyValue const&) { ++calls; })};
    EXPECT_EQ(allocated(), ofHandles);
    EXPECT_EQ(calls, 4 + 1 + 3 * 12);
}

TEST_F(Subscribed, NamesThatYieldNothingAreListed)
{
    Subscription const kept[] = {subscriptions->when("doc.dirt && n", [](bool) {}),
                                 subscriptions->show("s.x + m", [](auto const&) {})};
    std::string found;
    for (auto const& unresolved : subscriptions->unresolved())
        found += unresolved.text + ": " + describe(unresolved.end, unresolved.name) + '\n';
    EXPECT_EQ(found, "doc.dirt && n: \"doc.dirt\" is missing: \"doc\" has no property \"dirt\"\n"
                     "s.x + m: \"m\" is missing: the root has no property \"m\"\n"
                     "s.x + m: \"s.x\" is missing: the property \"s\" of the root is not a context\n");
}

// ---- keys

enum class Mode { Insert, Replace, Other };

TEST(ContextKey, ReadsAndWritesByItsType)
{
    Provider const target = context();
    Provider const other = context();
    ContextKey<bool> const dirty{"dirty", true, "Has unsaved changes"};
    ContextKey<int> const line{"line", 1, "The line of the cursor"};
    ContextKey<std::int64_t> const size{"size", 0, "Bytes"};
    ContextKey<std::string> const theme{"theme", "dark", "The colours", {"dark", "light"}};
    ContextKey<Mode> const mode{"mode", Mode::Insert, "", {{Mode::Insert, "insert"}, {Mode::Replace, "replace"}}};
    ContextKey<Provider> const parent{"parent", nullptr, "Where it belongs"};
    EXPECT_EQ(line.get(target), 1) << "the default where there is none";
    dirty.addTo(target), theme.addTo(target), mode.addTo(target), parent.addTo(target);
    EXPECT_EQ(target->getPropertyValue("mode"), PropertyValue("insert"));
    EXPECT_TRUE(dirty.get(target) && dirty.set(target, false) && !dirty.set(target, false) && !dirty.get(target));
    EXPECT_TRUE(line.set(target, -7) && line.get(target) == -7 && mode.set(target, Mode::Replace));
    EXPECT_EQ(mode.get(target), Mode::Replace);
    EXPECT_TRUE(parent.set(target, other) && parent.get(target) == other && parent.set(target, nullptr));
    EXPECT_EQ(parent.get(target), nullptr);
    auto const declare = [](char const* name, std::vector<int> const& allowed) {
        ContextKey<int>{name, 1, "", allowed};
    };
    std::vector<std::function<void()>> const refused{[&] { theme.set(target, "blue"); },
                                                     [&] { mode.set(target, Mode::Other); },
                                                     [&] { size.set(target, (1ll << 53) + 1); },
                                                     [&] { line.get(nullptr); },
                                                     [&] { dirty.addTo(nullptr); },
                                                     [&] { declare("a.b", {}); },
                                                     [&] { declare("", {}); },
                                                     [&] { declare("n", {2, 3}); }};
    for (auto const& refusal : refused)
        EXPECT_THROW(refusal(), std::invalid_argument);
    EXPECT_EQ(theme.get(target), "dark");
    for (PropertyValue const& odd : {PropertyValue{2.5}, PropertyValue{1e300}, PropertyValue{"7"}, PropertyValue{}}) {
        target->setPropertyValue("line", odd);
        EXPECT_EQ(line.get(target), 1) << "what the type cannot hold";
    }
}

Schema schemaOfAnEditor()
{
    Schema schema;
    schema.add(ContextKey<int>{"count", 0, "Open documents"});
    schema.add(ContextKey<int>{"limit", 1, "", {-1, 1}});
    schema.add(ContextKey<bool>{"readOnly", false, "No changes"}, "editor.document");
    schema.add(ContextKey<std::string>{"name", "", "Its name"}, "editor.document");
    schema.add(ContextKey<Mode>{"mode", Mode::Insert, "", {{Mode::Insert, "insert"}, {Mode::Replace, "replace"}}},
               "editor");
    return schema;
}

TEST(Schema, FindsWhatCanNeverHold)
{
    Schema const schema = schemaOfAnEditor();
    std::pair<char const*, std::vector<std::string>> const rows[] = {
        {"editor.document.readOnly && count > 0", {}},
        {"editor.document.redaOnly",
         {R"(0+24 unknown name "editor.document.redaOnly"; did you mean "editor.document.readOnly"?)"}},
        {"COUNT > 0 || zzz", {R"(0+5 unknown name "COUNT"; did you mean "count"?)", R"(13+3 unknown name "zzz")"}},
        {"count == 'three'", {R"(0+16 count is never equal to 'three': they are of different kinds)"}},
        {"count in [1, true, undefined]", {R"(0+29 count is never equal to true: they are of different kinds)"}},
        {"(count ?? 0) == undefined", {R"(0+25 count ?? 0 is never equal to undefined: they are of different kinds)"}},
        {"editor.mode != 'inser'", {R"(0+22 "editor.mode" is never 'inser'; it may be "insert", "replace")"}},
        {"'x' < count", {R"(0+11 'x' < count is never true: its sides have no order)"}},
        {"count < 'x' + 1 ? !editor : length(editor.mode) == (count > 1)",
         {R"(0+15 count < 'x' + 1 is never true: its sides have no order)",
          R"(28+34 length(editor.mode) is never equal to count > 1: they are of different kinds)"}},
        {"editor == editor.document.name && -count + count == 1 && (!count) == defined(count)", {}},
        {"(count > 1 ? 'a' : count) == 'a' && text(count) + 1 == '11' && count =~ /a/", {}},
        {"count + editor.document.readOnly > true", {}},
        {"undefined < 3", {"0+13 undefined < 3 is never true: its sides have no order"}},
        {"limit == -1 || limit == -2", {R"(15+11 "limit" is never -2; it may be -1, 1)"}},
    };
    for (auto const& [text, expected] : rows) {
        std::vector<std::string> found;
        try {
            for (Schema::Problem const& problem : schema.check(text))
                found.push_back(std::to_string(problem.offset) + '+' + std::to_string(problem.size) + ' ' +
                                problem.message);
        } catch (std::exception const& error) {
            found.emplace_back(error.what());
        }
        EXPECT_EQ(found, expected) << text;
    }
}

TEST(Schema, RefusesWhatContradictsItAndShowsItself)
{
    Schema schema = schemaOfAnEditor();
    std::string const before = schema.json();
    EXPECT_THROW(schema.add(ContextKey<bool>{"count", false, ""}), std::invalid_argument);
    EXPECT_THROW(schema.add(ContextKey<bool>{"x", false, ""}, "new.count..y"), std::invalid_argument);
    EXPECT_THROW(schema.add(ContextKey<bool>{"x", false, ""}, "editor.mode"), std::invalid_argument);
    EXPECT_EQ(schema.json(), before);
    EXPECT_NE(before.find(R"("editor.mode": {
    "allowed": [
      "insert",
      "replace"
    ],
    "default": "insert",
    "description": "",
    "kind": "text"
  })"),
              std::string::npos)
        << before;
    Subscriptions strict{context({{"count", 1}})};
    strict.require(schema);
    EXPECT_THROW(static_cast<void>(strict.when("cuont > 0", [](bool) {})), std::invalid_argument);
    EXPECT_TRUE(strict.engine().listExpressions().empty());
    EXPECT_TRUE(strict.when("count > 0", [](bool) {}));
}

}   // namespace
}   // namespace studio::host
