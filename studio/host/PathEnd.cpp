#include "studio/host/PathEnd.h"

#include "studio/data/model/PropertyImpl.h"
#include "studio/host/detail/Messages.h"

#include <utility>

namespace studio::host {

using data::Property;
using detail::inQuotes;
using Reason = PathEnd::Reason;

PathEnd endOf(std::shared_ptr<data::ContextProvider> context, std::string_view path)
{
    if (!context)
        return {Reason::NoContext, 0, 0, nullptr, {}};
    for (std::size_t offset = 0;;) {
        std::string_view const rest = path.substr(offset);
        std::string_view const name = rest.substr(0, rest.find('.'));
        bool const isLast = name.size() == rest.size();
        if (Property::Impl const* const hiding = isLast ? nullptr : context->findHiding(rest))
            return {Reason::Hidden, offset, rest.size(), std::move(context), hiding->getValue()};
        Property::Impl const* const property = context->findProperty(name);
        if (!property)
            return {Reason::Missing, offset, name.size(), std::move(context), {}};
        data::PropertyValue const value = property->getValue();
        if (isLast)
            return {Reason::Found, offset, name.size(), std::move(context), value};
        std::shared_ptr<data::ContextProvider> next = context->getChildContextProvider(std::string{name});
        if (!next)
            return {
                value.isUUID() ? Reason::Dangling : Reason::PlainValue, offset, name.size(), std::move(context), {}};
        context = std::move(next);
        offset += name.size() + 1;
    }
}

std::string describe(PathEnd const& end, std::string_view path)
{
    std::string const name = inQuotes(path.substr(end.offset, end.size));
    std::string const reached = end.offset == 0 ? "the root" : inQuotes(path.substr(0, end.offset - 1));
    switch (end.reason) {
    case Reason::Found: return inQuotes(path) + " is there";
    case Reason::Missing: return inQuotes(path) + " is missing: " + reached + " has no property " + name;
    case Reason::PlainValue:
        return inQuotes(path) + " is missing: the property " + name + " of " + reached + " is not a context";
    case Reason::Dangling:
        return inQuotes(path) + " is missing: the property " + name + " of " + reached +
               " refers to a context that does not exist";
    case Reason::Hidden:
        return inQuotes(path) + " is not followed: " + reached + " has a property whose own name is " + name;
    case Reason::NoContext: break;
    }
    return inQuotes(path) + " is missing: there is no context";
}

}   // namespace studio::host
