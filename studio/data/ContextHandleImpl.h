#pragma once

#include "foundation/LentFunction.h"
#include "rook/factory/CppAndLumenOwned.h"
#include "studio/data/model/ContextData.h"

#include <boost/core/noncopyable.hpp>
#include <boost/intrusive/list_hook.hpp>
#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/uuid/uuid.hpp>

#include <functional>
#include <memory>

namespace studio::data {

class ContextView;
class HandleRecord;
namespace detail {
class ViewState;
}

/// A hold on one context of a view. It reads the view's mirror of the context. Its callback runs once, with an empty
/// `ContextData`, when it is detached. Changes of the context make no call; they are seen by reading.
///
/// Owned by one side, native or host. It may outlive its view: it is then detached, reads empty and is safe to destroy.
/// All calls come on the thread of the shared model.
class STUDIO_DATA_EXPORT ContextHandleImpl : public rook::factory::CppAndLumenOwned, private boost::noncopyable {
public:
    /// The callback for being detached; gets an empty `ContextData`.
    using Callback = std::function<void(ContextData const& data)>;

    /// The class name: the same pointer in all modules of a process, so that pointers may be compared.
    static char const* const TypeName;
    /// The class name for scripting hosts: the same pointer in all modules of a process.
    static char const* const ROOKTypeName;

    /// For `ContextView::acquire`: makes a handle that is in no record. An empty callback is never called.
    ContextHandleImpl(boost::uuids::uuid const& id, Callback function, ContextView* owner);
    /// Releases, then destroys the callback. A running callback stays alive until it returns.
    ~ContextHandleImpl() override;

    /// Returns the view's mirror of the context, which is updated at each commit: read it, do not write to it. Empty if
    /// the handle is detached or the view no longer mirrors the context. After `release` it still returns the view's
    /// mirror for as long as the view lives.
    ContextData getData() const;

    /// Calls the callback, if there is one. *Throws* what it throws.
    void notify(ContextData const& data) const;
    /// Detaches the handle for good and calls the callback with an empty `ContextData`. A record that ends does this to
    /// its handles; called directly it first releases, as `release` does. The callback runs once: not if the handle was
    /// detached before, nor if it is destroyed by what ends with its record. *Throws* what the callback throws; the
    /// handle is detached then.
    void detach();
    /// Releases the context. The last release of a context destroys its mirror and those that only it reached. Makes no
    /// call. Does nothing when repeated or detached. Throws nothing.
    void release() noexcept;

    char const* getTypeName() const override { return TypeName; }
    char const* getFullyQualifiedRookTypeName() const override { return ROOKTypeName; }

private:
    friend class HandleRecord;
    friend class detail::ViewState;

    STUDIO_DATA_LOCAL void leaveRecord() noexcept;
    STUDIO_DATA_LOCAL void cutOff() noexcept;
    STUDIO_DATA_LOCAL detail::ViewState* livingView() const noexcept;

    boost::uuids::uuid uuid;
    foundation::LentFunction<void(ContextData const&)> callback;
    boost::intrusive_ptr<detail::ViewState> view;   // null without a view; use it only through livingView
    HandleRecord* record = nullptr;                 // the record that lists it; null if none
    // In the list of its record, or of handles waiting for their call.
    boost::intrusive::list_member_hook<boost::intrusive::link_mode<boost::intrusive::auto_unlink>> link;
    bool detached = false;
};

}   // namespace studio::data
