#include "studio/data/ContextView.h"
#include "support/Contexts.h"
#include "support/Mirrors.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

// Nothing that a client may make deep or long meets the end of the stack.

namespace studio::data {
namespace {

using support::context;
using support::Handle;
using support::Provider;

// Instrumented frames are several times as large, and instrumented code as slow.
#if defined(__has_feature)
constexpr bool IS_INSTRUMENTED = __has_feature(address_sanitizer);
#elif defined(__SANITIZE_ADDRESS__)
constexpr bool IS_INSTRUMENTED = true;
#else
constexpr bool IS_INSTRUMENTED = false;
#endif
constexpr std::size_t LEVELS = IS_INSTRUMENTED ? 400 : 2'000;
constexpr std::size_t CONTEXTS = IS_INSTRUMENTED ? 20'000 : 100'000;

TEST(Depth, OfWritesInCallbacks)
{
    Provider const root = context();
    ExpressionEngine engine{root};
    std::vector<Handle> handles;
    std::size_t heard = 0;
    for (std::size_t i = 0; i != LEVELS; ++i) {
        root->addProperty("p" + std::to_string(i), 0);
        auto const call = [&, next = "p" + std::to_string(i + 1)](auto const&, PropertyValue const& value) {
            if (value == PropertyValue(0))
                return;
            ++heard;
            root->setPropertyValue(next, 1);
        };
        handles.push_back(engine.acquireExpression("p" + std::to_string(i), call));
    }
    support::CallRecorder calls{engine};
    std::string const both = "p0 + p" + std::to_string(LEVELS - 1);
    Handle const late = calls.watch(both);
    root->setPropertyValue("p0", 1);
    EXPECT_EQ(heard, LEVELS);
    EXPECT_EQ(calls.take(), both + "=2");   // its turn comes in the innermost report, and then there is nothing new
}

TEST(Depth, OfDottedNames)
{
    Provider const end = context({{"end", 1}});
    Provider const root = context({{"end", 1}});
    root->addProperty("a", root);
    auto const dotted = [](std::size_t dots) {
        std::string name;
        for (std::size_t i = 0; i != dots; ++i)
            name += "a.";
        return name;
    };
    std::string const name = dotted(100'000);
    root->setPropertyValue(name + "end", 2);
    EXPECT_EQ(root->getPropertyValue("end"), PropertyValue(2));
    EXPECT_EQ(root->getPropertyValue(name + "end"), PropertyValue(2));
    EXPECT_EQ(root->getPropertyValue(name), PropertyValue());

    ExpressionEngine engine{root};
    support::CallRecorder calls{engine};
    std::string const text = dotted(LEVELS * 5) + "end";
    Handle const handle = calls.hear(text);
    root->setPropertyValue("end", 3);
    root->setPropertyValue("a", end);   // leads off at the first dot, and then no further
    EXPECT_EQ(calls.take(), text + "=2; " + text + "=3; " + text + "=undefined");
}

TEST(Depth, OfChainsOfContexts)
{
    tarn::zero::Model const& shared = ContextProvider::sharedModel();
    std::size_t const before = shared->elements().size();
    std::vector<Provider> chain;
    support::inTransaction([&] {
        for (std::size_t i = 0; i != CONTEXTS; ++i)
            chain.push_back(context({{"next", chain.empty() ? PropertyValue(1) : PropertyValue(chain.back())}}));
    });
    tarn::zero::Model const mirrors = tarn::zero::Model::create(tarn::zero::ModelSpec{});
    auto const view = ContextView::create(mirrors);
    auto handle = view->acquire(chain.back()->getId(), nullptr);
    auto const isMirrored = [&](std::size_t i) { return static_cast<bool>(view->getData(chain[i]->getId())); };
    EXPECT_TRUE(isMirrored(0));
    EXPECT_EQ(mirrors->elements().size(), 2 * CONTEXTS);
    ContextView::IdSet pending{chain[0]->getId(), chain[1]->getId()};
    view->removeDescendents(view->getData(chain[1]->getId()), pending);
    EXPECT_EQ(pending.size(), 1u);

    support::rolledBack([&] {
        for (std::size_t i = 0; i != CONTEXTS / 5; ++i)
            support::source(chain[i]->getId())->destroy();
    });
    EXPECT_EQ(shared->elements().size(), before + 2 * CONTEXTS);
    EXPECT_EQ(chain[0]->getPropertyValue("next"), PropertyValue(1));

    chain[CONTEXTS / 2]->setPropertyValue("next", 0);
    EXPECT_TRUE(isMirrored(CONTEXTS / 2));
    EXPECT_FALSE(isMirrored(CONTEXTS / 2 - 1) || isMirrored(0));
    handle.reset();
    EXPECT_TRUE(mirrors->elements().empty());
    support::inTransaction([&] { chain.clear(); });
    EXPECT_EQ(shared->elements().size(), before);
}

/// A text of the greatest length, naming as much as fits.
TEST(Depth, OfTexts)
{
    Provider const root = context();
    std::string text = "0";
    int count = 0;
    for (; text.size() + 8 <= 65'536; ++count) {
        root->addProperty("p" + std::to_string(count), 0);
        text += " + p" + std::to_string(count);
    }
    text.resize(65'536, ' ');
    ExpressionEngine engine{root};
    int heard = 0;
    Handle handle = engine.acquireExpression(text, [&](auto const&, auto const&) { ++heard; });
    EXPECT_EQ(handle->getValue(), PropertyValue(0));
    support::inTransaction([&] {
        for (std::string const& name : root->getPropertyNames())
            root->setPropertyValue(name, 1);
    });
    EXPECT_EQ(handle->getValue(), PropertyValue(count));
    EXPECT_EQ(heard, 2);
    handle.reset();
    EXPECT_EQ(engine.findExpressions("p0"), nullptr);
}

}   // namespace
}   // namespace studio::data
