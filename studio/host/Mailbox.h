#pragma once

#include "studio/data/PropertyValue.h"
#include "studio/host/ErrorHandler.h"
#include "studio/host/Export.h"

#include <boost/uuid/uuid.hpp>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace studio::host {

/// Lets any thread change contexts: what the threads post, the owner's thread runs when it drains the mailbox.
///
/// `post`, `write` and `close` may be called on any thread at any time, also by what a drain runs. Everything else
/// belongs to the thread of the shared model, the owner's thread. Posting never touches the model.
///
/// What is posted runs in the order of posting, and a function sees exactly the writes that were posted before it.
class STUDIO_HOST_EXPORT Mailbox {
public:
    /// A function that is posted. It is destroyed on the owner's thread, unless it is refused. *Requires* that it
    /// captures values only, such as the UUID of a context: copying or releasing a provider belongs to the owner's
    /// thread.
    using Task = std::function<void()>;
    /// Makes the owner's thread call `drain` soon, for instance by an event or a condition variable. It must not drain
    /// itself. Several threads may call it at once.
    using Wake = std::function<void()>;

    /// How much a drain runs unless it is told.
    static constexpr std::size_t DEFAULT_LIMIT = 1'000;

    /// Makes an empty mailbox. `wake` is called when something is posted to the empty mailbox, on the posting thread
    /// before `post` or `write` returns, and on the owner's thread by a drain that leaves something. Both functions may
    /// be empty: without `wake` the owner drains in a rhythm of its own, without `errorHandler` failures leave `drain`.
    explicit Mailbox(Wake wake, ErrorHandler errorHandler = {});
    Mailbox(Mailbox const&) = delete;
    Mailbox& operator=(Mailbox const&) = delete;
    /// Closes the mailbox and destroys what is queued. A drain that is running, whose callback destroys the mailbox,
    /// completes its transaction, but begins nothing more and calls neither `wake` nor the error handler: the first
    /// failure leaves `drain` then. *Requires* that no other thread uses the mailbox any more.
    ~Mailbox();

    /// Queues a function; returns false, and destroys it, if the mailbox is closed. *Throws* `std::invalid_argument`
    /// for an empty function, which is not queued; and what `wake` throws: the function is queued then, and the next
    /// post wakes again.
    bool post(Task task);
    /// Queues a write of the property of exactly that name; returns false if the mailbox is closed. It replaces the
    /// value of such a write that is queued, unless a function was posted behind that. Context and property are looked
    /// up when it runs: if there is no such context or property by then, the write fails. `name` is not a path; to
    /// follow one, post a function. *Throws* what `wake` throws; the write is queued then. *Cost*: logarithmic in the
    /// number of queued writes.
    bool write(boost::uuids::uuid const& context, std::string name, data::PropertyValue value);

    /// Runs what is queued, at most `limit` functions and writes, in one transaction, and returns how many it ran.
    /// What is posted meanwhile is left for the next drain.
    ///
    /// Each function and each write has a `Batch` of its own, so that functions may change trees: if it throws, it
    /// alone is undone. When the transaction is committed, failures are reported to the error handler in their order,
    /// the exception of a listener last. Without a handler the first one is thrown then, and the others are lost.
    ///
    /// *Throws*, with everything still queued, and the next post wakes again:
    /// - `std::logic_error` inside an open transaction of the shared model, and inside a drain of this mailbox;
    /// - `std::invalid_argument` for a limit of 0;
    /// - what opening a transaction throws, and a commit that is rolled back: functions that have run will run again.
    ///
    /// *Notifies* as one commit. *Cost*: a savepoint for each function and write, besides what these do.
    std::size_t drain(std::size_t limit = DEFAULT_LIMIT);

    /// Refuses what is posted from now on. What is queued stays and may still be drained. Does nothing if closed.
    void close() noexcept;

private:
    class State;

    std::shared_ptr<State> state;   // a drain keeps it: what it runs may destroy the mailbox
};

}   // namespace studio::host
