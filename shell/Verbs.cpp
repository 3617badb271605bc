#include "shell/Verbs.h"

#include "shell/Commands.h"
#include "shell/Text.h"

#include <array>

namespace shell {

namespace {

constexpr std::array s_verbs{
    Verb{"show", "TEXT", "evaluate an expression", Takes::Text, 1, ANY, &Commands::show},
    Verb{"explain", "TEXT", "its sub-conditions, which of them decide, and the value of each part", Takes::Text, 1, ANY,
         &Commands::explain},
    Verb{"reason", "TEXT", "why it does not hold, in sentences for people", Takes::Text, 1, ANY, &Commands::reason},
    Verb{"flip", "TEXT", "what would turn it from false to true, or from true to false", Takes::Text, 1, ANY,
         &Commands::flip},
    Verb{"why", "TEXT", "which commit last changed its value, and how", Takes::Text, 1, ANY, &Commands::why},
    Verb{"whynot", "TEXT", "why its value has not changed since", Takes::Text, 1, ANY, &Commands::whyNot},
    Verb{"watch", "TEXT", "print each change of its value from now on", Takes::Text, 1, ANY, &Commands::watch},
    Verb{"unwatch", "TEXT", "no longer print its changes", Takes::Text, 1, ANY, &Commands::unwatch},

    Verb{"list", "[PATH]", "the properties below a path, with their values", Takes::Path, 0, 1, &Commands::list},
    Verb{"texts", "[WORD]", "the expressions of the session, with number and value", Takes::Nothing, 0, ANY,
         &Commands::texts},
    Verb{"find", "WORD", "the paths and expressions that contain a word", Takes::Path, 1, ANY, &Commands::find},
    Verb{"graph", "[TEXT|PATH [DEPTH]]", "what depends on what, in the DOT language", Takes::Text, 0, ANY,
         &Commands::graph},

    Verb{"set", "PATH VALUE", "write a property; VALUE is an expression, or @PATH for a reference", Takes::Text, 2, ANY,
         &Commands::set},
    Verb{"unset", "PATH", "remove a property", Takes::Path, 1, 1, &Commands::unset},
    Verb{"make", "PATH", "make a context, and those on the way to it", Takes::Path, 1, 1, &Commands::make},
    Verb{"drop", "PATH", "destroy a context that was made here, with all below it", Takes::Path, 1, 1, &Commands::drop},
    Verb{"batch", "", "begin a batch: nothing is reported before its end", Takes::Nothing, 0, 0, &Commands::batch},
    Verb{"end", "", "end the batch, in one commit", Takes::Nothing, 0, 0, &Commands::end},
    Verb{"cancel", "", "undo what the batch has done, and end it", Takes::Nothing, 0, 0, &Commands::cancel},

    Verb{"step", "[N|end]", "make the next step of the session, or the next N", Takes::Nothing, 0, 1, &Commands::step},
    Verb{"back", "[N|start]", "go a step back, or N: the session is replayed up to there", Takes::Nothing, 0, 1,
         &Commands::back},
    Verb{"diff", "A B", "how properties and values differ between two steps", Takes::Nothing, 2, 2, &Commands::diff},

    Verb{"load", "EXPRESSIONS SESSION", "begin again with a recorded session; load sample for the built-in one",
         Takes::Nothing, 1, ANY, &Commands::load},
    Verb{"save", "FILE", "write a report as one HTML page", Takes::Nothing, 1, ANY, &Commands::save},
    Verb{"trace", "FILE|-", "write commits and evaluations for the trace viewer of a browser", Takes::Nothing, 1, ANY,
         &Commands::trace},
    Verb{"help", "[VERB]", "what there is", Takes::Verb, 0, 1, &Commands::help},
    Verb{"quit", "", "leave", Takes::Nothing, 0, 0, &Commands::quit},
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

std::string syntaxOf(Verb const& verb)
{
    return std::string(verb.name) + (*verb.arguments ? " " : "") + verb.arguments;
}

}   // namespace shell
