#include "studio/data/ContextView.h"
#include "support/Contexts.h"
#include "support/Mirrors.h"

#include <boost/uuid/uuid_io.hpp>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>
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

/// Sets the limit of the shared model, and puts it back.
struct NestingLimit {
    explicit NestingLimit(std::size_t limit) { model->setNestingLimit(limit); }
    ~NestingLimit() { model->setNestingLimit(usual); }

    tarn::zero::Model const& model = ContextProvider::sharedModel();
    std::size_t const usual = model->nestingLimit();
};

struct Circle {
    std::size_t limit;
    std::string answers;   // each is read, and its callback writes the next one; the last one's the first
    std::string named;
    std::size_t raisedBy = 0;   // at the first refusal
};
Circle const CIRCLES[] = {{1, "a", ", of which the last changed a"},
                          {0, "a", ", of which the last changed a"},
                          {2, "a", ", which change in a circle a -> a"},
                          {3, "ab", ", of which the last changed a -> b -> a"},
                          {4, "ab", ", which change in a circle b -> a -> b"},
                          {7, "abc", ", which change in a circle a -> b -> c -> a"},
                          {5, "abc", ", which change in a circle b -> c -> a -> b", 3},
                          {LEVELS, "a", ", which change in a circle a -> a"}};

TEST(Depth, OfWritesThatAnswerEachOtherForEver)
{
    for (auto const& [limit, answers, named, raisedBy] : CIRCLES) {
        SCOPED_TRACE(answers + ' ' + std::to_string(limit));
        NestingLimit const usual{limit};
        Provider const root = context({{"a", 0}, {"b", 0}, {"c", 0}});
        Provider dropped = context({{"a", 0}});
        boost::uuids::uuid const droppedId = dropped->getId();
        ExpressionEngine engine{root};
        bool isOn = false;
        std::size_t more = raisedBy;
        std::vector<Handle> handles;
        for (std::size_t i = 0; i != answers.size(); ++i) {
            std::string const next{answers[(i + 1) % answers.size()]};
            auto const answer = [&, next](auto const&, PropertyValue const& value) {
                try {
                    if (isOn)
                        root->setPropertyValue(next, value.getDouble() + 1);
                } catch (std::runtime_error const&) {
                    dropped.reset();   // whoever must end can
                    if (more == 0)
                        throw;
                    usual.model->setNestingLimit(usual.model->nestingLimit() + std::exchange(more, 0));
                    root->setPropertyValue(next, value.getDouble() + 1);
                }
            };
            handles.push_back(engine.acquireExpression({answers[i]}, answer));
        }
        isOn = true;
        std::size_t const levels = usual.model->nestingLimit() + raisedBy;
        std::string told = "nothing";
        try {
            root->setPropertyValue("a", 1);
        } catch (std::runtime_error const& refused) {
            told = refused.what();
        }
        std::string const where = " of ContextData (" + to_string(root->getId()) + ')';
        for (std::size_t at; (at = told.find(where)) != std::string::npos;)
            told.erase(at, where.size());
        std::string const expected = "a transaction is refused inside the delivery of " + std::to_string(levels) +
                                     " commits, each made by a listener of the one before" + named;
        std::erase(told, '"');
        EXPECT_EQ(told, expected);
        EXPECT_FALSE(usual.model->findElement(droppedId, 1));
        std::string const last{answers[(levels - 1) % answers.size()]};
        EXPECT_EQ(root->getPropertyValue(last), PropertyValue(levels)) << "what was written before stays";
        isOn = false;
        for (std::size_t i = 0; i != answers.size(); ++i) {
            root->setPropertyValue({answers[i]}, "works");
            EXPECT_EQ(handles[i]->getValue(), PropertyValue("works"));
        }
    }
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

}   // namespace
}   // namespace studio::data
