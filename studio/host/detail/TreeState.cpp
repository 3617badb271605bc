#include "studio/host/detail/TreeState.h"

#include <iterator>
#include <utility>

namespace studio::host::detail {

TreeState::Provider TreeState::find(std::string_view path) const
{
    if (path.empty())
        return root;
    auto const found = nodes.find(path);
    return found == nodes.end() ? nullptr : found->second;
}

TreeState::Provider TreeState::findGone(boost::uuids::uuid const& id) const
{
    for (TreeChange const* const change : changes)
        for (auto const& [path, context] : change->gone)
            if (context->getId() == id)
                return context;
    return nullptr;
}

TreeChange::TreeChange(std::shared_ptr<TreeState> const& tree) : state{tree}
{
    state->changes.push_back(this);
}

TreeChange::~TreeChange()
{
    // First: the release of what is gone may run callbacks that change the tree.
    std::erase(state->changes, this);
}

void TreeChange::add(std::string path, Provider context)
{
    added.push_back(path);
    incoming.emplace(std::move(path), std::move(context));
}

std::vector<TreeChange::Nodes::iterator> const& TreeChange::remove(std::string_view path)
{
    auto const found = state->nodes.find(path);
    remove(found, std::next(found));
    remove(state->nodes.lower_bound(std::string{path} + '.'), state->nodes.lower_bound(std::string{path} + '/'));
    return leaving;
}

void TreeChange::removeAll()
{
    remove(state->nodes.begin(), state->nodes.end());
}

void TreeChange::remove(Nodes::iterator first, Nodes::iterator last)
{
    for (; first != last; ++first)
        leaving.push_back(first);
}

void TreeChange::make() noexcept
{
    for (Nodes::iterator const node : leaving)
        gone.insert(state->nodes.extract(node));
    leaving.clear();
    state->nodes.merge(incoming);
}

void TreeChange::undo() noexcept
{
    for (std::string const& path : added)
        state->nodes.erase(path);
    state->nodes.merge(gone);
}

TreeBatch::TreeBatch(std::shared_ptr<TreeState> const& tree) : change{std::make_unique<TreeChange>(tree)}
{
    OpenBatches::refuseTransaction(batch);
}

void TreeBatch::commit()
{
    change->make();
    OpenBatches::remember(std::move(change));
    batch.commit();
}

}   // namespace studio::host::detail
