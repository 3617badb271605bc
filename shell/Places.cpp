#include "shell/Places.h"

#include "gel/Eval.h"
#include "shell/Text.h"
#include "studio/data/ContextProvider.h"
#include "studio/data/model/PropertyImpl.h"
#include "studio/host/PathEnd.h"

#include <cmath>
#include <deque>
#include <memory>

namespace shell {

using studio::data::ContextProvider;
using studio::data::PropertyValue;

namespace {

class Source final : public gel::DataSource {
public:
    Source(studio::host::ContextReader const& reader, boost::uuids::uuid const& root) : reader{reader}, root{root} {}

    gel::Value lookup(std::string const& symbol) const override
    {
        PropertyValue const value = studio::host::walkAlong(reader, root, symbol).value;
        if (value.isString())
            return value.getString();
        if (value.isLogical())
            return value.getBool();
        if (value.isDouble() && !std::isnan(value.getDouble()))
            return value.getDouble();
        return value.isUUID() ? gel::Value{value.asString()} : gel::Value{};
    }

private:
    studio::host::ContextReader const& reader;
    boost::uuids::uuid root;
};

std::optional<Places::Properties> readLive(boost::uuids::uuid const& id)
{
    PropertyValue const reference{id};
    if (!reference.isContextProvider())
        return std::nullopt;
    std::shared_ptr<ContextProvider> const context = reference.getContextProvider();
    Places::Properties properties;
    for (std::string const& name : context->getPropertyNames())
        properties.emplace_back(name, context->findProperty(name)->getValue());
    return properties;
}

}   // namespace

Places Places::reachedFrom(boost::uuids::uuid const& root, Reader const& read)
{
    Places places;
    std::deque<boost::uuids::uuid> waiting{root};
    places.contexts[root];
    while (!waiting.empty()) {
        boost::uuids::uuid const id = waiting.front();
        waiting.pop_front();
        std::string const start = places.contexts[id].empty() ? "" : places.contexts[id] + '.';
        for (auto const& [name, value] : read(id).value_or(Properties{})) {
            if (start.size() + name.size() > LONGEST_PATH) {
                places.isComplete = false;
                continue;
            }
            places.properties.emplace(start + name, value);
            if (value.isUUID() && !places.contexts.count(value.getUUID()) && read(value.getUUID())) {
                places.contexts[value.getUUID()] = start + name;
                waiting.push_back(value.getUUID());
            }
        }
    }
    return places;
}

Places Places::reachedFrom(boost::uuids::uuid const& root)
{
    return reachedFrom(root, readLive);
}

std::string Places::shown(PropertyValue const& value) const
{
    if (value.isUUID())
        if (auto const found = contexts.find(value.getUUID()); found != contexts.end())
            return found->second.empty() ? "the root" : "@" + found->second;
    return literal(value);
}

std::string Places::shownAt(std::string const& path, PropertyValue const& value) const
{
    std::string text = shown(value);
    return text == '@' + path ? "a context" : text;
}

PropertyValue evaluate(std::string const& text, boost::uuids::uuid const& root,
                       studio::host::ContextReader const& reader)
{
    gel::Value const value = gel::eval(text, Source{reader, root});
    if (value.isString())
        return value.getString();
    if (value.isLogical())
        return value.getBool();
    return value.isDouble() ? PropertyValue{value.getDouble()} : PropertyValue{};
}

bool isTrue(PropertyValue const& value)
{
    return value.isString() ? !value.getString().empty() : value.isNumeric() && value.getNumeric() != 0;
}

}   // namespace shell
