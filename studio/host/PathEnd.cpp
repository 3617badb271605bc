#include "studio/host/PathEnd.h"

#include "studio/data/model/PropertyImpl.h"
#include "studio/host/detail/Messages.h"

#include <optional>
#include <utility>

namespace studio::host {

using boost::uuids::uuid;
using data::Property;
using detail::inQuotes;
using Reason = PathEnd::Reason;

ContextReader::~ContextReader() = default;

bool ContextReader::hasContext(uuid const& id) const
{
    return data::PropertyValue{id}.isContextProvider();
}

std::optional<data::PropertyValue> ContextReader::find(uuid const& context, std::string_view name) const
{
    data::PropertyValue const value{context};
    std::shared_ptr<data::ContextProvider> const provider =
        value.isContextProvider() ? value.getContextProvider() : nullptr;
    Property::Impl const* const property = provider ? provider->findProperty(name) : nullptr;
    return property ? std::optional{property->getValue()} : std::nullopt;
}

Walk walkAlong(ContextReader const& reader, uuid const& begin, std::string_view path)
{
    Walk walk{Reason::Found, {}, {}};
    uuid context = begin;
    for (std::size_t offset = 0;;) {
        std::string_view const rest = path.substr(offset);
        std::string_view const name = rest.substr(0, rest.find('.'));
        bool const isLast = name.size() == rest.size();
        walk.steps.push_back({context, offset, name.size()});
        auto const stop = [&](Reason reason, data::PropertyValue value = {}) {
            walk.reason = reason;
            walk.value = std::move(value);
            return std::move(walk);
        };
        if (std::optional<data::PropertyValue> hiding = isLast ? std::nullopt : reader.find(context, rest)) {
            walk.steps.back().size = rest.size();
            return stop(Reason::Hidden, *std::move(hiding));
        }
        std::optional<data::PropertyValue> value = reader.find(context, name);
        if (!value)
            return stop(Reason::Missing);
        if (isLast)
            return stop(Reason::Found, *std::move(value));
        if (!value->isUUID())
            return stop(Reason::PlainValue);
        context = value->getUUID();
        if (!reader.hasContext(context))
            return stop(Reason::Dangling);
        offset += name.size() + 1;
    }
}

PathEnd endOf(std::shared_ptr<data::ContextProvider> context, std::string_view path)
{
    if (!context)
        return {Reason::NoContext, 0, 0, nullptr, {}};
    Walk walk = walkAlong(ContextReader{}, context->getId(), path);
    Walk::Step const& last = walk.steps.back();
    if (last.context != context->getId())
        context = data::PropertyValue{last.context}.getContextProvider();
    return {walk.reason, last.offset, last.size, std::move(context), std::move(walk.value)};
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
