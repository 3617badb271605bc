#pragma once

#include "foundation/Export.h"
#include "foundation/LentFunction.h"
#include "studio/data/PropertyValue.h"

#include <boost/core/noncopyable.hpp>

#include <cstddef>
#include <functional>
#include <string>

namespace studio::data {

class Expression;
namespace detail {
class EngineState;
}

/// A subscription to one expression of an engine: the value, and a callback for its changes. Destroying it ends the
/// subscription, also from inside its own callback. It may outlive its engine: it is then detached, reads undefined and
/// makes no calls.
class STUDIO_DATA_EXPORT ExpressionHandle : private boost::noncopyable {
public:
    /// A subscriber's callback; gets the text and the value.
    using Callback = std::function<void(std::string const& text, PropertyValue const& value)>;

    /// For the engine. A null expression makes a detached handle.
    ExpressionHandle(Expression* expression, Callback const& callback);
    /// Ends the subscription; with its last handle the expression is removed.
    ~ExpressionHandle();

    /// Returns the value of the last evaluation; undefined if detached.
    PropertyValue getValue() const;
    /// Calls the callback with the text and the value; does nothing if detached. *Throws* what the callback throws,
    /// `std::bad_function_call` if it is empty. *Lifetime*: the callback stays alive until it returns, whatever it
    /// does.
    void notify() const;

private:
    friend class Expression;
    friend class ExpressionEngine;
    friend class detail::EngineState;

    STUDIO_DATA_LOCAL void call(Expression const& pinned) const;
    STUDIO_DATA_LOCAL void call(Expression const& pinned, PropertyValue const& value) const;

    Expression* expression;   // not owned; null once detached
    foundation::LentFunction<void(std::string const& text, PropertyValue const& value)> callback;
    std::size_t position = 0;   // among the handles of its expression
};

}   // namespace studio::data
