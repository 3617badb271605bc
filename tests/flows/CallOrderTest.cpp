#include "support/Contexts.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace studio::data {
namespace {

struct Refusal {};

constexpr int THROW = -1;
constexpr int ACQUIRE = -2;

/// Handles a and b of "x" and c of "x + 10" in one engine, d of "x" in a second one. One of them writes a number,
/// throws, or acquires e of "x", in its first call after x, which was 0, has become 1.
struct Script {
    char const* name;
    char who;
    int does;
    char const* heard;
};
class CallOrder : public testing::TestWithParam<Script> {};

TEST_P(CallOrder, IsOfReportsThenEnginesThenAcquisition)
{
    support::Provider const root = support::context({{"x", 0}});
    ExpressionEngine first{root};
    ExpressionEngine second{root};
    std::string heard;
    bool acts = false;
    std::vector<support::Handle> handles;
    for (char const name : {'a', 'b', 'c', 'd'})
        handles.push_back(
            (name == 'd' ? second : first)
                .acquireExpression(name == 'c' ? "x + 10" : "x", [&, name](auto const&, auto const& value) {
                    heard += name + support::shown(value) + ' ';
                    if (name != GetParam().who || !std::exchange(acts, false))
                        return;
                    if (GetParam().does == THROW)
                        throw Refusal{};
                    if (GetParam().does == ACQUIRE)
                        handles.push_back(first.acquireExpression("x", [&](auto&&...) { heard += "e "; }));
                    else
                        root->setPropertyValue("x", GetParam().does);
                }));
    heard.clear();
    acts = true;
    try {
        root->setPropertyValue("x", 1);
    } catch (Refusal const&) {
        EXPECT_EQ(handles[2]->getValue(), PropertyValue(10)) << "not evaluated; the next report does it";
    }
    EXPECT_EQ(heard, GetParam().heard);
}

INSTANTIATE_TEST_SUITE_P(
    All, CallOrder,
    testing::Values(Script{"OuterPassGoesOnWithTheNewValue", 'a', 2, "a1 d2 a2 b2 c12 b2 "},
                    Script{"BackToTheOldValueIsAChangeForWhoHeard", 'a', 0, "a1 a0 b0 b0 "},
                    Script{"LaterExpressionWritesWhatEarlierOnesRead", 'c', 2, "a1 b1 c11 d2 a2 b2 c12 "},
                    Script{"OtherEngineWritesWhenAllHaveHeard", 'd', 2, "a1 b1 c11 d1 a2 b2 c12 d2 "},
                    Script{"ExceptionEndsThePassOfItsEngineAndOfNoOther", 'a', THROW, "a1 d1 "},
                    Script{"WhoIsAcquiredHasHadItsCall", 'a', ACQUIRE, "a1 e b1 c11 d1 "}),
    [](auto const& info) { return info.param.name; });

}   // namespace
}   // namespace studio::data
