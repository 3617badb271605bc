#pragma once

#include "studio/data/ContextProvider.h"
#include "studio/host/Export.h"

#include <boost/uuid/uuid.hpp>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace studio::host {

namespace detail {

struct TreeState;

}   // namespace detail

/// Which identities the contexts of a restored tree have.
enum class Identities {
    Kept,   ///< the identities in the snapshot: to go on where a session ended
    Fresh   ///< new identities, or the ones that they have: to make a copy, or to apply a template
};

/// Owns contexts by their dotted paths. References keep no context alive; this class does: each context of the tree
/// lives as long as it is in the tree. The context at `editor.document` is what the property `document` of the context
/// at `editor` refers to.
///
/// The tree owns its contexts by path whatever happens to these properties: a context whose reference was overwritten
/// is still in the tree, and `make` of its path restores a reference that was removed.
///
/// `make`, `drop`, `move` and `restore` change all or nothing. Each is a batch: one transaction, or a savepoint of the
/// open `Batch`. If an outer batch rolls back, the tree is as before it. What was dropped is released after the
/// outermost commit. Inside any other open transaction they *throw* `std::logic_error`, because the tree would not be
/// notified of a rollback. A listener's exception passes on, after a change that is final.
///
/// Used on the thread of the shared model. A tree that is destroyed in a batch keeps its contexts alive until the
/// outermost batch ends. One that was made in a batch that rolled back has no root in the model: nothing can be made in
/// it.
class STUDIO_HOST_EXPORT ContextTree {
public:
    /// The longest path has this many names.
    static constexpr std::size_t MOST_LEVELS = 200;

    /// Makes a tree of an empty root. *Throws* `std::logic_error` inside a transaction that is not a batch, otherwise
    /// as `ContextProvider::create`.
    ContextTree();
    /// Makes a tree whose root has that identity. *Throws* as `ContextProvider::create` does for one that is taken.
    explicit ContextTree(boost::uuids::uuid const& rootId);
    ContextTree(ContextTree const&) = delete;
    ContextTree& operator=(ContextTree const&) = delete;
    ~ContextTree();

    /// Returns the root, which lives as long as the tree and is never replaced.
    std::shared_ptr<data::ContextProvider> const& root() const noexcept;
    /// Returns the context at a path; null if the tree owns none there. Follows no reference to other contexts.
    std::shared_ptr<data::ContextProvider> find(std::string_view path) const;

    /// Returns the context at a path, and makes those on the way that are missing. *Notifies*: of the contexts and
    /// references made, at the outermost commit; of nothing if there are none.
    ///
    /// *Throws* `std::invalid_argument`, and has changed nothing, for a path that is empty, has an empty name or more
    /// than `MOST_LEVELS` names, and where a property on the way is in the way: it holds something else than the
    /// reference, or its own name has dots and hides the path. *Throws* `std::logic_error` if the element of a context
    /// on the way was destroyed.
    std::shared_ptr<data::ContextProvider> make(std::string_view path);

    /// Takes the context at a path out of the tree, with all below it, and removes its parent's reference to it.
    /// Returns false if the tree owns none there. The contexts are released, and destroyed unless others own them,
    /// after the outermost commit.
    ///
    /// Other references to a dropped context `x` stay. Then an expression reads `x.y` as undefined. The bare `x` is
    /// still true there, because a reference is a value of its own: use a property of `x` as the condition, or remove
    /// the reference.
    ///
    /// *Throws* `std::invalid_argument` for an empty path, which would be the root, or one with an empty name.
    bool drop(std::string_view path);

    /// Gives a context, with all below it, another path. The contexts stay the same; the reference moves along.
    /// *Throws* `std::invalid_argument`, and has changed nothing, for paths that `make` refuses; if the tree has no
    /// context at `from` or none that would hold `to`; if there is one at `to` already, or another property; and if
    /// `to` is below `from`.
    void move(std::string_view from, std::string_view to);

    /// Returns the whole tree as one JSON text: of each context its path, identity, properties and active contexts.
    /// Every value keeps its kind, NaN and the infinities too. *Throws* `std::invalid_argument` if a name or a text is
    /// not UTF-8.
    std::string save() const;

    /// Makes the tree equal to a snapshot that `save` returned. Only differences are written, so restoring an equal
    /// state notifies nobody: contexts that are missing are made, those that are not in the snapshot are dropped, and
    /// each property and list of active contexts is written, added or removed where it differs.
    ///
    /// Contexts are found again by their identities, with `Fresh` by their paths. With `Fresh` those that are missing
    /// get new identities. The root keeps its own identity in either case. References to a context of the snapshot
    /// become references to the context that stands for it.
    ///
    /// *Throws* `std::invalid_argument`, and has changed nothing, for a text that is no snapshot, with the reason and
    /// the place; and with `Kept` if a context or property outside the tree has an identity of the snapshot.
    void restore(std::string_view snapshot, Identities identities);

private:
    std::shared_ptr<detail::TreeState> state;   // shared with the changes in open batches
};

}   // namespace studio::host
