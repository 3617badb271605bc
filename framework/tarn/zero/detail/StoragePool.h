#pragma once

#include "tarn/zero/ElementStorage.h"

#include <cstddef>
#include <cstdint>
#include <typeinfo>
#include <vector>

namespace tarn::zero::detail {

/// The storages of one element class that wait for use; they fit each other.
struct StoragePool {
    std::type_info const& type;   // of the elements
    std::vector<ModelElement::Impl::Storage*> free;
    std::size_t made = 0;           // and not lost: `free` has room for them
    std::uint64_t lastReport = 0;   // that has one of them
};

}   // namespace tarn::zero::detail
