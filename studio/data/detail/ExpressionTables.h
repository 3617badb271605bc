#pragma once

#include "studio/data/Expression.h"
#include "studio/data/ExpressionEngine.h"
#include "studio/data/detail/ExpressionLeaves.h"
#include "studio/data/detail/ExpressionTexts.h"
#include "studio/data/detail/ExpressionTrail.h"

#include <memory>

namespace studio::data {

/// What an engine knows. Expressions refer to symbols, which refer to leaves, and back.
struct ExpressionEngine::Tables {
    explicit Tables(ExpressionEngine const& engine) noexcept : leaves{&engine} {}

    detail::ExpressionLeaves leaves;
    detail::ExpressionTrail trail;
    detail::ExpressionTexts<std::unique_ptr<Symbol>> symbols;
    detail::ExpressionTexts<Expression::Pin> expressions;
};

}   // namespace studio::data
