#pragma once

#include "studio/data/ContextProvider.h"
#include "studio/data/Expression.h"
#include "studio/data/ExpressionEngine.h"
#include "studio/data/detail/ExpressionLeaves.h"
#include "studio/data/detail/ExpressionTexts.h"
#include "studio/data/detail/PathEpoch.h"
#include "tarn/zero/ModelImpl.h"

#include <memory>

namespace studio::data {

/// An engine's tables. Expressions refer to symbols, symbols to leaves, and leaves back to symbols.
struct ExpressionEngine::Tables {
    explicit Tables(ExpressionEngine const& engine) noexcept : leaves{&engine} {}

    tarn::zero::Model::Impl const& model = *ContextProvider::sharedModel().get();
    detail::ExpressionLeaves leaves;
    detail::PathEpoch epoch{model};
    detail::ExpressionTexts<std::unique_ptr<Symbol>> symbols;
    detail::ExpressionTexts<Expression::Pin> expressions;
    bool hasNotedTexts = false;   // a symbol may be registered for a text that does not name it
};

}   // namespace studio::data
