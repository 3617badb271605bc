#pragma once

#include "studio/data/PropertyValue.h"
#include "studio/host/Export.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace studio::data {
class ExpressionEngine;
}

namespace studio::host {

/// The values of a board after one commit. It never changes, so any number of threads may read it.
class STUDIO_HOST_EXPORT Snapshot {
public:
    /// A text and its value. The text is valid as long as the snapshot.
    struct Entry {
        /// The text of the expression.
        std::string_view text;
        /// The value of the expression.
        data::PropertyValue value;
    };
    /// Walks over the entries in ascending byte order of their texts.
    using Iterator = std::vector<Entry>::const_iterator;

    /// For `Board` only. *Requires* entries in ascending byte order, whose texts `texts` keeps alive.
    Snapshot(std::uint64_t number, std::vector<Entry> entries, std::shared_ptr<void const> texts) noexcept;

    /// Returns the place of this snapshot among those of its board: 1, 2, 3 and so on.
    std::uint64_t number() const noexcept { return ownNumber; }
    /// Returns the value of a text; null if the board does not publish it. *Cost*: a binary search. *Lifetime*: that of
    /// the snapshot.
    data::PropertyValue const* find(std::string_view text) const noexcept;

    /// Begins a walk over the entries.
    /// Returns the first entry.
    Iterator begin() const noexcept { return entries.begin(); }
    /// Ends a walk over the entries.
    /// Returns the position behind the last entry.
    Iterator end() const noexcept { return entries.end(); }

private:
    std::uint64_t ownNumber;
    std::vector<Entry> entries;
    std::shared_ptr<void const> texts;
};

/// Publishes the values of expressions for other threads, as an immutable snapshot after each commit that changes one
/// of them. `current` may be called on any thread; everything else belongs to the thread of the shared model.
///
/// A snapshot is published when everything that follows from a commit in its engine is done, writes of callbacks of
/// that engine too, and while no transaction is open. Other engines on the same contexts may write later. If a callback
/// has left a transaction open, the next commit that concerns the engine publishes.
class STUDIO_HOST_EXPORT Board {
public:
    /// Subscribes to the texts, of which equal ones count once, and publishes their values as snapshot 1. Made inside a
    /// callback, it may publish values that the running commit has yet to update; the next snapshot has them. *Throws*,
    /// leaving nothing behind: `gel::ParseError` for a text that does not parse; `std::invalid_argument` for an engine
    /// whose releases unbind what others share (`data::ReleasePolicy::UnbindsShared`), since the end of a board would
    /// freeze other subscribers; `std::logic_error` inside an open transaction of the shared model.
    ///
    /// *Cost*: a commit that changes one of the values costs a copy of all of them on its own thread, other commits
    /// nothing. A failure to allocate that copy leaves the commit; the next one then publishes it. *Lifetime*: the
    /// board may outlive the engine. It then keeps its last snapshot.
    Board(data::ExpressionEngine& engine, std::vector<std::string> const& texts);
    Board(Board const&) = delete;
    Board& operator=(Board const&) = delete;
    /// Ends the subscriptions. Snapshots that threads hold stay valid. *Requires* that no other thread uses the board
    /// any more.
    ~Board();

    /// Returns the snapshot that was published last; never null. May be called on any thread. *Cost*: a lock that is
    /// held for as long as the copy of a pointer takes.
    std::shared_ptr<Snapshot const> current() const;

private:
    class Publisher;

    std::unique_ptr<Publisher> publisher;
};

}   // namespace studio::host
