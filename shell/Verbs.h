#pragma once

#include <span>
#include <string>
#include <string_view>

namespace shell {

class Commands;
struct Answer;

/// What the arguments of a verb name, for completion.
enum class Takes { Nothing, Path, Text, Verb };

/// A heading of the help, under which verbs are listed.
enum class Group { Explanations, Lists, Changes, Sessions, Files, Other };

/// A verb of the shell. One table of them serves parsing, help and completion.
struct Verb {
    Group group;
    char const* name;
    char const* arguments;   ///< the syntax; optional ones are in brackets
    char const* help;        ///< one line
    Takes takes;
    std::size_t fewest;   ///< words that it needs
    std::size_t most;     ///< words that it takes
    Answer (Commands::*run)(std::string_view arguments);
};

/// No limit to the number of words: the argument is a text, or ends with one.
inline constexpr std::size_t ANY = static_cast<std::size_t>(-1);

/// Returns all verbs in the order of the help, those of a group side by side.
std::span<Verb const> verbs();
/// Returns the verb of that name; null if there is none.
Verb const* findVerb(std::string_view name);
/// Returns the name of the verb that is most similar to a word; empty if none is.
std::string_view similarVerb(std::string_view word);
/// Returns the heading of a group, such as `Lists`.
char const* nameOf(Group group);
/// Returns `name ARGUMENTS`.
std::string syntaxOf(Verb const& verb);

}   // namespace shell
