#pragma once

#include "rook/factory/full/Wrappable.h"

namespace rook::factory {

/// A wrappable object that either side may own: native code, which deletes it as usual, or the scripting host, whose
/// wrapper then deletes it. The object only remembers which; it starts as native code's own. Used on one thread.
class STUDIO_DATA_EXPORT CppAndLumenOwned : public full::Wrappable {
public:
    /// Retracts the object from the host.
    ~CppAndLumenOwned() override;

    /// True once a destructor of the chain has retracted the object: the host has let go of it and must not wrap it
    /// again.
    bool isRetracting() const noexcept { return m_retracting; }
    /// True while native code owns the object and deletes it; the host does otherwise.
    bool isCppOwned() const noexcept { return m_cppOwned; }

    /// The last step of a native factory: from now on native code owns the object. Calls the ownership hook with 1 if
    /// the host had it; of an object fresh from its constructor this does nothing.
    void takeNativeOwnership();
    /// What a host does that takes the object over: it deletes the object from now on, nobody else.
    void giveToLumen() noexcept { m_cppOwned = false; }

protected:
    CppAndLumenOwned() = default;
    CppAndLumenOwned(CppAndLumenOwned const&) = default;
    CppAndLumenOwned& operator=(CppAndLumenOwned const&) = default;

    /// The last thing that the destructor of each class of the chain does.
    void tearDown() noexcept;

private:
    bool m_retracting = false;
    bool m_cppOwned = true;
};

}   // namespace rook::factory
