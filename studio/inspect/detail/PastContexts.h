#pragma once

#include "gel/Program.h"
#include "studio/data/PropertyValue.h"
#include "studio/inspect/Watcher.h"
#include "studio/inspect/detail/ChangedContexts.h"

#include <set>
#include <string>
#include <utility>

namespace studio::inspect::detail {

/// Places of properties: pairs of a context and a name.
using Places = std::set<std::pair<boost::uuids::uuid, std::string>>;

/// What an evaluation has read.
struct Reads {
    /// The properties, also missing ones.
    Places properties;
    /// The contexts whose existence it depends on.
    std::set<boost::uuids::uuid> contexts;

    /// True if a change may change the result of that evaluation.
    bool contain(PropertyChange const& change) const;
    /// True if a change of the commit, or a context that it created or destroyed, may change the result.
    bool contain(Commit const& commit) const;
};

/// Undoes a commit: `contexts`, as they are after it, become those before it.
void undo(Commit const& commit, ChangedContexts& contexts);

/// Evaluates a text over a root context. Adds to `reads`, if it is not null, what the evaluation needs.
data::PropertyValue evaluate(gel::Program const& program, boost::uuids::uuid const& root,
                             host::ContextReader const& contexts, Reads* reads = nullptr);

}   // namespace studio::inspect::detail
