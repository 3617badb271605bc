#include "studio/host/PathEnd.h"

#include "support/Contexts.h"

#include <gtest/gtest.h>

#include <tuple>

namespace studio::host {
namespace {

using data::PropertyValue;
using support::context;
using support::Provider;

TEST(PathEnd, SaysWhereAPathEndsAndWhatItReads)
{
    Provider gone = context();
    Provider const document = context({{"name", "x"}, {"gone", gone}});
    Provider const root = context({{"n", 1}, {"document", document}, {"document.title", 2}, {"none", {}}});
    gone.reset();
    using Reason = PathEnd::Reason;
    for (
        auto const& [path, reason, sentence] : {
            std::tuple{"n", Reason::Found, R"("n" is there)"},
            {"document", Reason::Found, R"("document" is there)"},
            {"document.name", Reason::Found, R"("document.name" is there)"},
            {"m", Reason::Missing, R"("m" is missing: the root has no property "m")"},
            {"", Reason::Missing, R"("" is missing: the root has no property "")"},
            {"document.", Reason::Missing, R"("document." is missing: "document" has no property "")"},
            {"document.nam", Reason::Missing, R"("document.nam" is missing: "document" has no property "nam")"},
            {"n.m", Reason::PlainValue, R"("n.m" is missing: the property "n" of the root is not a context)"},
            {"none.m", Reason::PlainValue, R"("none.m" is missing: the property "none" of the root is not a context)"},
            {"document.gone", Reason::Found, R"("document.gone" is there)"},
            {"document.gone.x", Reason::Dangling,
             R"("document.gone.x" is missing: the property "gone" of "document" refers to a context that does not exist)"},
            {"document.title", Reason::Hidden,
             R"("document.title" is not followed: the root has a property whose own name is "document.title")"},
        }) {
        PathEnd const end = endOf(root, path);
        EXPECT_EQ(end.reason, reason) << path;
        EXPECT_EQ(describe(end, path), sentence);
        EXPECT_EQ(end.value, root->getPropertyValue(path)) << path;
    }
    EXPECT_EQ(describe(endOf(nullptr, "a"), "a"), R"("a" is missing: there is no context)");
}

}   // namespace
}   // namespace studio::host
