#pragma once

#include <exception>
#include <string>

namespace support {

/// Returns the message of the exception of that class that `operation` throws; "accepted" if it throws none.
template <class Refusal = std::exception, class Operation>
std::string refusalOf(Operation const& operation)
{
    try {
        operation();
    } catch (Refusal const& refusal) {
        return refusal.what();
    }
    return "accepted";
}

}   // namespace support
