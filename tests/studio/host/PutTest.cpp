#include "studio/host/Put.h"

#include "support/Allocations.h"
#include "support/Contexts.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <tuple>

namespace studio::host {
namespace {

using data::PropertyValue;
using support::context;
using support::Provider;

TEST(Put, WritesAddsOrSaysWhereNothingIs)
{
    Provider const inner = context({{"p", 1}});
    Provider gone = context();
    Provider const root = context({{"a", inner}, {"n", 1}, {"a.hiding", 1}, {"none", PropertyValue{gone}}});
    gone.reset();
    for (auto const& [path, value, written, count] : {
             std::tuple<char const*, PropertyValue, Written, std::size_t>{"n", 2, Written::Changed, 1},
             {"n", 2, Written::Same, 1},
             {"n", {}, Written::Changed, 1},
             {"a.p", 2, Written::Changed, 1},
             {"m", 1, Written::Added, 0},
             {"a.q", 1, Written::Added, 0},
             {"a.hiding", 2, Written::Changed, 1},
             {"n.q", 1, Written::Nowhere, 0},
             {"a.p.q", 1, Written::Nowhere, 0},
             {"none.q", 1, Written::Nowhere, 0},
         }) {
        EXPECT_EQ(set(root, path, root->getPropertyValue(path)), count) << path;
        EXPECT_EQ(put(root, path, value), written) << path;
        EXPECT_EQ(root->getPropertyValue(path) == value, written != Written::Nowhere) << path;
    }
    inner->addProperty("hiding", 1);
    EXPECT_EQ(set(root, "a.hiding", 5), 2u);
    EXPECT_EQ(inner->getPropertyValue("hiding"), PropertyValue{5});

    Provider undone;
    support::rolledBack([&] { undone = context(); });
    EXPECT_EQ(put(undone, "a", 1), Written::Nowhere);
    for (char const* const path : {"", ".", "a.", ".a", "a..p"}) {
        EXPECT_THROW(put(root, path, 2), std::invalid_argument) << path;
        EXPECT_THROW(set(root, path, 2), std::invalid_argument) << path;
    }
    EXPECT_THROW(put(nullptr, "a", 2), std::invalid_argument);
    EXPECT_THROW(set(nullptr, "a", 2), std::invalid_argument);
}

TEST(Put, AllocatesNothingInASteadyStream)
{
    Provider const root = context({{"a context of some length", {}}});
    Provider const inner = context({{"a property of some length", 1}});
    root->setPropertyValue("a context of some length", inner);
    auto const stream = [&] {
        std::size_t const before = support::allocationCount();
        for (int i = 2; i != 10; ++i)
            EXPECT_EQ(put(root, "a context of some length.a property of some length", i), Written::Changed);
        set(root, "a context of some length.a property of some length", 1);
        return support::allocationCount() - before;
    };
    stream();
    EXPECT_EQ(stream(), 0u);
}

}   // namespace
}   // namespace studio::host
