#include "studio/commands/Focus.h"

#include <string_view>

namespace studio::commands {

using data::ContextProvider;
using data::PropertyValue;
using host::Written;

namespace {

constexpr std::string_view NAME = "focus";

}   // namespace

Written focus(std::shared_ptr<ContextProvider> const& root, std::shared_ptr<ContextProvider> const& part)
{
    if (root && !part && !root->findProperty(NAME))
        return Written::Same;   // undefined already
    return host::put(root, NAME, part ? PropertyValue{part} : PropertyValue{});
}

}   // namespace studio::commands
