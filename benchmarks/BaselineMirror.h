#pragma once

#include "benchmarks/BaselineStore.h"

#include <cstdint>
#include <vector>

namespace benchmarks::baseline {

/// A second store with a copy of all that one context of the first reaches through references. A context is copied with
/// its first reference and removed with its last.
class Mirror final : public Store::Listener {
public:
    Mirror(Store& source, std::uint32_t root);
    Mirror(Mirror const&) = delete;
    Mirror& operator=(Mirror const&) = delete;
    ~Mirror() override;

    /// Returns the value of the copy of a slot; null if there is none.
    Value const* find(std::uint32_t slot) const;

    void committed(Store::Report const& report) override;

private:
    /// The copy of one context of the source.
    struct Copy {
        std::uint32_t context = Store::NONE;
        std::uint32_t references = 0;
    };

    void gain(std::uint32_t context);
    void lose(std::uint32_t context);

    Store& source;
    Store copy;
    std::vector<Copy> copies;                // by context of the source
    std::vector<std::uint32_t> slotCopies;   // by slot of the source
};

}   // namespace benchmarks::baseline
