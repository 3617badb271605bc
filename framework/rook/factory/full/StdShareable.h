#pragma once

#include "rook/factory/full/Wrappable.h"

#include <memory>

namespace rook::factory::full {

/// A wrappable object that is owned by `std::shared_ptr` and finds its own owners from a plain pointer.
class STUDIO_DATA_EXPORT StdShareable : public std::enable_shared_from_this<StdShareable>, public Wrappable {
public:
    ~StdShareable() override { retract(this); }

protected:
    StdShareable() = default;
    StdShareable(StdShareable const&) = default;
    StdShareable& operator=(StdShareable const&) = default;
};

}   // namespace rook::factory::full
