#pragma once

#include "studio/data/ContextProvider.h"
#include "studio/data/ContextView.h"
#include "studio/data/ExpressionEngine.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/Transaction.h"

#include <boost/none.hpp>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace benchmarks {

/// The library through its public interface, behind the operations in which workloads are written.
class LibraryPeer {
public:
    using Context = std::shared_ptr<studio::data::ContextProvider>;

    Context makeContext() { return studio::data::ContextProvider::create(); }
    void add(Context const& context, std::string const& name, double value) { context->addProperty(name, value); }
    void add(Context const& context, std::string const& name) { context->addProperty(name, {}); }
    void set(Context const& context, std::string const& name, double value) { context->setPropertyValue(name, value); }
    void refer(Context const& context, std::string const& name, Context const& target)
    {
        context->setPropertyValue(name, studio::data::PropertyValue(target));
    }
    void clear(Context const& context, std::string const& name)
    {
        context->setPropertyValue(name, studio::data::PropertyValue());
    }
    template <class Change>
    void inTransaction(Change const& change)
    {
        auto transaction = studio::data::ContextProvider::sharedModel()->beginTransaction(true);
        change();
        transaction.commit(boost::none);
    }
    std::optional<double> value(Context const& context, std::string const& name) const
    {
        return number(context->getPropertyValue(name));
    }

    /// Makes a new engine on that context.
    void listen(Context const& root)
    {
        engine.reset();
        engine = std::make_unique<studio::data::ExpressionEngine>(root);
    }
    /// Acquires an expression; its callback stores the value in `received`.
    void subscribe(std::string const& text)
    {
        handles.push_back(
            engine->acquireExpression(text, [this](std::string const&, studio::data::PropertyValue const& value) {
                received = value.getDouble();
            }));
    }

    void mirror(Context const& root)
    {
        view = studio::data::ContextView::create({});
        hold = view->acquire(root->getId(), {});
    }
    std::optional<double> mirrored(Context const& context, std::string const& name) const
    {
        studio::data::ContextData const clone = view->getData(context->getId());
        studio::data::Property const property = clone ? clone->getProperties().find(name) : studio::data::Property{};
        return property ? number(property->getValue()) : std::nullopt;
    }

    double written = 0;
    double received = 0;

private:
    static std::optional<double> number(studio::data::PropertyValue const& value)
    {
        return value.isDouble() ? std::optional{value.getDouble()} : std::nullopt;
    }

    std::unique_ptr<studio::data::ExpressionEngine> engine;
    std::unique_ptr<studio::data::ContextView> view;
    std::unique_ptr<studio::data::ContextHandleImpl> hold;

public:
    std::vector<std::unique_ptr<studio::data::ExpressionHandle>> handles;
};

}   // namespace benchmarks
