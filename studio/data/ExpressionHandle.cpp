#include "studio/data/ExpressionHandle.h"

#include "studio/data/Expression.h"
#include "studio/data/ExpressionEngine.h"

#include <memory>
#include <utility>

namespace studio::data {

/// A running callback: owns the function meanwhile and returns it if the handle still exists.
struct ExpressionHandle::Call : private boost::noncopyable {
    explicit Call(ExpressionHandle const& handle) : handle{&handle}
    {
        function.swap(handle.callback);
        handle.running = this;
    }
    ~Call()
    {
        if (!handle)
            return;
        handle->callback.swap(function);
        handle->running = nullptr;
    }

    ExpressionHandle const* handle;   // null once the handle is destroyed
    Callback function;
};

ExpressionHandle::ExpressionHandle(Expression* watched, Callback const& function)
    : expression{watched}, callback{function}
{}

ExpressionHandle::~ExpressionHandle()
{
    if (expression)
        expression->engine->releaseExpression(this);
    if (running)
        running->handle = nullptr;
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
    if (running)
        return running->function(pinned.text, value);   // called from inside the callback
    Call lent{*this};
    lent.function(pinned.text, value);
}

}   // namespace studio::data
