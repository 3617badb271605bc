#pragma once

#include "studio/data/ExpressionEngine.h"
#include "studio/host/ErrorHandler.h"
#include "studio/host/Export.h"
#include "studio/host/PathEnd.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace studio::host {

class Schema;

/// A running subscription; destroying it ends the calls. Move-only. It may end in any order with its `Subscriptions`
/// and their engine, also inside its own callback: the callback stays alive until it returns.
class STUDIO_HOST_EXPORT Subscription {
public:
    /// Makes an empty subscription, to be assigned to.
    Subscription() noexcept = default;

    /// True while calls may come: until it is moved from or reset. The end of the engine does not make it false.
    explicit operator bool() const noexcept { return handle != nullptr; }
    /// Ends the subscription now.
    void reset() noexcept { handle.reset(); }
    /// Returns the present value of the expression; undefined if the subscription is empty or the engine is gone.
    data::PropertyValue value() const { return handle ? handle->getValue() : data::PropertyValue{}; }

private:
    friend class Subscriptions;
    explicit Subscription(std::unique_ptr<data::ExpressionHandle> made) noexcept : handle{std::move(made)} {}

    std::unique_ptr<data::ExpressionHandle> handle;
};

/// Subscribes callbacks to expressions over one root context, in the terms of a user interface: a condition, a label, a
/// value. Each callback is called once before the subscription is returned, and then when what it receives has changed:
/// a condition that goes from 1 to 2 stays true, and nothing is called.
///
/// Ending one subscription changes nothing for the others. Callbacks may do anything that the callbacks of an engine
/// may do; all of it is on the thread of the shared model.
class STUDIO_HOST_EXPORT Subscriptions {
public:
    /// Subscribes to expressions over `root`, through an engine of its own. With null every name is undefined.
    explicit Subscriptions(std::shared_ptr<data::ContextProvider> root);
    /// Subscribes through an engine of the host, which must outlive the calls of this object. *Throws*
    /// `std::invalid_argument` unless the engine keeps shared symbols.
    explicit Subscriptions(data::ExpressionEngine& engine);
    /// Ends every subscription: nothing is called any more.
    ~Subscriptions();
    Subscriptions(Subscriptions const&) = delete;
    Subscriptions& operator=(Subscriptions const&) = delete;

    /// Sets who receives the exceptions of callbacks. With a handler everybody else is served, and the write that
    /// caused the call returns. Without one, as at first and with an empty function, an exception leaves the write. The
    /// callbacks and evaluations that would have followed it in that round are skipped then, until their symbols change
    /// again.
    void onError(ErrorHandler handler);

    /// Refuses texts from now on that name what `schema` does not have, or that compare what can never be equal: the
    /// three functions below throw `std::invalid_argument` for them, with all problems of the text. *Lifetime*: copies
    /// the schema.
    void require(Schema const& schema);

    /// Calls `callback` with the truth of the text: undefined, 0, `false` and the empty text are false. Inside an open
    /// transaction the first call is made with its writes, which a rollback may undo. *Throws*
    /// `gel::ParseError` for a text that does not parse, `std::invalid_argument` for an empty function or a text that
    /// the schema refuses, and, without an error handler, what the first call throws; nothing is subscribed then.
    [[nodiscard("a subscription that is not kept ends at once")]] Subscription when(std::string const& text,
                                                                                    std::function<void(bool)> callback);
    /// Calls `callback` with the value as a person reads it: a number in its shortest form, a logical as `true` or
    /// `false`, undefined as the empty text. *Throws* as `when`.
    [[nodiscard("a subscription that is not kept ends at once")]] Subscription show(
        std::string const& text, std::function<void(std::string const&)> callback);
    /// Calls `callback` with the value. *Throws* as `when`.
    [[nodiscard("a subscription that is not kept ends at once")]] Subscription watch(
        std::string const& text, std::function<void(data::PropertyValue const&)> callback);

    /// A name in a subscribed text that yields nothing at present.
    struct Unresolved {
        /// The name, a dotted path.
        std::string name;
        /// The text that names it.
        std::string text;
        /// The place where the path ends.
        PathEnd end;
    };
    /// Returns the names in the engine's texts whose paths end nowhere now, in order of the texts. Names that are
    /// missing for a good reason, such as those of a document that is not open, are among them.
    std::vector<Unresolved> unresolved() const;

    /// Returns the engine, for observers and lists. *Requires* that an engine of the host still exists.
    data::ExpressionEngine& engine() const noexcept;

private:
    struct Shared;
    template <class Told>
    Subscription subscribe(std::string const& text, std::shared_ptr<Told> told);

    std::shared_ptr<Shared> shared;   // with the callbacks, which may run when this object ends
    std::unique_ptr<data::ExpressionEngine> own;
    data::ExpressionEngine* used;
};

/// Returns the text of a value as `Subscriptions::show` hands it over.
STUDIO_HOST_EXPORT std::string shown(data::PropertyValue const& value);

}   // namespace studio::host
