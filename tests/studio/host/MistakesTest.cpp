#include "studio/host/Batch.h"
#include "studio/host/Schema.h"
#include "studio/host/Subscriptions.h"
#include "support/Contexts.h"
#include "support/Refusals.h"
#include "tarn/zero/ModelImpl.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

// The mistakes of beginners are answered with what the guide says.
namespace studio::host {
namespace {

using support::Provider;

TEST(Mistakes, AreAnsweredAsTheGuideSays)
{
    Provider const editor = support::context({{"readOnly", false}});
    Provider const root = support::context({{"count", 1}, {"editor", editor}});
    Subscriptions lenient{root};
    Subscriptions strict{root};
    Schema schema;
    schema.add(ContextKey<int>{"count", 0, ""});
    schema.add(ContextKey<bool>{"readOnly", false, ""}, "editor");
    strict.require(schema);
    Subscription kept;
    auto const subscribe = [&](Subscriptions& to, char const* text) { kept = to.when(text, [](bool) {}); };
    auto const forgotten = [] {
        std::string reason;
        static_cast<void>(Batch{[&](Failure const& failure) { reason = failure.reason; }});
        return reason;
    };
    auto const unresolved = [&] {
        subscribe(lenient, "!editor.readonly");
        auto const found = lenient.unresolved();
        return found.size() == 1 ? describe(found[0].end, found[0].name) : "";
    };
    auto const endless = [&] {
        kept = lenient.watch(
            "count", [&](data::PropertyValue const& value) { root->setPropertyValue("count", value.getDouble() + 1); });
    };
    // Instrumented frames are large: the limit is a tenth of the usual one.
    tarn::zero::Model const& model = data::ContextProvider::sharedModel();
    std::size_t const limit = model->nestingLimit();
    model->setNestingLimit(limit / 10);
    std::string nesting = support::refusalOf(endless);
    model->setNestingLimit(limit);
    std::string const few = std::to_string(limit / 10) + " commits";
    if (std::size_t const at = nesting.find(few); at != std::string::npos)
        nesting.replace(at, few.size(), std::to_string(limit) + " commits");
    std::ifstream file{GUIDE};
    std::string const guide{std::istreambuf_iterator<char>{file}, {}};
    for (std::string const& message :
         {support::refusalOf([&] { subscribe(strict, "title != ''' && !editor.readOnly"); }),
          support::refusalOf([&] { subscribe(strict, "editor.readonly"); }), unresolved(),
          support::refusalOf([&] { subscribe(strict, "count == 'three'"); }), forgotten(),
          nesting.substr(0, nesting.find(','))})
        EXPECT_TRUE(guide.find('`' + message + '`') != std::string::npos) << message;
}

}   // namespace
}   // namespace studio::host
