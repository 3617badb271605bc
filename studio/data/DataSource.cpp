#include "studio/data/DataSource.h"

#include "studio/data/ContextProvider.h"

#include <utility>

namespace studio::data {

DataSource::DataSource(std::shared_ptr<ContextProvider> root) noexcept : provider{std::move(root)} {}

DataSource::~DataSource() = default;

gel::Value DataSource::lookup(std::string const& name) const
{
    return provider ? toGelValue(provider->getPropertyValue(name)) : gel::Value{};
}

PropertyValue DataSource::toPropertyValue(gel::Value value)
{
    if (value.isDouble())
        return PropertyValue{value.getDouble()};
    if (value.isLogical())
        return PropertyValue{value.getBool()};
    if (value.isNumeric())   // any numeric kind that the language may add
        return PropertyValue{value.getNumeric()};
    if (value.isString())
        return PropertyValue{value.getString()};
    return PropertyValue{};
}

gel::Value DataSource::toGelValue(PropertyValue const& value)
{
    if (value.isDouble())
        return gel::Value{value.getDouble()};
    if (value.isLogical())
        return gel::Value{value.getBool()};
    if (value.isNumeric())
        return gel::Value{value.getNumeric()};
    if (value.isString())
        return gel::Value{value.getString()};
    if (value.isUUID())
        return gel::Value{value.asString()};
    return gel::Value{};
}

}   // namespace studio::data
