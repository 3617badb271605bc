#pragma once

#include "studio/data/PropertyValue.h"
#include "workbench/Contexts.h"
#include "workbench/Document.h"
#include "workbench/StepResult.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace studio::data {
class ContextProvider;
class ExpressionEngine;
class ExpressionHandle;
}   // namespace studio::data

namespace workbench {

/// Acts as a host: owns live contexts, an engine over them, and a subscription to every expression.
class Session {
public:
    /// Makes the initial contexts in one transaction, then subscribes: `values()` holds the initial values.
    Session(std::vector<Expression> const& expressions, Recording const& recording);
    Session(Session const&) = delete;
    Session& operator=(Session const&) = delete;
    ~Session();

    /// Applies the operations of a step in one transaction of the shared model.
    StepResult run(Step const& step);

    /// The last value passed to each expression's callback.
    std::vector<studio::data::PropertyValue> const& values() const noexcept { return reported; }

    std::shared_ptr<studio::data::ContextProvider> const& root() const noexcept { return contexts.root(); }

    /// The engine of the subscriptions, for observers.
    studio::data::ExpressionEngine& expressionEngine() const noexcept { return *engine; }

    /// The value of a property that refers to the context; still names a context that was dropped.
    studio::data::PropertyValue reference(std::size_t context) const { return contexts.reference(context); }

private:
    void subscribe(std::size_t expression, std::string const& text);

    // Destroyed in reverse order: handles, then the engine, then the contexts.
    Contexts contexts;
    std::unique_ptr<studio::data::ExpressionEngine> engine;
    std::vector<studio::data::PropertyValue> reported;
    std::vector<Change> calls;   // the running step's callbacks, each with the expression's value before
    std::vector<std::unique_ptr<studio::data::ExpressionHandle>> handles;
};

}   // namespace workbench
