#pragma once

#include "gel/Program.h"
#include "studio/data/PropertyValue.h"
#include "studio/inspect/Watcher.h"
#include "studio/inspect/detail/ChangedContexts.h"

#include <set>
#include <string>
#include <utility>

namespace studio::inspect::detail {

/// Places where properties are or were: a context and a name.
using Places = std::set<std::pair<boost::uuids::uuid, std::string>>;

/// What an evaluation has read.
struct Reads {
    /// The properties, also those that were not there.
    Places properties;
    /// The contexts whose existence it depends on.
    std::set<boost::uuids::uuid> contexts;

    /// True if a change may change the value of that evaluation.
    bool contain(PropertyChange const& change) const;
    /// True if a change or another effect of the commit may.
    bool contain(Commit const& commit) const;
};

/// Turns `contexts` as they are after a commit into those before it.
void undo(Commit const& commit, ChangedContexts& contexts);
/// Undoes one change of a property: its places are as in `before`. The context of a destroyed property exists again,
/// too.
void undo(PropertyChange const& change, ChangedContexts const& before, ChangedContexts& contexts);

/// Evaluates a text over a root context. Adds to `reads`, if it is not null, what the evaluation needs.
data::PropertyValue evaluate(gel::Program const& program, boost::uuids::uuid const& root,
                             host::ContextReader const& contexts, Reads* reads = nullptr);

}   // namespace studio::inspect::detail
