#include "rook/factory/full/Wrappable.h"

#include <utility>

namespace rook::factory::full {

namespace {

// Constant-initialised and without a destructor: static objects may be retracted at exit.
constinit RetractHook s_retractHook{};

}   // namespace

Wrappable::~Wrappable()
{
    retract(this);
}

int Wrappable::nativeOwnershipTaken(int)
{
    return 0;
}

RetractHook installRetractHook(RetractHook hook) noexcept
{
    return std::exchange(s_retractHook, hook);
}

void retract(Wrappable* object) noexcept
{
    if (object && s_retractHook.function)
        s_retractHook.function(s_retractHook.data, object);
}

}   // namespace rook::factory::full
