#pragma once

#include "rook/factory/full/Wrappable.h"

namespace rook::factory {

/// A wrappable object owned by either side: native code, which deletes it as usual, or the scripting host, whose
/// wrapper deletes it. The object records the owner, initially native code. Used on one thread.
class STUDIO_DATA_EXPORT CppAndLumenOwned : public full::Wrappable {
public:
    /// Retracts the object from the host.
    ~CppAndLumenOwned() override;

    /// True once a destructor of the class hierarchy has retracted the object: the host has dropped its wrapper and
    /// must not create another.
    bool isRetracting() const noexcept { return m_retracting; }
    /// True if native code owns and deletes the object; false if the host does.
    bool isCppOwned() const noexcept { return m_cppOwned; }

    /// Last step of a native factory: makes native code the owner. Calls the ownership hook with 1 if the host owned
    /// the object; no effect on a newly constructed one.
    void takeNativeOwnership();
    /// Makes the host the owner: from now on only the host deletes the object.
    void giveToLumen() noexcept { m_cppOwned = false; }

protected:
    CppAndLumenOwned() = default;
    CppAndLumenOwned(CppAndLumenOwned const&) = default;
    CppAndLumenOwned& operator=(CppAndLumenOwned const&) = default;

    /// Last step of the destructor of each class of the hierarchy.
    void tearDown() noexcept;

private:
    bool m_retracting = false;
    bool m_cppOwned = true;
};

}   // namespace rook::factory
