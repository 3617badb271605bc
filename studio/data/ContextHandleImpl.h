#pragma once

#include "rook/factory/CppAndLumenOwned.h"
#include "studio/data/model/ContextData.h"

#include <boost/core/noncopyable.hpp>
#include <boost/uuid/uuid.hpp>

#include <functional>
#include <memory>

namespace studio::data {

class ContextView;
class HandleRecord;
class Invariants;   // of the tests: may look at everything

/// A holder's hold on one context of a view: it reads the view's mirror of the context, and is told once, with an empty
/// `ContextData`, if the view goes away before it. Changes of the context make no call; they are seen by reading.
///
/// Owned by one side, native or host. It may outlive its view: it is then detached, reads empty and is safe to destroy.
/// All calls come on the thread of the shared model.
class STUDIO_DATA_EXPORT ContextHandleImpl : public rook::factory::CppAndLumenOwned, private boost::noncopyable {
public:
    /// What is told when the view goes: it gets an empty `ContextData`.
    using Callback = std::function<void(ContextData const& data)>;

    /// The name of the class: one text for all modules of a process, so that the pointers compare equal.
    static char const* const TypeName;
    /// The name under which a scripting host knows the class; one text for all modules, too.
    static char const* const ROOKTypeName;

    /// For `ContextView::acquire`: a handle that no record knows. An empty callback is never called.
    ContextHandleImpl(boost::uuids::uuid const& id, Callback function, ContextView* owner);
    /// Releases, then destroys the callback. A callback that runs stays alive until it returns.
    ~ContextHandleImpl() override;

    /// The view's mirror of the context, which follows it from commit to commit: read it, do not write to it. Empty
    /// when the handle is detached or the view mirrors the context no more. After `release` it goes on answering what
    /// the view mirrors, for as long as the view lives.
    ContextData getData() const;

    /// Calls the callback, if there is one. *Throws* what it throws.
    void notify(ContextData const& data) const;
    /// Ends the hold for good and calls the callback, with an empty `ContextData`. A record that ends does this to its
    /// handles; called by hand it first gives the hold back, as `release` does. The call comes once: a handle that was
    /// detached before makes none, and neither does one that is destroyed by what ends with its record. *Throws* what
    /// the callback throws; the handle is detached then.
    void detach();
    /// Gives the hold back. The last one on a context takes its mirror away, and what only that reached. No call is
    /// made. Again, or when detached, it does nothing. Lets nothing out.
    void release() noexcept;

    char const* getTypeName() const override { return TypeName; }
    char const* getFullyQualifiedRookTypeName() const override { return ROOKTypeName; }

private:
    friend class ContextView;
    friend class HandleRecord;
    friend class Invariants;

    struct Call;
    struct Life;

    STUDIO_DATA_LOCAL void leaveRecord() noexcept;
    STUDIO_DATA_LOCAL void cutOff() noexcept;
    STUDIO_DATA_LOCAL ContextView* livingView() const noexcept;
    STUDIO_DATA_LOCAL void link(ContextHandleImpl*& first) noexcept;
    STUDIO_DATA_LOCAL void unlink() noexcept;

    boost::uuids::uuid uuid;
    mutable Callback callback;   // lent to the running call, so that it survives the handle
    ContextView* view;           // not owned; null once detached, and not to be used without asking livingView
    bool detached = false;

    std::shared_ptr<Life const> life;   // of the view
    mutable Call* running = nullptr;
    HandleRecord* record = nullptr;           // that it is in; null in none
    ContextHandleImpl* next = nullptr;        // in the list of its record, or of handles that wait for their call
    ContextHandleImpl** position = nullptr;   // what points here in that list; null in none
};

}   // namespace studio::data
