#pragma once

#include <cstddef>

namespace support {

// The test program's own operator new: counts per thread, and can be made to fail.

/// Returns the number of allocations of the calling thread; `allocatedBytes`, their bytes in all.
std::size_t allocationCount() noexcept;
std::size_t allocatedBytes() noexcept;
/// Returns the number of the calling thread's allocations not freed by it; one that another thread frees counts for
/// good.
std::size_t liveAllocations() noexcept;

/// Makes one allocation throw `std::bad_alloc`: the one after the next `skipped`; with `Sticky::Yes` every one from
/// then on. Ends with its scope.
class FailingAllocation {
public:
    enum class Sticky { No, Yes };

    explicit FailingAllocation(std::size_t skipped, Sticky sticky = Sticky::No) noexcept;
    FailingAllocation(FailingAllocation const&) = delete;
    FailingAllocation& operator=(FailingAllocation const&) = delete;
    ~FailingAllocation();

    bool happened() const noexcept;
};

/// Sets whether allocations in a scope fail and count: those of the test itself need not, those of the calls under test
/// do.
class Exempt {
public:
    explicit Exempt(bool exempt = true) noexcept;
    Exempt(Exempt const&) = delete;
    Exempt& operator=(Exempt const&) = delete;
    ~Exempt();

    static bool isOn() noexcept;

private:
    bool m_before;
};

}   // namespace support
