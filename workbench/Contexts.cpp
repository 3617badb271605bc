#include "workbench/Contexts.h"

#include "studio/data/ContextProvider.h"
#include "tarn/zero/Model.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/Transaction.h"

#include <boost/none.hpp>

namespace workbench {

using studio::data::ContextProvider;
using studio::data::PropertyValue;
using Kind = Operation::Kind;

Contexts::Contexts(std::size_t count, std::shared_ptr<ContextProvider> const& root) : contexts(count), references(count)
{
    contexts[0] = root;
    references[0] = PropertyValue(root);
}

void Contexts::apply(std::vector<Operation> const& operations)
{
    tarn::zero::Model const model = contexts[0]->getModel();
    tarn::zero::Transaction transaction = model->beginTransaction(true);
    for (Operation const& operation : operations)
        apply(operation);
    transaction.commit(boost::none);
}

void Contexts::apply(Operation const& operation)
{
    std::shared_ptr<ContextProvider>& context = contexts[operation.context];
    switch (operation.kind) {
    case Kind::create:
        context = ContextProvider::create();
        references[operation.context] = PropertyValue(context);
        break;
    case Kind::set: write(operation, operation.value); break;
    case Kind::remove: context->removeProperty(operation.name); break;
    case Kind::link: write(operation, references[operation.target]); break;
    case Kind::drop: context.reset(); break;
    case Kind::activate: context->setActiveContexts(operation.names); break;
    }
}

void Contexts::write(Operation const& operation, PropertyValue const& value)
{
    ContextProvider& context = *contexts[operation.context];
    if (context.hasProperty(operation.name))
        context.setPropertyValue(operation.name, value);
    else
        context.addProperty(operation.name, value);
}

}   // namespace workbench
