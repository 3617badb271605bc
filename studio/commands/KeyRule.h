#pragma once

#include <string>

namespace studio::commands {

/// A rule of a key map, as a host declares it.
struct KeyRule {
    /// The keys, such as `ctrl+k ctrl+s`. A removal may leave them out.
    std::string keys{};
    /// The command. With `-` in front the rule is a removal of rules of that command.
    std::string command{};
    /// Holds while the rule applies; an empty one always holds.
    std::string when{};
    /// What the command is to get; any text, such as JSON.
    std::string arguments{};
    /// A rule of greater weight is stronger; of equal weights, the one that was added later.
    int weight = 0;
    /// The origin of the rule, such as the name of a plugin. Removals take away nothing of their own source.
    std::string source{};
};

}   // namespace studio::commands
