#include "studio/host/Batch.h"

#include "support/Allocations.h"
#include "support/Contexts.h"
#include "support/ReportRecorder.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace studio::host {
namespace {

using data::ContextProvider;
using support::Provider;

struct Batches : testing::Test {
    Provider const root = support::context({{"x", 1}, {"y", 1}});
    support::ReportRecorder reports{ContextProvider::sharedModel()};
    std::string told;
    ErrorHandler const tell = [this](Failure const& failure) { told += failure.text + ": " + failure.reason; };

    void write(char const* name, double value) const { root->setPropertyValue(name, value); }
    double x() const { return root->getPropertyValue("x").getDouble(); }
};

TEST_F(Batches, HandResultsAndExceptionsThroughAndReportOnce)
{
    int number = 3;
    int const& reference = batch([&]() -> int const& {
        write("y", 2);
        EXPECT_THROW(batch([&] {
                         write("x", 9);
                         throw std::runtime_error{"no"};
                     }),
                     std::runtime_error);
        batch([&] { write("y", 3); });
        return number;
    });
    EXPECT_EQ(&reference, &number);
    EXPECT_EQ(*batch([] { return std::make_unique<int>(4); }), 4);
    EXPECT_EQ(reports.take(), "y");
    EXPECT_EQ(x(), 1);
}

TEST_F(Batches, EndedOutOfOrderAreRefusedOrTakeTheInnerOnesAlong)
{
    std::optional<Batch> outer{tell}, inner{tell};
    write("x", 2);
    EXPECT_THROW(outer->commit(), std::logic_error);
    support::inTransaction([&] { EXPECT_THROW(inner->commit(), std::logic_error); });
    EXPECT_TRUE(inner->isOpen());
    EXPECT_EQ(x(), 2);
    outer->rollBack();
    EXPECT_FALSE(inner->isOpen());
    EXPECT_EQ(x(), 1);
    EXPECT_THROW(inner->commit(), std::logic_error);
    EXPECT_THROW(outer->commit(), std::logic_error);
    outer.reset();
    EXPECT_EQ(told, "");
    inner.reset();
    EXPECT_EQ(told, "a batch: a batch ended without commit() or rollBack(): its changes are undone");
    EXPECT_FALSE(ContextProvider::sharedModel()->isInTransaction());
}

TEST_F(Batches, EndWithATransactionAroundThem)
{
    Batch outer;
    std::optional<Batch> inner;
    support::rolledBack([&] {
        inner.emplace(tell);
        write("x", 2);
    });
    EXPECT_FALSE(inner->isOpen());
    EXPECT_THROW(inner->commit(), std::logic_error);
    Batch next;   // inside `outer`
    write("x", 3);
    inner.reset();
    EXPECT_EQ(told, "a batch: a batch ended without commit() or rollBack(): its changes are undone");
    next.commit();
    outer.commit();
    EXPECT_EQ(x(), 3);
}

TEST_F(Batches, AreFinalBeforeListenersThrowOrDestroyThem)
{
    std::unique_ptr<Batch> open = std::make_unique<Batch>(tell);
    write("x", 2);
    reports.onProperties = [&](auto const&) {
        open.reset();
        throw std::runtime_error{"listener"};
    };
    EXPECT_THROW(open->commit(), std::runtime_error);
    EXPECT_EQ(x(), 2);
    EXPECT_EQ(told, "");
    EXPECT_FALSE(ContextProvider::sharedModel()->isInTransaction());
}

TEST_F(Batches, KeepAllOrNothingWhenMemoryRunsOutAndAllocateNothingInASteadyStream)
{
    double value = 1;
    auto const step = [&] {
        ++value;
        batch([&] {
            write("x", value);
            batch([&] { write("y", value); });
        });
    };
    for (bool happened = true; happened;) {
        double const before = x();
        support::FailingAllocation const failing{static_cast<std::size_t>(value)};
        try {
            step();
        } catch (std::bad_alloc const&) {
            EXPECT_EQ(x(), before);
        }
        happened = failing.happened();
    }
    std::size_t const count = support::allocationCount();
    step();
    EXPECT_EQ(support::allocationCount(), count);
}

}   // namespace
}   // namespace studio::host
