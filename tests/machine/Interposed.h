#pragma once

#include <cstddef>

namespace machine {

// For programs whose linker leads the calls of two functions of the library here first (`--wrap`).

/// How many evaluations there have been, but for the first one of each expression.
std::size_t evaluationCount() noexcept;

/// Lets one look-up of a provider throw `std::bad_weak_ptr`: the one after the next `skipped`. Ends with its scope.
class FailingLookUp {
public:
    explicit FailingLookUp(std::size_t skipped) noexcept;
    FailingLookUp(FailingLookUp const&) = delete;
    FailingLookUp& operator=(FailingLookUp const&) = delete;
    ~FailingLookUp();

    bool happened() const noexcept;
};

}   // namespace machine
