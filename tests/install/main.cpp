// Uses something of every storey that an exported name or an installed header could be missing from.
#include "gel/Eval.h"
#include "gel/ParseError.h"
#include "studio/data/ContextProvider.h"
#include "studio/data/ExpressionEngine.h"
#include "studio/data/ExpressionHandle.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/Transaction.h"

#include <boost/none.hpp>

#include <iostream>

using namespace studio::data;

namespace {

/// Counts the callbacks of one transaction that changes two properties of one expression.
int callbacksOfOneTransaction()
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
    return handle->getValue() == PropertyValue(30) ? calls : -1;
}

/// An exception of the library is caught by its type on this side of the boundary.
bool refusesToParse()
{
    try {
        gel::symbols("a b");
    } catch (gel::ParseError const&) {
        return true;
    }
    return false;
}

}   // namespace

int main()
{
    int const calls = callbacksOfOneTransaction();
    std::cout << "callbacks: " << calls << '\n';
    return calls == 2 && refusesToParse() ? 0 : 1;
}
