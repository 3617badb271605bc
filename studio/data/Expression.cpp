#include "studio/data/Expression.h"

#include "studio/data/DataSource.h"
#include "studio/data/ExpressionEngine.h"
#include "studio/data/ExpressionHandle.h"

#include <set>
#include <utility>

namespace studio::data {

Expression::Expression(std::string const& expressionText, ExpressionEngine* owner)
    : engine{owner}, text{expressionText}, program{text}, number{owner->nextNumber()}
{
    for (std::string const& symbol : program.symbols()) {
        engine->acquireSymbol(symbol, text);
        symbols.insert(symbol);
    }
    evaluate();
}

Expression::~Expression()
{
    retire();
}

void Expression::evaluate()
{
    PropertyValue result = DataSource::toPropertyValue(program.eval(DataSource{engine->rootProvider}));
    if (result == value)
        return;
    value = std::move(result);
    notifyHandles();
}

void Expression::addHandle(ExpressionHandle& handle)
{
    inOrder.reserve(inOrder.size() + 1 > inOrder.capacity() ? 2 * inOrder.size() + 1 : inOrder.capacity());
    handles.insert(&handle);
    handle.position = inOrder.size();
    inOrder.push_back(&handle);
}

bool Expression::removeHandle(ExpressionHandle& handle) noexcept
{
    if (handles.erase(&handle) == 0)
        return false;
    inOrder[handle.position] = nullptr;
    ++gaps;
    if (passes == 0 && gaps > inOrder.size() / 2)
        closeGaps();
    return true;
}

void Expression::detachHandles() noexcept
{
    for (ExpressionHandle*& handle : inOrder)
        if (ExpressionHandle* const present = std::exchange(handle, nullptr))
            present->expression = nullptr;
    gaps = inOrder.size();
    handles.clear();
}

void Expression::retire() noexcept
{
    if (std::exchange(retired, true))
        return;
    for (std::string const& symbol : symbols)
        engine->releaseSymbol(symbol, text);
}

void Expression::notifyHandles()
{
    struct Pass {
        explicit Pass(Expression& walked) noexcept : expression{walked} { ++expression.passes; }
        ~Pass()
        {
            if (--expression.passes == 0 && expression.gaps != 0)
                expression.closeGaps();
        }
        Expression& expression;
    };
    if (inOrder.empty())
        return;
    Pass const pass{*this};
    std::size_t const count = inOrder.size();   // handles that a callback acquires have had their first call
    for (std::size_t i = 0; i != count; ++i)
        if (ExpressionHandle const* const handle = inOrder[i])
            handle->call(*this);
}

void Expression::closeGaps() noexcept
{
    std::size_t kept = 0;
    for (ExpressionHandle* const handle : inOrder)
        if (handle) {
            handle->position = kept;
            inOrder[kept++] = handle;
        }
    inOrder.resize(kept);
    gaps = 0;
}

}   // namespace studio::data
