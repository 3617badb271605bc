#pragma once

#include <cstddef>

namespace support {

// The test program's own operator new counts, and can be made to fail. Of the calling thread only.

/// How many allocations there have been, and of how many bytes in all.
std::size_t allocationCount() noexcept;
std::size_t allocatedBytes() noexcept;
/// How many of them have not been freed; one that another thread frees counts for good.
std::size_t liveAllocations() noexcept;

/// Lets one allocation throw `std::bad_alloc`: the one after the next `skipped`; with `Sticky::Yes` every one from then
/// on. Ends with its scope.
class FailingAllocation {
public:
    enum class Sticky { No, Yes };

    explicit FailingAllocation(std::size_t skipped, Sticky sticky = Sticky::No) noexcept;
    FailingAllocation(FailingAllocation const&) = delete;
    FailingAllocation& operator=(FailingAllocation const&) = delete;
    ~FailingAllocation();

    bool happened() const noexcept;
};

/// Whether allocations in a scope fail and count: what a test does on its own account need not, what it calls does.
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
