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

/// What an engine knows. Expressions refer to symbols, which refer to leaves, and back.
struct ExpressionEngine::Tables {
    explicit Tables(ExpressionEngine const& engine) noexcept : leaves{&engine} {}

    tarn::zero::Model::Impl const& model = *ContextProvider::sharedModel().get();
    detail::ExpressionLeaves leaves;
    detail::PathEpoch epoch{model};
    detail::ExpressionTexts<std::unique_ptr<Symbol>> symbols;
    detail::ExpressionTexts<Expression::Pin> expressions;
    bool hasNotedTexts = false;   // a symbol may be noted for a text that does not name it
};

}   // namespace studio::data
