#include "studio/data/ExpressionHandle.h"

#include "studio/data/Expression.h"
#include "studio/data/detail/EngineState.h"

namespace studio::data {

ExpressionHandle::ExpressionHandle(Expression* watched, Callback const& function)
    : expression{watched}, callback{function}
{}

ExpressionHandle::~ExpressionHandle()
{
    if (expression)
        expression->engine.release(*this);
}

PropertyValue ExpressionHandle::getValue() const
{
    return expression ? expression->value : PropertyValue{};
}

void ExpressionHandle::notify() const
{
    if (!expression)
        return;
    Expression::Pin const pinned{expression};
    call(*pinned);
}

void ExpressionHandle::call(Expression const& pinned) const
{
    call(pinned, PropertyValue{pinned.value});   // a copy: the callback may change the value
}

void ExpressionHandle::call(Expression const& pinned, PropertyValue const& value) const
{
    callback(pinned.text, value);
}

}   // namespace studio::data
