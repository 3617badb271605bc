#pragma once

#include "tarn/zero/ElementStorage.h"

#include <cstddef>
#include <cstdint>
#include <typeinfo>
#include <vector>

namespace tarn::zero::detail {

/// Free list of the storages of one element class.
struct StoragePool {
    std::type_info const& type;   // of the elements
    std::vector<ModelElement::Impl::Storage*> free;
    std::size_t made = 0;           // in circulation; `free` has capacity for all, so returning one never allocates
    std::uint64_t lastReport = 0;   // serial of the last report that took one
};

}   // namespace tarn::zero::detail
