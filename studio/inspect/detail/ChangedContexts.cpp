#include "studio/inspect/detail/ChangedContexts.h"

namespace studio::inspect::detail {

void ChangedContexts::set(boost::uuids::uuid const& context, std::string_view name,
                          std::optional<data::PropertyValue> value)
{
    properties.insert_or_assign(Key{context, name}, std::move(value));
}

void ChangedContexts::unset(boost::uuids::uuid const& context, std::string_view name)
{
    if (auto const found = properties.find(std::pair{context, name}); found != properties.end())
        properties.erase(found);
}

bool ChangedContexts::hasContext(boost::uuids::uuid const& id) const
{
    auto const found = contexts.find(id);
    return found == contexts.end() ? base.hasContext(id) : found->second;
}

std::optional<data::PropertyValue> ChangedContexts::find(boost::uuids::uuid const& context, std::string_view name) const
{
    if (auto const found = properties.find(std::pair{context, name}); found != properties.end())
        return found->second;
    return base.find(context, name);
}

}   // namespace studio::inspect::detail
