#pragma once

#include <cstddef>

namespace machine {

// For programs whose linker redirects the calls of two library functions to this file (`--wrap`).

/// Returns the number of evaluations, not counting the first one of each expression.
std::size_t evaluationCount() noexcept;

/// Makes one provider look-up throw `std::bad_weak_ptr`: the one after the next `skipped`. Ends with its scope.
class FailingLookUp {
public:
    explicit FailingLookUp(std::size_t skipped) noexcept;
    FailingLookUp(FailingLookUp const&) = delete;
    FailingLookUp& operator=(FailingLookUp const&) = delete;
    ~FailingLookUp();

    bool happened() const noexcept;
};

}   // namespace machine
