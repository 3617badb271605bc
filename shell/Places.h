#pragma once

#include "gel/DataSource.h"
#include "studio/data/PropertyValue.h"
#include "studio/host/ContextReader.h"

#include <boost/uuid/uuid.hpp>

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace shell {

/// The properties that a root context reaches, each once, by the first path that leads to it.
struct Places {
    using Properties = std::vector<std::pair<std::string, studio::data::PropertyValue>>;
    /// Returns the properties of a context; empty if there is none of that id.
    using Reader = std::function<std::optional<Properties>(boost::uuids::uuid const& context)>;

    std::map<std::string, studio::data::PropertyValue> properties;   // by path
    std::map<boost::uuids::uuid, std::string> contexts;              // their paths; of the root an empty one
    bool isComplete = true;                                          // no path was too long

    /// The longest path that is visited, in bytes. It bounds the memory for chains of contexts.
    static constexpr std::size_t LONGEST_PATH = 4'096;

    /// Visits the contexts breadth first, so that each has one of its shortest paths.
    static Places reachedFrom(boost::uuids::uuid const& root, Reader const& read);
    /// Visits live contexts.
    static Places reachedFrom(boost::uuids::uuid const& root);

    /// Returns a value as text; a reference as the path of its context.
    std::string shown(studio::data::PropertyValue const& value) const;
    /// Returns the value of the property at a path as text; `a context` for one that has that path.
    std::string shownAt(std::string const& path, studio::data::PropertyValue const& value) const;
};

/// Returns the value of a text over the context `root`. *Throws* `gel::ParseError`.
studio::data::PropertyValue evaluate(std::string const& text, boost::uuids::uuid const& root,
                                     studio::host::ContextReader const& reader = {});

/// True if a value counts as true in a condition.
bool isTrue(studio::data::PropertyValue const& value);

}   // namespace shell
