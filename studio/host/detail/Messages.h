#pragma once

#include "studio/host/ErrorHandler.h"

#include <exception>
#include <string>
#include <string_view>
#include <utility>

namespace studio::host::detail {

/// A name or a path as messages show it.
inline std::string inQuotes(std::string_view text)
{
    return '"' + std::string{text} + '"';
}

/// The failure that is the exception being handled.
inline Failure currentFailure(std::string text, data::PropertyValue value = {})
{
    Failure failure{std::move(text), std::move(value), std::current_exception(), "an exception of an unknown type"};
    try {
        throw;
    } catch (std::exception const& exception) {
        failure.reason = exception.what();
    } catch (...) {
        // Has no text.
    }
    return failure;
}

/// Passes a failure on. Ends the process if the handler throws.
inline void report(ErrorHandler const& handler, Failure const& failure) noexcept
{
    handler(failure);
}

}   // namespace studio::host::detail
