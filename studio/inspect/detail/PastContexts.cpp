#include "studio/inspect/detail/PastContexts.h"

#include "studio/inspect/detail/Values.h"

#include <algorithm>

namespace studio::inspect::detail {

namespace {

using ChangeKind = PropertyChange::Kind;

class NotingReader final : public host::ContextReader {
public:
    NotingReader(host::ContextReader const& read, Reads& reads) noexcept : base{read}, noted{reads} {}

    bool hasContext(boost::uuids::uuid const& id) const override
    {
        noted.contexts.insert(id);
        return base.hasContext(id);
    }
    std::optional<data::PropertyValue> find(boost::uuids::uuid const& context, std::string_view name) const override
    {
        noted.properties.emplace(context, name);
        return base.find(context, name);
    }

private:
    host::ContextReader const& base;
    Reads& noted;
};

}   // namespace

bool Reads::contain(PropertyChange const& change) const
{
    return properties.count({change.context, change.name}) != 0 ||
           properties.count({change.contextBefore, change.nameBefore}) != 0 ||
           (change.kind == ChangeKind::Destroyed && contexts.count(change.contextBefore) != 0);
}

bool Reads::contain(Commit const& commit) const
{
    auto const isRead = [this](boost::uuids::uuid const& id) { return contexts.count(id) != 0; };
    return std::any_of(commit.changes.begin(), commit.changes.end(),
                       [this](PropertyChange const& change) { return contain(change); }) ||
           std::any_of(commit.created.begin(), commit.created.end(), isRead) ||
           std::any_of(commit.destroyed.begin(), commit.destroyed.end(), isRead);
}

void undo(Commit const& commit, ChangedContexts& contexts)
{
    // All places are vacated first: properties may have taken each other's.
    for (PropertyChange const& change : commit.changes)
        if (change.after)
            contexts.set(change.context, change.name, std::nullopt);
    for (PropertyChange const& change : commit.changes)
        if (change.before)
            contexts.set(change.contextBefore, change.nameBefore, change.before);
    for (boost::uuids::uuid const& id : commit.created)
        contexts.setExists(id, false);
    for (boost::uuids::uuid const& id : commit.destroyed)
        contexts.setExists(id, true);
}

data::PropertyValue evaluate(gel::Program const& program, boost::uuids::uuid const& root,
                             host::ContextReader const& contexts, Reads* reads)
{
    if (!reads)
        return propertyValue(program.eval(ReaderSource{contexts, root}));
    NotingReader const noting{contexts, *reads};
    return propertyValue(program.eval(ReaderSource{noting, root}));
}

}   // namespace studio::inspect::detail
