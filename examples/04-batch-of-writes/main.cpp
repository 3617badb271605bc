// Writes that belong together, as one transaction: subscribers are called once, and if one write fails none takes
// effect.

#include "studio/data/ContextProvider.h"
#include "studio/data/ExpressionEngine.h"
#include "studio/data/ExpressionHandle.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/Transaction.h"

#include <iostream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using namespace studio::data;
using Changes = std::vector<std::pair<std::string, PropertyValue>>;

/// Writes all of it or, throwing, nothing.
void apply(ContextProvider& settings, Changes const& changes)
{
    tarn::zero::Transaction transaction = ContextProvider::sharedModel()->beginTransaction(true);
    for (auto const& [name, value] : changes) {
        if (!settings.hasProperty(name))
            throw std::invalid_argument{"no setting is called " + name};   // rolled back on the way out
        settings.setPropertyValue(name, value);
    }
    transaction.commit(boost::none);   // calls each subscriber, once
}

int main()
{
    auto const settings = ContextProvider::create();
    settings->addProperty("width", 80);
    settings->addProperty("indent", 4);
    settings->addProperty("tabs", false);

    ExpressionEngine engine(settings);
    auto const layout = engine.acquireExpression(
        "width + ' columns, ' + (tabs ? 'tabs' : indent + ' spaces')",
        [](std::string const&, PropertyValue const& value) { std::cout << "  layout: " << value.asString() << '\n'; });

    std::cout << "one by one\n";
    settings->setPropertyValue("width", 100);
    settings->setPropertyValue("indent", 2);

    std::cout << "in one transaction\n";
    apply(*settings, {{"width", 120}, {"indent", 8}, {"tabs", true}});

    std::cout << "there and back\n";
    apply(*settings, {{"tabs", false}, {"tabs", true}});   // what it was before: no change, and silence

    std::cout << "with a mistake\n";
    try {
        apply(*settings, {{"width", 60}, {"colour", "blue"}});
    } catch (std::invalid_argument const& refusal) {
        std::cout << "  " << refusal.what() << "; width is still " << settings->getPropertyValue("width") << '\n';
    }

    std::cout << "inside another one\n";
    {
        tarn::zero::Transaction outer = ContextProvider::sharedModel()->beginTransaction(true);
        settings->setPropertyValue("tabs", false);
        try {
            apply(*settings, {{"indent", 3}, {"colour", "blue"}});   // a savepoint: only its own part is undone
        } catch (std::invalid_argument const&) {
            settings->setPropertyValue("indent", 6);
        }
        outer.commit(boost::none);
    }
}
