#include "studio/commands/Keymap.h"

#include "studio/commands/detail/RuleRegistry.h"
#include "studio/commands/detail/TableState.h"

namespace studio::commands {

class Keymap::State final : public detail::RuleRegistry {
public:
    std::vector<std::size_t> add(std::vector<KeyRule>) override { return {}; }
    void remove(std::span<std::size_t const>) noexcept override {}
    KeyRule const* find(std::size_t) const noexcept override { return nullptr; }
};

Keymap::Keymap(CommandTable&, Disabled) : state{std::make_shared<State>()} {}
Keymap::~Keymap() = default;

std::shared_ptr<detail::RuleRegistry> Keymap::registry() const noexcept
{
    return state;
}

}   // namespace studio::commands
