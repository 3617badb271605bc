#pragma once

#include "studio/data/PropertyValue.h"

#include <boost/uuid/uuid.hpp>

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace studio::host::detail {

/// One context of a saved tree.
struct SavedContext {
    std::string path;   // empty for the root
    boost::uuids::uuid id;
    std::map<std::string, data::PropertyValue> properties;
    std::vector<std::string> activeContexts;
};

/// A saved tree: the root first, and each context after the one that holds it.
using Snapshot = std::vector<SavedContext>;

/// Returns the JSON text of a snapshot. *Throws* `std::invalid_argument` if a name or a text is not UTF-8.
std::string textOf(Snapshot const& snapshot);
/// Returns the snapshot of a JSON text. Each identity in it is unique, each path is one that a tree may have, and the
/// context that holds it is there too. *Throws* `std::invalid_argument` with the place and the reason for any other
/// text.
Snapshot snapshotOf(std::string_view text);

}   // namespace studio::host::detail
