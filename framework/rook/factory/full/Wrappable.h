#pragma once

#include "foundation/Export.h"

namespace rook::factory::full {

/// What a scripting host may wrap: the polymorphic base, without data, of every object that is handed to it.
class STUDIO_DATA_EXPORT Wrappable {
public:
    /// Retracts the object from the host.
    virtual ~Wrappable();

    /// Called with 1 when a native factory takes the object over from the host. Answers 0, doing nothing, unless a
    /// class has something to do then.
    virtual int nativeOwnershipTaken(int owners);

    /// The short name of the class, a static text.
    virtual char const* getTypeName() const = 0;

    /// The dotted name under which the host knows the class, a static text.
    virtual char const* getFullyQualifiedRookTypeName() const = 0;

protected:
    Wrappable() = default;
    Wrappable(Wrappable const&) = default;
    Wrappable& operator=(Wrappable const&) = default;
};

/// How a host hears of retracted objects: a function and what it is given with each call.
struct RetractHook {
    /// Gets an object in the middle of its destruction: only its address may be used.
    using Function = void (*)(void* data, Wrappable* object) noexcept;

    /// What is called; null for nothing.
    Function function = nullptr;
    /// What it is given as the first argument.
    void* data = nullptr;
};

/// Puts `hook` in place of the process-wide one and returns the one that was there, by default a null one.
/// *Lifetime*: the hook's data must outlive its use, which ends when another hook is installed.
STUDIO_DATA_EXPORT RetractHook installRetractHook(RetractHook hook) noexcept;

/// Lets the host drop its wrapper of `object`; without a hook, or for null, nothing happens.
///
/// Every destructor of a wrappable class calls it, so a host hears of one object once per destructor of the chain, each
/// time at the same address. Whatever the object was, it is a plain `Wrappable` by then: its address may be compared,
/// nothing may be called on it and nothing read from it. A host that wrapped it again in between, because somebody
/// still had the pointer, is told again. After the last call the address may be that of another object.
STUDIO_DATA_EXPORT void retract(Wrappable* object) noexcept;

}   // namespace rook::factory::full
