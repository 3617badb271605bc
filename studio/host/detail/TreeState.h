#pragma once

#include "studio/data/ContextProvider.h"
#include "studio/host/Batch.h"
#include "studio/host/detail/OpenBatches.h"

#include <boost/uuid/uuid.hpp>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace studio::host::detail {

class TreeChange;

/// What a tree owns. The context that holds another one of the tree is in the tree, too.
struct TreeState {
    using Provider = std::shared_ptr<data::ContextProvider>;
    using Nodes = std::map<std::string, Provider, std::less<>>;

    /// Returns the context at a path, the root for the empty one; null if there is none.
    Provider find(std::string_view path) const;
    /// Returns the context of that identity that left the tree in an open batch; null if there is none.
    Provider findGone(boost::uuids::uuid const& id) const;

    Provider root;
    Nodes nodes;                        // all but the root, by path
    std::vector<TreeChange*> changes;   // in open batches, and those being prepared
};

/// A change of what a tree owns: prepared first, then made in one step that cannot fail.
class TreeChange final : public BatchChange {
public:
    using Provider = TreeState::Provider;
    using Nodes = TreeState::Nodes;

    explicit TreeChange(std::shared_ptr<TreeState> const& tree);
    ~TreeChange() override;

    /// Prepares that the tree gets a context.
    void add(std::string path, Provider context);
    /// Prepares that the tree loses the context at that path, and all below it. Returns these.
    std::vector<Nodes::iterator> const& remove(std::string_view path);
    /// Prepares that the tree loses all but its root.
    void removeAll();
    void make() noexcept;
    void undo() noexcept override;

private:
    friend struct TreeState;

    void remove(Nodes::iterator first, Nodes::iterator last);

    std::shared_ptr<TreeState> state;
    Nodes incoming, gone;
    std::vector<Nodes::iterator> leaving;
    std::vector<std::string> added;
};

/// A batch of one change of a tree and of the writes that belong to it. If it is not committed, both are undone.
class TreeBatch {
public:
    /// *Throws* `std::logic_error` inside a transaction that is not a batch.
    explicit TreeBatch(std::shared_ptr<TreeState> const& tree);

    TreeChange* operator->() const noexcept { return change.get(); }
    /// Makes the change and commits the batch.
    void commit();

private:
    std::unique_ptr<TreeChange> change;   // what it holds is released after the rollback
    Batch batch;
};

}   // namespace studio::host::detail
