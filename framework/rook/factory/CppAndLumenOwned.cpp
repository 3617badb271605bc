#include "rook/factory/CppAndLumenOwned.h"

namespace rook::factory {

CppAndLumenOwned::~CppAndLumenOwned()
{
    tearDown();
}

void CppAndLumenOwned::takeNativeOwnership()
{
    if (m_cppOwned)
        return;
    m_cppOwned = true;
    nativeOwnershipTaken(1);
}

void CppAndLumenOwned::tearDown() noexcept
{
    m_retracting = true;
    full::retract(this);
}

}   // namespace rook::factory
