#pragma once

#include "studio/host/ErrorHandler.h"

#include <exception>
#include <new>
#include <string>
#include <string_view>

namespace studio::host::detail {

/// A name or a path as messages show it.
inline std::string inQuotes(std::string_view text)
{
    return '"' + std::string{text} + '"';
}

/// The failure that is the exception being handled. Without memory its texts and value stay empty.
inline Failure currentFailure(std::string_view text, data::PropertyValue const& value = {}) noexcept
{
    Failure failure{{}, {}, std::current_exception(), {}};
    try {
        failure.text = text;
        failure.value = value;
        try {
            throw;
        } catch (std::exception const& exception) {
            failure.reason = exception.what();
        } catch (...) {
            failure.reason = "an exception of an unknown type";
        }
    } catch (std::bad_alloc const&) {
        // What is still empty stays empty.
    }
    return failure;
}

/// Passes a failure on. Ends the process if the handler throws.
inline void report(ErrorHandler const& handler, Failure const& failure) noexcept
{
    handler(failure);
}

}   // namespace studio::host::detail
