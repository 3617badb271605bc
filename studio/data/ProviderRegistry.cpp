#include "studio/data/ProviderRegistry.h"

#include "studio/data/ContextProvider.h"
#include "studio/data/PropertyValue.h"
#include "studio/data/detail/ProviderTable.h"

#include "foundation/NeverDestroyed.h"

#include <stdexcept>

namespace studio::data {

namespace detail {

ProviderTable& ProviderTable::instance()
{
    static foundation::NeverDestroyed<ProviderTable> s_table;
    return *s_table;
}

namespace {

// Built at load, through `instance`, since a static provider of another library may be initialized earlier.
[[maybe_unused]] ProviderTable const& s_builtAtLoad = ProviderTable::instance();

}   // namespace

void ProviderTable::add(boost::uuids::uuid const& id, ContextProvider* provider)
{
    providers.try_emplace(id, provider);
}

void ProviderTable::abandon(boost::uuids::uuid const& id) noexcept
{
    auto const entry = providers.find(id);
    if (entry != providers.end())
        entry->second = nullptr;
}

void ProviderTable::remove(boost::uuids::uuid const& id) noexcept
{
    providers.erase(id);
}

std::shared_ptr<ContextProvider> ProviderTable::find(boost::uuids::uuid const& id) const
{
    auto const entry = providers.find(id);
    if (entry == providers.end())
        return nullptr;
    ContextProvider* const provider = entry->second;
    if (!provider)
        throw std::bad_weak_ptr{};
    // Shares the owners' count and keeps the pointer: the entry has the right type, so no cast is needed.
    return std::shared_ptr<ContextProvider>{provider->shared_from_this(), provider};
}

}   // namespace detail

std::shared_ptr<ContextProvider> model::getContextProvider(boost::uuids::uuid const& id)
{
    return detail::ProviderTable::instance().find(id);
}

// Members of PropertyValue that need providers

PropertyValue::PropertyValue(std::shared_ptr<ContextProvider> const& provider)
{
    if (provider)
        value = provider->getId();
}

bool PropertyValue::isContextProvider() const
{
    return isUUID() && model::getContextProvider(getUUID()) != nullptr;
}

std::shared_ptr<ContextProvider> PropertyValue::getContextProvider() const
{
    std::shared_ptr<ContextProvider> provider = isUUID() ? model::getContextProvider(getUUID()) : nullptr;
    if (!provider)
        throw std::invalid_argument{"Not a valid ContextProvider Id"};
    return provider;
}

}   // namespace studio::data
