#pragma once

#include "rook/factory/full/Wrappable.h"

#include <memory>

namespace rook::factory::full {

/// A wrappable object owned by `std::shared_ptr`; `shared_from_this` finds its owners.
class STUDIO_DATA_EXPORT StdShareable : public std::enable_shared_from_this<StdShareable>, public Wrappable {
public:
    ~StdShareable() override { retract(this); }

protected:
    StdShareable() = default;
    StdShareable(StdShareable const&) = default;
    StdShareable& operator=(StdShareable const&) = default;
};

}   // namespace rook::factory::full
