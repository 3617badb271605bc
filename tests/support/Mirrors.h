#pragma once

#include "studio/data/ContextProvider.h"
#include "studio/data/model/ContextDataImpl.h"
#include "studio/data/model/PropertyImpl.h"
#include "support/Printers.h"
#include "tarn/zero/ModelImpl.h"

#include <boost/uuid/uuid_io.hpp>

#include <sstream>
#include <string>

namespace support {

/// Returns the context of that id in the shared model, borrowed.
inline studio::data::ContextData::Impl* source(boost::uuids::uuid const& id)
{
    return tarn::zero::elementCast<studio::data::ContextData>(
        studio::data::ContextProvider::sharedModel()->findElement(id, 1));
}

/// Returns the contents of a context, with the UUIDs of its properties, so that a mirror can be compared with its
/// source.
inline std::string whole(studio::data::ContextData const& context)
{
    if (!context)
        return "none";
    std::ostringstream out;
    for (studio::data::Property const& property : context->getProperties()) {
        out << property->getName() << '=' << property->identifier() << ' ';
        out << property->getValue();
        out << "; ";
    }
    for (std::string const& name : context->getActiveContexts())
        out << name << ' ';
    return out.str();
}

}   // namespace support
