#include "shell/Verbs.h"

#include "shell/Commands.h"
#include "shell/Text.h"

#include <array>

namespace shell {

namespace {

constexpr std::array s_verbs{
    Verb{Group::Explanations, "show", "TEXT", "evaluate an expression", Takes::Text, 1, ANY, &Commands::show},
    Verb{Group::Explanations, "explain", "TEXT", "print its parts with their values, and which sub-conditions decide",
         Takes::Text, 1, ANY, &Commands::explain},
    Verb{Group::Explanations, "reason", "TEXT", "say in sentences for users why it does not hold", Takes::Text, 1, ANY,
         &Commands::reason},
    Verb{Group::Explanations, "flip", "TEXT", "find the smallest changes that make it true, or false if it is true",
         Takes::Text, 1, ANY, &Commands::flip},
    Verb{Group::Explanations, "why", "TEXT", "name the commit that last changed its value, and what made that commit",
         Takes::Text, 1, ANY, &Commands::why},
    Verb{Group::Explanations, "whynot", "TEXT", "say why its value has not changed since its last change", Takes::Text,
         1, ANY, &Commands::whyNot},
    Verb{Group::Explanations, "watch", "TEXT", "print each change of its value from now on", Takes::Text, 1, ANY,
         &Commands::watch},
    Verb{Group::Explanations, "unwatch", "TEXT", "stop printing its changes", Takes::Text, 1, ANY, &Commands::unwatch},

    Verb{Group::Lists, "list", "[PATH]", "list the properties below a path, with their values", Takes::Path, 0, 1,
         &Commands::list},
    Verb{Group::Lists, "texts", "[WORD]", "list the expressions of the session, or those that contain a word",
         Takes::Nothing, 0, ANY, &Commands::texts},
    Verb{Group::Lists, "find", "WORD", "list the paths and expressions that contain a word", Takes::Path, 1, ANY,
         &Commands::find},
    Verb{Group::Lists, "graph", "[TEXT|PATH [DEPTH]]", "print the graph of dependencies in the DOT language",
         Takes::Text, 0, ANY, &Commands::graph},

    Verb{Group::Changes, "set", "PATH VALUE",
         "write or add a property; VALUE is an expression, or @PATH for a reference", Takes::Text, 2, ANY,
         &Commands::set},
    Verb{Group::Changes, "unset", "PATH", "remove a property", Takes::Path, 1, 1, &Commands::unset},
    Verb{Group::Changes, "make", "PATH", "make a context, and missing ones on the way to it", Takes::Path, 1, 1,
         &Commands::make},
    Verb{Group::Changes, "drop", "PATH", "destroy a context that was made with make, and all below it", Takes::Path, 1,
         1, &Commands::drop},
    Verb{Group::Changes, "batch", "", "begin a batch: one transaction, committed at its end", Takes::Nothing, 0, 0,
         &Commands::batch},
    Verb{Group::Changes, "end", "", "commit the batch", Takes::Nothing, 0, 0, &Commands::end},
    Verb{Group::Changes, "cancel", "", "undo the changes of the batch, and end it", Takes::Nothing, 0, 0,
         &Commands::cancel},

    Verb{Group::Sessions, "step", "[N|end]", "make the next step of the session, the next N, or all", Takes::Nothing, 0,
         1, &Commands::step},
    Verb{Group::Sessions, "back", "[N|start]", "go back one step, N, or all, by replaying the session", Takes::Nothing,
         0, 1, &Commands::back},
    Verb{Group::Sessions, "diff", "A B", "print how properties and expressions differ between steps A and B",
         Takes::Nothing, 2, 2, &Commands::diff},

    Verb{Group::Files, "load", "EXPRESSIONS SESSION",
         "begin again with a recorded session; load sample for the built-in one", Takes::Nothing, 1, ANY,
         &Commands::load},
    Verb{Group::Files, "save", "FILE", "write a report as one HTML page", Takes::Nothing, 1, ANY, &Commands::save},
    Verb{Group::Files, "trace", "FILE|-", "write commits and evaluations for the trace viewer of a browser",
         Takes::Nothing, 1, ANY, &Commands::trace},

    Verb{Group::Other, "help", "[VERB]", "list the verbs, or describe one", Takes::Verb, 0, 1, &Commands::help},
    Verb{Group::Other, "quit", "", "leave", Takes::Nothing, 0, 0, &Commands::quit},
};

}   // namespace

std::span<Verb const> verbs()
{
    return s_verbs;
}

Verb const* findVerb(std::string_view name)
{
    for (Verb const& verb : s_verbs)
        if (name == verb.name)
            return &verb;
    return nullptr;
}

std::string_view similarVerb(std::string_view word)
{
    constexpr std::size_t longest = 16;
    std::string_view best;
    std::size_t least = 3;
    for (Verb const& verb : s_verbs) {
        std::string_view const name = verb.name;
        std::size_t const changes = word.size() > longest ? least : name.starts_with(word) ? 1 : distance(word, name);
        // Half of a short word may not be wrong.
        if (changes < least && changes * 2 <= name.size()) {
            least = changes;
            best = name;
        }
    }
    return best;
}

char const* nameOf(Group group)
{
    static constexpr char const* NAMES[] = {"Explanations", "Lists", "Changes", "Sessions", "Files", "Other"};
    return NAMES[static_cast<std::size_t>(group)];
}

std::string syntaxOf(Verb const& verb)
{
    return std::string(verb.name) + (*verb.arguments ? " " : "") + verb.arguments;
}

}   // namespace shell
