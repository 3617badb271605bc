#pragma once

#include "studio/data/PropertyValue.h"
#include "studio/host/Export.h"

#include <boost/uuid/uuid.hpp>

#include <optional>
#include <string_view>

namespace studio::host {

/// Reads contexts for a walk along a path. This class reads them as they are. A derived class may read them as they
/// were, or as they would be after a change.
class STUDIO_HOST_EXPORT ContextReader {
public:
    ContextReader() = default;
    ContextReader(ContextReader const&) = default;
    ContextReader& operator=(ContextReader const&) = default;
    virtual ~ContextReader();

    /// True if there is a context of that id. *Throws* as `PropertyValue::isContextProvider`.
    virtual bool hasContext(boost::uuids::uuid const& id) const;
    /// Returns the value of the property of exactly that name in the context of that id; empty if there is none.
    /// *Throws* as `PropertyValue::isContextProvider`.
    virtual std::optional<data::PropertyValue> find(boost::uuids::uuid const& context, std::string_view name) const;
};

}   // namespace studio::host
