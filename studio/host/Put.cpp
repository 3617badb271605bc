#include "studio/host/Put.h"

#include "studio/data/ProviderRegistry.h"
#include "studio/data/model/PropertyImpl.h"
#include "studio/host/detail/Paths.h"
#include "tarn/zero/ModelImpl.h"

#include <boost/container/small_vector.hpp>

#include <stdexcept>
#include <string>
#include <utility>

namespace studio::host {

using data::ContextProvider;
using data::Property;

namespace {

void requireTarget(std::shared_ptr<ContextProvider> const& context, std::string_view path)
{
    if (!context)
        throw std::invalid_argument{"cannot write \"" + std::string{path} + "\": there is no context"};
    detail::requirePath(path);
}

/// Returns the context that the first name of `path` leads to, and takes that name off; null if there is none.
std::shared_ptr<ContextProvider> step(ContextProvider const& context, std::string_view& path)
{
    std::size_t const dot = path.find('.');
    Property::Impl const* const property = context.findProperty(path.substr(0, dot));
    path.remove_prefix(dot + 1);
    if (!property || !property->getValue().isUUID())
        return nullptr;
    return data::model::getContextProvider(property->getValue().getUUID());
}

}   // namespace

Written put(std::shared_ptr<ContextProvider> const& context, std::string_view path, data::PropertyValue const& value)
{
    requireTarget(context, path);
    if (Property::Impl* const property = context->findPropertyAt(path)) {
        if (property->getValue() == value)
            return Written::Same;
        property->setValue(value);
        return Written::Changed;
    }
    std::shared_ptr<ContextProvider> owner = context;
    while (owner && path.find('.') != std::string_view::npos)
        owner = step(*owner, path);
    // A rolled back transaction may have taken the context's element away.
    if (!owner || !ContextProvider::sharedModel()->findElement(owner->getId(), 1))
        return Written::Nowhere;
    owner->addProperty(std::string{path}, value);
    return Written::Added;
}

std::size_t set(std::shared_ptr<ContextProvider> const& context, std::string_view path,
                data::PropertyValue const& value)
{
    requireTarget(context, path);
    // Finds the whole way before the first write, and holds it: the callbacks of a write may release any context.
    struct Place {
        std::shared_ptr<ContextProvider> context;
        std::string_view rest;
    };
    boost::container::small_vector<Place, 16> way;
    way.push_back({context, path});
    while (way.back().rest.find('.') != std::string_view::npos) {
        std::string_view rest = way.back().rest;
        std::shared_ptr<ContextProvider> next = step(*way.back().context, rest);
        if (!next)
            break;
        way.push_back({std::move(next), rest});
    }
    std::size_t count = 0;
    for (; !way.empty(); way.pop_back()) {
        if (Property::Impl* const property = way.back().context->findProperty(way.back().rest)) {
            property->setValue(value);
            ++count;
        }
    }
    return count;
}

}   // namespace studio::host
