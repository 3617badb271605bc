#pragma once

#include "studio/host/ContextReader.h"

#include <boost/uuid/uuid.hpp>

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace studio::inspect::detail {

/// Orders places of properties, pairs of a context and a name, whatever the type of the name.
struct PlaceLess {
    using is_transparent = void;
    template <class Left, class Right>
    bool operator()(Left const& left, Right const& right) const noexcept
    {
        return left.first != right.first ? left.first < right.first
                                         : std::string_view{left.second} < std::string_view{right.second};
    }
};

/// A reader with overrides: contexts as another reader reads them, except for what is set here. Used for states of the
/// past and for proposed ones.
class ChangedContexts final : public host::ContextReader {
public:
    /// *Lifetime*: refers to `read`.
    explicit ChangedContexts(host::ContextReader const& read) noexcept : base{read} {}

    /// Overrides the property `name` of a context; an empty value removes the property.
    void set(boost::uuids::uuid const& context, std::string_view name, std::optional<data::PropertyValue> value);
    /// Removes the override of the property `name` of a context.
    void unset(boost::uuids::uuid const& context, std::string_view name);
    /// Overrides whether a context exists.
    void setExists(boost::uuids::uuid const& context, bool exists) { contexts[context] = exists; }

    bool hasContext(boost::uuids::uuid const& id) const override;
    std::optional<data::PropertyValue> find(boost::uuids::uuid const& context, std::string_view name) const override;

private:
    using Key = std::pair<boost::uuids::uuid, std::string>;

    host::ContextReader const& base;
    std::map<Key, std::optional<data::PropertyValue>, PlaceLess> properties;
    std::map<boost::uuids::uuid, bool> contexts;
};

}   // namespace studio::inspect::detail
