#pragma once

#include "studio/data/PropertyValue.h"

#include <exception>
#include <functional>
#include <string>

namespace studio::host {

/// Something that went wrong in code of the host, where nobody could catch it usefully.
struct Failure {
    /// What failed, for a log: the text of an expression, or a phrase such as `a batch`.
    std::string text;
    /// The value that a callback was called with; undefined if there is none.
    data::PropertyValue value;
    /// The exception; null if there is none.
    std::exception_ptr exception;
    /// The exception's `what()`, or a sentence about what happened.
    std::string reason;
};

/// Receives failures. *Requires* that it throws nothing: an exception from it ends the process.
using ErrorHandler = std::function<void(Failure const& failure)>;

}   // namespace studio::host
