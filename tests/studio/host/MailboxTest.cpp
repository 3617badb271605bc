#include "studio/host/Mailbox.h"

#include "studio/host/ContextTree.h"
#include "support/Allocations.h"
#include "support/Contexts.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <array>
#include <deque>
#include <optional>

namespace studio::host {
namespace {

using support::Handle;
using support::Provider;

struct MailboxTest : testing::Test {
    void write(char const* name, double value) { mailbox->write(context->getId(), name, value); }
    void post(std::string const& note)
    {
        notes += mailbox->post([this, note] { notes += note; }) ? "" : "refused";
    }
    /// Notes how many ran, after what they note, or that the drain was refused.
    void drain(std::size_t limit = Mailbox::DEFAULT_LIMIT)
    try {
        std::string const ran = std::to_string(mailbox->drain(limit));
        notes += '(' + ran + ')';
    } catch (std::exception const&) {
        notes += '!';
    }
    double read(char const* name) const { return context->getPropertyValue(name).getDouble(); }

    Provider const context = support::context({{"a", 0}, {"b", 0}});
    data::ExpressionEngine engine{context};
    int wakes = 0;
    std::string notes;
    std::string failures;
    ErrorHandler const handler = [this](Failure const& failure) { failures += failure.text + ": " + failure.reason; };
    std::optional<Mailbox> mailbox{std::in_place, [this] { ++wakes; }, handler};
};

TEST_F(MailboxTest, WakesForEachDrainThatIsDueAndKeepsWhatARefusedOneWouldRun)
{
    bool throws = false;
    mailbox.emplace([&] { ++wakes, throws ? throw 1 : void(); }, handler);
    auto const whileFrozen = [&](auto const& act) {
        tarn::zero::Model::Freezer const frozen{context->getModel()};
        act();
    };
    struct Step {
        std::function<void()> step;
        char const* afterwards;   // wakes, and what happened
    };
    for (auto const& [step, afterwards] : {
             Step{[&] { post("a"), post("b"), post("c"), drain(1); }, "2 a(1)"},
             {[&] { support::inTransaction([&] { drain(); }), post("d"); }, "3 !"},
             {[&] { drain(0), post("e"), post("f"); }, "4 !"},
             {[&] { whileFrozen([&] { drain(); }), post("g"); }, "5 !"},
             {[&] { mailbox->post([&] { post("later"), drain(); }), drain(), drain(), drain(); },
              "6 bcdefg!(7)later(1)(0)"},
             {[&] { EXPECT_THROW((throws = true, post("h")), int); }, "7 "},
             {[&] { throws = false, post("i"); }, "8 "},
             {[&] { EXPECT_THROW(mailbox->post({}), std::invalid_argument); }, "8 "},
             {[&] { mailbox->close(), post("j"), drain(); }, "8 refusedhi(2)"},
         }) {
        step();
        EXPECT_EQ(std::to_string(wakes) + ' ' + std::exchange(notes, {}), afterwards);
    }
}

TEST_F(MailboxTest, TheResultIsThatOfTheSequence)
{
    constexpr std::array<char const*, 3> names{"a", "b", "missing"};
    int calls = 0;
    Handle const handle = engine.acquireExpression("a + ',' + b", [&](auto const&, auto const&) { ++calls; });
    for (std::uint64_t const seed : support::seeds(50)) {
        SCOPED_TRACE(seed);
        support::Random random{seed};
        std::array<double, 3> now{read("a"), read("b"), 0};
        std::deque<std::array<double, 3>> expected;   // what each function sees
        for (int step = 1; step != 200; ++step) {
            std::size_t const which = random.below(3);
            bool const isPosted = random.oneIn(4);
            bool const throws = isPosted && random.oneIn(3);
            if (isPosted) {
                expected.push_back(now);
                mailbox->post([&, which, step, throws] {
                    EXPECT_EQ(read("a"), expected.front()[0]);
                    EXPECT_EQ(read("b"), expected.front()[1]);
                    expected.pop_front();
                    context->setPropertyValue(names[which], step);
                    throws ? throw step : void();
                });
            } else {
                write(names[which], step);
            }
            now[which] = throws ? now[which] : step;
            calls = 0;
            if (random.oneIn(8))
                mailbox->drain(1 + random.below(9));
            EXPECT_LE(calls, 1) << "one transaction";
        }
        while (mailbox->drain() != 0) {}
        EXPECT_TRUE(expected.empty() && read("a") == now[0] && read("b") == now[1]);
    }
}

TEST_F(MailboxTest, WhatFailsIsUndoneAloneAndReportedOrElseThrown)
{
    bool listenerThrows = false;
    Handle const handle = engine.acquireExpression(
        "a", [&](auto const&, auto const&) { listenerThrows ? throw std::runtime_error{"listener"} : void(); });
    std::optional<tarn::zero::Transaction> leaked;
    struct Case {
        std::function<void()> fails;
        char const* reason;
    };
    auto const failing = [&](std::function<void()> const& then) {
        return [&, then] { mailbox->post([&, then] { context->setPropertyValue("a", 7), then(); }); };
    };
    for (bool const isHandled : {true, false})
        for (auto const& [fails, reason] : {
                 Case{failing([] { throw std::runtime_error{"posted"}; }), "posted"},
                 {failing([&] { leaked.emplace(context->getModel()->beginTransaction(true)); }), "inside it is open"},
                 {failing([&] { mailbox->drain(); }), "drained inside its own drain"},
                 {failing([&] { Mailbox{{}}.drain(); }), "drained inside an open transaction"},
                 {[&] { mailbox->post([&] { listenerThrows = true; }); }, "listener"},
                 {[&] { write("missing", 7); }, "has no property \"missing\""},
                 {[&] { write("", 7); }, "has no property \"\""},
                 {[&] { write("a.b", 7); }, "has no property \"a.b\""},
                 {[&] { mailbox->write(support::uuid(9), "a", 7); }, "there is no context 00000000-0000-"},
             }) {
            mailbox.emplace([] {}, isHandled ? handler : nullptr);
            context->setPropertyValue("a", 0);
            write("a", 1), fails(), post("."), mailbox->post([&] { throw std::runtime_error{"second"}; });
            failures.clear();
            try {
                EXPECT_EQ(mailbox->drain(), 4U);
                EXPECT_TRUE(isHandled);
            } catch (std::exception const& exception) {
                failures = exception.what();
            }
            listenerThrows = false;
            std::string const wanted = isHandled || std::string{reason} != "listener" ? reason : "second";
            EXPECT_NE(failures.find(wanted), std::string::npos) << wanted << ", but: " << failures;
            EXPECT_EQ(failures.find("second") != std::string::npos, isHandled || wanted == "second") << failures;
            EXPECT_EQ(read("a"), 1) << wanted;
            EXPECT_EQ(std::exchange(notes, {}), ".") << wanted;
        }
}

TEST_F(MailboxTest, WhatACommitWithoutMemoryUndoesRunsAgain)
{
    for (int i = 0; i != 64; ++i)
        context->addProperty("p" + std::to_string(i), 0);
    auto const writeAll = [&](std::size_t value) {
        for (std::string const& name : context->getPropertyNames())
            context->setPropertyValue(name, value);
    };
    support::rolledBack([&] { writeAll(1); });   // what remains to be allocated is the report, by the commit
    bool failed = true;
    for (std::size_t skipped = 0; failed; ++skipped) {
        write("a", 1);
        mailbox->post([&] { support::Exempt{}, writeAll(skipped + 2); });
        try {
            support::FailingAllocation const failing{skipped};
            mailbox->drain();
            failed = failing.happened();
        } catch (std::bad_alloc const&) {
            mailbox->drain();
        }
        EXPECT_TRUE(read("a") == read("p63") && read("a") == static_cast<double>(skipped + 2)) << failures;
    }
}

TEST_F(MailboxTest, FunctionsMayChangeTrees)
{
    ContextTree tree;
    mailbox->post([&] { tree.make("a"); });
    mailbox->post([&] { tree.make("b"), throw 1; });
    mailbox->drain();
    EXPECT_TRUE(tree.find("a") && !tree.find("b") && !tree.root()->hasProperty("b"));
}

TEST_F(MailboxTest, MayBeDestroyedInsideItsDrain)
{
    std::function<void()> inCallback;
    Handle const handle = engine.acquireExpression("a > 0", [&](auto const&, auto const& value) {
        if (value.getBool())
            inCallback();
    });
    for (bool const isInCallback : {true, false}) {
        auto const captured = std::make_shared<int>();
        mailbox.emplace([] {}, [](Failure const&) { FAIL(); });
        auto const destroy = [&] { mailbox.reset(); };
        auto const nothing = [] {};
        inCallback = isInCallback ? std::function<void()>{destroy} : nothing;
        write("a", isInCallback ? 1 : 2);
        mailbox->post([=] { isInCallback ? nothing() : destroy(), throw std::runtime_error{"nobody to report to"}; });
        for (int i = 0; i != 2; ++i)
            mailbox->post([captured] { FAIL(); });
        EXPECT_THROW(mailbox->drain(isInCallback ? 2 : 3), std::runtime_error);
        EXPECT_TRUE(!mailbox && captured.use_count() == 1);
        EXPECT_EQ(read("a"), isInCallback ? 1 : 2);
        context->setPropertyValue("a", 0);
    }
}

}   // namespace
}   // namespace studio::host
