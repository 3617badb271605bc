// What a user's program does with the library, across the border between the two: an exported name or an installed
// header that is missing, or a type that has two identities, shows here. Prints a line for each thing that went wrong.
#include "gel/Eval.h"
#include "gel/ParseError.h"
#include "studio/commands/Contribution.h"
#include "studio/data/ContextProvider.h"
#include "studio/data/ContextView.h"
#include "studio/data/ExpressionEngine.h"
#include "studio/data/ExpressionHandle.h"
#include "studio/data/model/ContextDataImpl.h"
#include "studio/data/model/PropertyImpl.h"
#include "studio/host/Schema.h"
#include "studio/host/Subscriptions.h"
#include "studio/inspect/Flips.h"
#include "studio/inspect/Reasons.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/ReportException.h"
#include "tarn/zero/Transaction.h"
#include "tarn0/messages/Messages.h"

#include <boost/none.hpp>

#include <iostream>
#include <stdexcept>
#include <string>

using namespace studio::data;

namespace {

int s_failures = 0;

void expect(bool holds, char const* what)
{
    if (holds)
        return;
    std::cout << "not so: " << what << '\n';
    ++s_failures;
}

template <class Wanted, class Action>
bool throws(Action const& action)
{
    try {
        action();
    } catch (Wanted const&) {
        return true;
    } catch (...) {}
    return false;
}

void writes()
{
    auto const root = ContextProvider::create();
    root->addProperty("left", 1);
    root->addProperty("right", 2);
    ExpressionEngine engine(root);
    int calls = 0;
    auto const handle = engine.acquireExpression("left + right", [&calls](auto const&, auto const&) { ++calls; });

    tarn::zero::Model const model = root->getModel();
    tarn::zero::Transaction transaction = model->beginTransaction(true);
    root->setPropertyValue("left", 10);
    root->setPropertyValue("right", 20);
    transaction.commit(boost::none);
    expect(handle->getValue() == PropertyValue(30) && calls == 2, "one transaction is one call");

    // The user's exception goes through the library's frames, and the commit stands.
    struct OwnError : std::runtime_error {
        using std::runtime_error::runtime_error;
    };
    auto const grumbler = engine.acquireExpression("left", [](auto const&, PropertyValue const& value) {
        if (value == PropertyValue(11))
            throw OwnError{"no"};
    });
    expect(throws<OwnError>([&] { root->setPropertyValue("left", 11); }), "a callback's exception arrives as it was");
    expect(handle->getValue() == PropertyValue(31), "and the others were told");
}

void views()
{
    auto const root = ContextProvider::create();
    root->addProperty("name", "a");
    auto const view = ContextView::create(tarn::zero::Model{});
    auto const handle = view->acquire(root->getId(), {});
    root->setPropertyValue("name", "b");
    for (Property const& property : handle->getData()->getProperties())
        expect(property->getValue() == PropertyValue("b"), "a view follows");

    rook::factory::full::Wrappable* const wrapped = view.get();
    expect(dynamic_cast<tarn::zero::Listener*>(wrapped) != nullptr, "a view is a listener");
    expect(dynamic_cast<ContextHandleImpl*>(wrapped) == nullptr, "a view is no handle");
}

/// Objects and exceptions that the library makes are known by their type here.
void types()
{
    auto const root = ContextProvider::create();
    root->addProperty("left", 1);
    root->addProperty("right", 2);
    tarn::zero::ModelElement const element = root->getModel()->findElement(root->getId(), 1);
    expect(dynamic_cast<ContextData::Impl*>(element.operator->()) != nullptr, "a context's element is a context");
    expect(dynamic_cast<Property::Impl*>(element.operator->()) == nullptr, "and no property");

    using Clash = foundation::core::except::Exception<tarn0::messages::UniquenessConstraint, std::exception>;
    expect(throws<Clash>([&] { root->getProperty("left")->setName("right"); }), "names are unique");
    expect(throws<gel::ParseError>([] { gel::symbols("a b"); }), "a text that does not parse is refused");
}

void hostLayer()
{
    auto const root = ContextProvider::create();
    studio::host::ContextKey<int>{"count", 1, "How many"}.addTo(root);
    studio::host::Subscriptions subscriptions{root};
    std::string shown;
    auto const kept = subscriptions.show("count", [&](std::string const& text) { shown += text; });
    root->setPropertyValue("count", 2);
    expect(shown == "12", "the host layer shows changes");
    expect(throws<std::invalid_argument>([] { studio::host::Schema{}.require("count"); }), "unknown names are refused");

    studio::inspect::Reasons reasons{root};
    reasons.add("count > 2", "{count} is too few");
    expect(reasons.reasonFor("count > 2") == std::vector<std::string>{"2 is too few"}, "reasons are sentences");
    expect(studio::inspect::flipsOf("count > 2", root).at(0).result == gel::Value{true}, "flips are found");
}

void commands()
{
    auto const root = ContextProvider::create();
    root->addProperty("dirty", false);
    ExpressionEngine engine{root, ReleasePolicy::KeepsShared};
    studio::commands::CommandTable table{engine};
    studio::commands::Menus menus{table};
    int calls = 0;
    table.onChanged([&calls](auto const&) { ++calls; });
    studio::commands::Contribution plugin{
        table, &menus, nullptr, {{{"save", "Save", "", "dirty"}}, {{"file", "", 0, "save"}}}};
    root->setPropertyValue("dirty", true);
    expect(calls == 2 && table.find("save")->isEnabled, "a commit is one batch of changes");
    plugin = {};
    expect(calls == 3 && menus.items("file").empty(), "a contribution takes everything away");
    expect(throws<gel::ParseError>([&] { table.define("isNew", "!"); }), "a bad definition is refused");
}

}   // namespace

int main()
{
    writes();
    views();
    types();
    hostLayer();
    commands();
    std::cout << (s_failures == 0 ? "as it should be\n" : "");
    return s_failures;
}
