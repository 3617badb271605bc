#pragma once

#include "foundation/Export.h"

namespace rook::factory::full {

/// Polymorphic base, without data, of every object that a scripting host may wrap.
class STUDIO_DATA_EXPORT Wrappable {
public:
    /// Retracts the object from the host.
    virtual ~Wrappable();

    /// Ownership hook: called with 1 when a native factory takes the object over from the host. The base returns 0 and
    /// does nothing.
    virtual int nativeOwnershipTaken(int owners);

    /// The short name of the class, a static text.
    virtual char const* getTypeName() const = 0;

    /// The dotted name that the host uses for the class, a static text.
    virtual char const* getFullyQualifiedRookTypeName() const = 0;

protected:
    Wrappable() = default;
    Wrappable(Wrappable const&) = default;
    Wrappable& operator=(Wrappable const&) = default;
};

/// Notification of a host about retracted objects: a function and its context.
struct RetractHook {
    /// Receives an object during its destruction: only its address may be used.
    using Function = void (*)(void* data, Wrappable* object) noexcept;

    /// The function to call; null for none.
    Function function = nullptr;
    /// Passed as the first argument.
    void* data = nullptr;
};

/// Installs `hook` as the process-wide hook and returns the previous one, null by default.
/// *Lifetime*: the hook's data must outlive its use, which ends when another hook is installed.
STUDIO_DATA_EXPORT RetractHook installRetractHook(RetractHook hook) noexcept;

/// Notifies the host that it must drop its wrapper of `object`; no effect without a hook or for null.
///
/// Every destructor of a wrappable class hierarchy calls it, so a host is notified once per destructor, each time with
/// the same address. The object is only a `Wrappable` by then: its address may be compared, but nothing may be called
/// on it or read from it. A host that wrapped it again in between is notified again. After the last call the address
/// may be reused for another object.
STUDIO_DATA_EXPORT void retract(Wrappable* object) noexcept;

}   // namespace rook::factory::full
