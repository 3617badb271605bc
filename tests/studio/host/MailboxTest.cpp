#include "studio/host/Mailbox.h"

#include "support/Contexts.h"
#include "support/Random.h"

#include <boost/uuid/uuid_io.hpp>

#include <gtest/gtest.h>

#include <array>
#include <deque>
#include <optional>

namespace studio::host {
namespace {

using support::Handle;
using support::Provider;

struct MailboxTest : testing::Test {
    void drainAll()
    {
        while (mailbox->drain() != 0) {}
    }
    auto noting(char const* what)
    {
        return [this, what] { notes += what; };
    }

    Provider const context = support::context({{"a", 0}, {"b", 0}});
    data::ExpressionEngine engine{context};
    int wakes = 0;
    std::string notes;
    std::string failures;
    std::optional<Mailbox> mailbox{
        std::in_place, [this] { ++wakes; },
        [this](Failure const& failure) { failures += failure.text + ": " + failure.reason; }};
};

TEST_F(MailboxTest, WakesWhenItIsNoLongerEmptyAndWhenADrainLeavesSomething)
{
    for (int i = 0; i != 3; ++i) {
        EXPECT_TRUE(mailbox->post(noting(".")));
        EXPECT_TRUE(mailbox->write(context->getId(), "a", i));   // not the one before: a function stands between
        EXPECT_TRUE(mailbox->write(context->getId(), "a", i));
    }
    EXPECT_EQ(wakes, 1);
    EXPECT_EQ(mailbox->drain(4), 4U);
    EXPECT_EQ(wakes, 2);
    mailbox->post([&] { mailbox->post(noting("later")); });
    EXPECT_EQ(wakes, 2);
    EXPECT_EQ(mailbox->drain(3), 3U);
    EXPECT_EQ(wakes, 3) << "posted meanwhile";
    EXPECT_EQ(notes, "...");
    drainAll();
    EXPECT_EQ(notes, "...later");
    EXPECT_EQ(mailbox->drain(), 0U);
    EXPECT_EQ(wakes, 3);

    bool fails = true;
    Mailbox other{[&] { fails ? throw std::runtime_error{"no wake"} : ++wakes; }};
    EXPECT_THROW(other.post(noting("!")), std::runtime_error);
    fails = false;
    EXPECT_TRUE(other.post(noting("!")));
    EXPECT_EQ(wakes, 4);
    EXPECT_EQ(other.drain(), 2U);
}

TEST_F(MailboxTest, TheResultIsThatOfTheSequence)
{
    constexpr std::array<char const*, 3> names{"a", "b", "missing"};
    int calls = 0;
    Handle const handle = engine.acquireExpression("a + ',' + b", [&](auto const&, auto const&) { ++calls; });
    for (std::uint64_t const seed : support::seeds(50)) {
        support::Random random{seed};
        std::array<double, 2> now{context->getPropertyValue("a").getDouble(),
                                  context->getPropertyValue("b").getDouble()};
        std::deque<std::array<double, 2>> expected;   // what each function sees
        for (int step = 1; step != 200; ++step) {
            std::size_t const which = random.below(3);
            bool const throws = random.oneIn(3);
            switch (random.below(8)) {
            case 0:
                calls = 0;
                mailbox->drain(1 + random.below(9));
                EXPECT_LE(calls, 1) << "one transaction";
                break;
            case 1:
            case 2:
                expected.push_back(now);
                mailbox->post([&, which, step, throws] {
                    EXPECT_EQ(context->getPropertyValue("a").getDouble(), expected.front()[0]) << "seed " << seed;
                    EXPECT_EQ(context->getPropertyValue("b").getDouble(), expected.front()[1]) << "seed " << seed;
                    expected.pop_front();
                    context->setPropertyValue(names[which], step);
                    if (throws)
                        throw step;
                });
                if (which != 2 && !throws)
                    now[which] = step;
                break;
            default:
                mailbox->write(context->getId(), names[which], step);
                if (which != 2)
                    now[which] = step;
            }
        }
        drainAll();
        EXPECT_TRUE(expected.empty());
        EXPECT_EQ(context->getPropertyValue("a"), now[0]) << "seed " << seed;
        EXPECT_EQ(context->getPropertyValue("b"), now[1]) << "seed " << seed;
    }
}

TEST_F(MailboxTest, WhatFailsIsUndoneAloneAndReported)
{
    bool listenerThrows = false;
    Handle const handle = engine.acquireExpression(
        "a", [&](auto const&, auto const&) { listenerThrows ? throw std::runtime_error{"listener"} : void(); });
    std::optional<tarn::zero::Transaction> leaked;
    boost::uuids::uuid const id = context->getId();
    std::function<void()> const nothing = [] {};
    struct Case {
        std::function<void()> posted;
        char const* reported;   // a part of it
        double a;               // afterwards
    };
    for (auto const& [posted, reported, a] : {
             Case{[&] { context->setPropertyValue("a", 7), throw std::runtime_error{"no"}; }, "a posted function: no",
                  1},
             {[&] { context->setPropertyValue("a", 7), throw 7; }, "an exception of unknown type", 1},
             {[&] {
                  leaked.emplace(context->getModel()->beginTransaction(true));
                  context->setPropertyValue("a", 7);
              },
              "committed once", 1},
             {[&] { listenerThrows = true; }, "the commit of a mailbox: listener", 1},
             {[&] { mailbox->drain(); }, "drained inside its own drain", 1},
             {[&] { Mailbox{{}}.drain(); }, "drained inside an open transaction", 1},
         }) {
        context->setPropertyValue("a", 0);
        mailbox->write(id, "a", 1);
        mailbox->post(posted);
        mailbox->write(id, "b", a);
        EXPECT_EQ(mailbox->drain(), 3U);
        listenerThrows = false;
        EXPECT_NE(std::exchange(failures, {}).find(reported), std::string::npos) << reported;
        EXPECT_EQ(context->getPropertyValue("a"), a) << reported;
        EXPECT_EQ(context->getPropertyValue("b"), a) << reported;
    }
    leaked.reset();
    for (char const* const name : {"c", "", "a.b", ".a"}) {
        mailbox->write(id, name, 1);
        mailbox->drain();
        EXPECT_EQ(std::exchange(failures, {}), "a posted write of \"" + std::string{name} + "\": the context " +
                                                   to_string(id) + " has no property \"" + name + '"');
    }
    mailbox->write(support::uuid(9), "a", 1);
    mailbox->drain();
    EXPECT_EQ(failures, "a posted write of \"a\": there is no context " + to_string(support::uuid(9)));

    Mailbox unhandled{{}};
    for (char const* const reason : {"first", "second"})
        unhandled.post([=] { throw std::runtime_error{reason}; });
    unhandled.write(id, "a", 5);
    EXPECT_THROW(
        try { unhandled.drain(); } catch (std::runtime_error const& exception) {
            EXPECT_STREQ(exception.what(), "first");
            throw;
        },
        std::runtime_error);
    EXPECT_EQ(context->getPropertyValue("a"), 5);
}

TEST_F(MailboxTest, ARefusedDrainLosesNothingAndTheNextPostWakes)
{
    EXPECT_THROW(mailbox->post({}), std::invalid_argument);
    mailbox->post(noting("1"));
    support::inTransaction([&] { EXPECT_THROW(mailbox->drain(), std::logic_error); });
    mailbox->post(noting("2"));
    EXPECT_EQ(wakes, 2);
    EXPECT_THROW(mailbox->drain(0), std::invalid_argument);
    mailbox->post(noting("3"));
    EXPECT_EQ(wakes, 3);
    {
        tarn::zero::Model::Freezer const frozen{context->getModel()};
        EXPECT_ANY_THROW(mailbox->drain());
    }
    mailbox->post(noting("4"));
    EXPECT_EQ(wakes, 4);
    EXPECT_EQ(mailbox->drain(), 4U);
    EXPECT_EQ(notes, "1234");
}

TEST_F(MailboxTest, MayBeClosedAndDestroyedInsideItsDrain)
{
    std::function<void()> inCallback = [] {};
    Handle const handle = engine.acquireExpression("a", [&](auto const&, auto const&) { inCallback(); });
    mailbox->post([&] { mailbox->close(); });
    mailbox->post(noting("queued"));
    EXPECT_EQ(mailbox->drain(1), 1U);
    EXPECT_FALSE(mailbox->post(noting("refused")));
    EXPECT_FALSE(mailbox->write(context->getId(), "a", 1));
    EXPECT_EQ(mailbox->drain(), 1U);
    EXPECT_EQ(notes, "queued");

    for (bool const isInCallback : {true, false}) {
        auto const captured = std::make_shared<int>();
        mailbox.emplace([] {}, [](Failure const&) { FAIL(); });
        inCallback = [&] { mailbox.reset(); };
        mailbox->write(context->getId(), "a", isInCallback ? 3 : 4);
        mailbox->post([&, isInCallback] {
            if (!isInCallback)
                mailbox.reset();
            throw std::runtime_error{"nobody to report to"};
        });
        for (int i = 0; i != 2; ++i)
            mailbox->post([this, captured] { noting("!")(); });
        EXPECT_THROW(mailbox->drain(isInCallback ? 2 : 3), std::runtime_error);
        EXPECT_FALSE(mailbox);
        EXPECT_EQ(captured.use_count(), 1);
        EXPECT_EQ(context->getPropertyValue("a"), isInCallback ? 3 : 4);
    }
    EXPECT_EQ(notes, "queued");
}

}   // namespace
}   // namespace studio::host
