#pragma once

#include "shell/Files.h"
#include "shell/Workspace.h"
#include "studio/host/PathEnd.h"

#include <nlohmann/json.hpp>

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace shell {

/// The error of a command that cannot be carried out; nothing has changed.
class CommandError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The result of a command.
struct Answer {
    std::string text;              ///< for people; may be empty, and have several lines
    nlohmann::ordered_json json;   ///< for programs; null if it is the text
    bool isDocument = false;       ///< the text is DOT or JSON, in which no names are replaced

    static Answer document(std::string text, nlohmann::ordered_json json = nullptr)
    {
        Answer answer(std::move(text), std::move(json));
        answer.isDocument = true;
        return answer;
    }
    Answer(std::string text = {}, nlohmann::ordered_json json = nullptr) : text{std::move(text)}, json(std::move(json))
    {}
};

/// The commands of the shell, a function for each verb; the table of verbs describes them. Each gets the rest of its
/// line, without white space at the ends. *Throws* `CommandError`, `gel::ParseError`, `workbench::DocumentError` and
/// what the library throws; the state is as before then, except for steps that were made.
class Commands {
public:
    /// *Lifetime*: refers to `files`.
    Commands(Files& files, Material material);

    Answer show(std::string_view text);
    Answer explain(std::string_view text);
    Answer reason(std::string_view text);
    Answer flip(std::string_view text);
    Answer why(std::string_view text);
    Answer whyNot(std::string_view text);
    Answer watch(std::string_view text);
    Answer unwatch(std::string_view text);

    Answer list(std::string_view path);
    Answer texts(std::string_view word);
    Answer find(std::string_view word);
    Answer graph(std::string_view about);

    Answer set(std::string_view arguments);
    Answer unset(std::string_view path);
    Answer make(std::string_view path);
    Answer drop(std::string_view path);
    Answer batch(std::string_view);
    Answer end(std::string_view);
    Answer cancel(std::string_view);

    Answer step(std::string_view count);
    Answer back(std::string_view count);
    Answer diff(std::string_view steps);

    Answer load(std::string_view files);
    Answer save(std::string_view file);
    Answer trace(std::string_view file);
    Answer help(std::string_view verb);
    Answer quit(std::string_view);

    Workspace& workspace() noexcept { return *model; }
    Workspace const& workspace() const noexcept { return *model; }
    /// True after `quit`.
    bool hasQuit() const noexcept { return isDone; }

    /// Returns the text that an argument stands for: `#N` for the expression of that number, a label of the session's
    /// expressions, or a text. *Throws* `CommandError` for a number that there is not, and for what is almost a label
    /// and names nothing that exists.
    std::string textOf(std::string_view argument) const;

private:
    static std::size_t requireNumber(std::string_view word);
    [[noreturn]] static void failAt(studio::host::PathEnd const& end, std::string_view path,
                                    std::string_view advice = {});
    bool namesNothing(std::string const& text) const;
    void refuseInBatch(char const* verb) const;
    /// Replays `steps` steps of a material in a new workspace, which takes the place of the present one.
    void restart(std::shared_ptr<Material const> material, std::size_t steps);
    Answer position() const;

    Files& files;
    std::unique_ptr<Workspace> model;
    bool isDone = false;
};

}   // namespace shell
