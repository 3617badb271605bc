#include "studio/host/ContextKey.h"

#include "studio/data/model/PropertyImpl.h"
#include "tarn/zero/ModelImpl.h"

#include <algorithm>
#include <stdexcept>

namespace studio::host {

using data::PropertyValue;

namespace {

bool isOfKind(PropertyValue const& value, KeyKind kind)
{
    switch (kind) {
    case KeyKind::Logical: return value.isLogical();
    case KeyKind::Number: return value.isDouble();
    case KeyKind::Text: return value.isString();
    case KeyKind::Context: return value.isUUID() || value.isUndefined();
    }
    return false;
}

}   // namespace

void KeyFunctions::refuseBadDescription(KeyDescription const& key)
{
    if (key.name.empty() || key.name.find('.') != std::string::npos)
        throw std::invalid_argument{"the name of a key must be one name without dots, not \"" + key.name + '"'};
    for (auto value = key.allowed.begin(); value != key.allowed.end(); ++value) {
        if (!isOfKind(*value, key.kind))
            throw std::invalid_argument{"an allowed value of the key \"" + key.name + "\" is not of its kind"};
        if (std::find(key.allowed.begin(), value, *value) != value)
            throw std::invalid_argument{"the key \"" + key.name + "\" names an allowed value twice"};
    }
    refuseBadValue(key, key.defaultValue);
}

void KeyFunctions::refuseBadValue(KeyDescription const& key, PropertyValue const& value)
{
    bool const isListed =
        key.allowed.empty() || std::find(key.allowed.begin(), key.allowed.end(), value) != key.allowed.end();
    if (!isListed || !isOfKind(value, key.kind))
        throw std::invalid_argument{"the key \"" + key.name + "\" does not allow the value " +
                                    (value.isUndefined() ? "that was given" : value.asString())};
}

void KeyFunctions::refuseNull(KeyDescription const& key, data::ContextProvider const* context)
{
    if (!context)
        throw std::invalid_argument{"the key \"" + key.name + "\" was used without a context"};
}

bool KeyFunctions::isInteger(PropertyValue const& value, double least, double beyond) noexcept
{
    return value.isDouble() && value.getDouble() >= least && value.getDouble() < beyond &&
           std::trunc(value.getDouble()) == value.getDouble();
}

bool KeyFunctions::write(KeyDescription const& key, data::ContextProvider& context, PropertyValue const& value)
{
    refuseBadValue(key, value);
    data::Property::Impl* const property = context.findProperty(key.name);
    if (!property) {
        if (!data::ContextProvider::sharedModel()->findElement(context.getId(), 1))
            return false;
        context.addProperty(key.name, value);
        return true;
    }
    bool const isChanged = !(property->getValue() == value);
    property->setValue(value);
    return isChanged;
}

}   // namespace studio::host
