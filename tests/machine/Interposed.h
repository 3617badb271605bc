#pragma once

#include <cstddef>
#include <functional>

namespace studio::data {
class Expression;
}

namespace machine {

// For programs whose linker redirects the calls of two library functions to this file (`--wrap`).

/// Called before each evaluation of an expression but the first.
std::function<void(studio::data::Expression const&)>& onEvaluation() noexcept;

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
