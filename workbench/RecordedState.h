#pragma once

#include "studio/host/ContextReader.h"
#include "workbench/Document.h"

#include <boost/uuid/uuid.hpp>

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace workbench {

/// The contexts of a recording as they are after a number of steps. Nothing of it is live: contexts are maps, and the
/// id of a context is its number.
class RecordedState : public studio::host::ContextReader {
public:
    using Properties = std::map<std::string, studio::data::PropertyValue, std::less<>>;

    /// Applies the initial operations and the first `steps` steps, of which there are as many.
    RecordedState(Recording const& recording, std::size_t steps);

    /// Returns the id of the context of that number; 0 is the root.
    static boost::uuids::uuid idOf(std::size_t context);
    /// Returns the number of a context of this id.
    static std::size_t numberOf(boost::uuids::uuid const& id);

    /// Returns the properties of a context; null if there is none of that id.
    Properties const* properties(boost::uuids::uuid const& id) const;

    bool hasContext(boost::uuids::uuid const& id) const override { return properties(id) != nullptr; }
    std::optional<studio::data::PropertyValue> find(boost::uuids::uuid const& context,
                                                    std::string_view name) const override;

private:
    void apply(Operation const& operation);

    std::map<boost::uuids::uuid, Properties> contexts;
};

}   // namespace workbench
