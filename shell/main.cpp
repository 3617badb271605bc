#include "shell/Interpreter.h"
#include "shell/LineEditor.h"
#include "workbench/Json.h"
#include "workbench/System.h"
#include "workbench/Terminal.h"
#include "workbench/Text.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <limits>
#include <new>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace shell {

namespace {

enum ExitCode { GOOD = 0, FAILED = 1, USAGE = 2, UNUSABLE_FILE = 3, NO_MEMORY = 4 };

struct Arguments {
    std::string expressions;
    std::string session;
    std::vector<std::string> commands;
    std::string script;
    bool json = false;
    bool sample = false;
    bool keepGoing = false;
    bool force = false;
    bool echo = false;
};

void declare(CLI::App& app, Arguments& arguments)
{
    app.allow_windows_style_options(false);   // a word that begins with a slash is the name of a file
    app.add_option("EXPRESSIONS", arguments.expressions, "A file of expressions")->option_text(" ");
    app.add_option("SESSION", arguments.session, "A session that was recorded over them")->option_text(" ");
    app.add_flag("--sample", arguments.sample, "Begin with the built-in sample, a day at a small editor");
    app.add_option("-c", arguments.commands, "Carry out a command; may be repeated")
        ->option_text("COMMAND")
        ->allow_extra_args(false);
    app.add_option("--script", arguments.script, "Carry out the commands in a file, a line each")
        ->type_name("FILE")
        ->check([](std::string const& name) { return name.empty() ? "the name of the file is empty" : ""; });
    app.add_flag("--keep-going", arguments.keepGoing, "Go on after a command that failed");
    app.add_flag("--json", arguments.json, "Answer each command with a JSON object on one line");
    app.add_flag("--echo", arguments.echo, "Print each command before its answer");
    app.add_flag("--force", arguments.force, "Let save and trace overwrite files that exist");
    app.set_version_flag("--version", "studio-shell " STUDIO_DATA_VERSION, "Print the version");
    app.footer("Without -c and --script, commands are read from the standard input; on a terminal with\n"
               "editing and completion. The command help lists the verbs.\n\n"
               "Exit codes:\n"
               "  0  every command was carried out\n"
               "  1  a command failed; those after it were not carried out, unless --keep-going is given\n"
               "  2  the command line cannot be used\n"
               "  3  a file cannot be read or written\n"
               "  4  memory ran out outside of a command");
}

/// A source of command lines: a terminal, a script, or the arguments of the program.
struct Input {
    std::string name;   ///< in front of the number of a line, for errors; empty on a terminal
    std::function<std::optional<std::string>()> next;
};

/// Returns the lines of a stream, which end with a line feed or, in files of other systems, with a carriage return and
/// a line feed. Of a line that is too long only a beginning is returned that is too long, as soon as it is read; the
/// rest is skipped before the next one.
Input linesOf(std::istream& stream, std::string const& name)
{
    return {name,
            [&stream, buffer = std::vector<char>(Interpreter::LONGEST_LINE + 2),
             isInside = false]() mutable -> std::optional<std::string> {
                if (isInside)
                    stream.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
                stream.getline(buffer.data(), static_cast<std::streamsize>(buffer.size()));
                auto const size = static_cast<std::size_t>(stream.gcount());
                // The buffer is full, and neither the end of the line nor of the input was found.
                isInside = stream.fail() && !stream.bad() && !stream.eof() && size + 1 == buffer.size();
                if (isInside)
                    stream.clear();
                if (stream) {   // a line feed that was read is counted
                    std::string line(buffer.data(), isInside || stream.eof() ? size : size - 1);
                    if (!isInside && line.ends_with('\r'))
                        line.pop_back();
                    return line;
                }
                if (stream.bad() || (&stream == &std::cin && std::ferror(stdin)))
                    throw workbench::DocumentError("the input", "cannot be read", std::strerror(errno));
                return std::nullopt;
            }};
}

class Session {
public:
    Session(Arguments const& arguments, Files& files, Material material)
        : arguments{arguments},
          interpreter{files, std::move(material),
                      arguments.json ? Interpreter::Format::Json : Interpreter::Format::Text}
    {}

    Interpreter const& commands() const noexcept { return interpreter; }

    /// Carries out the commands of an input. Returns false if no more are to be read.
    bool run(Input const& input)
    {
        std::size_t number = 0;
        while (std::optional<std::string> const line = input.next()) {
            ++number;
            if (arguments.echo && !arguments.json)
                std::cout << "studio> " << workbench::oneLine(*line) << '\n';
            Outcome const outcome = interpreter.run(*line);
            print(outcome, input.name.empty() ? "" : input.name + std::to_string(number) + ": ");
            bool const isFatal = outcome.kind != Outcome::Kind::Done && !arguments.keepGoing && !input.name.empty();
            if (outcome.isLast || isFatal)
                return false;
        }
        return true;
    }

    ExitCode finish(bool isInteractive)
    {
        print(interpreter.finish(), "");
        workbench::expectWritten(std::cout);
        return isInteractive ? GOOD : result;
    }

private:
    void print(Outcome const& outcome, std::string const& place)
    {
        bool const isError = outcome.kind != Outcome::Kind::Done;
        if (isError && (result == GOOD || outcome.kind == Outcome::Kind::FileFailed))
            result = outcome.kind == Outcome::Kind::FileFailed ? UNUSABLE_FILE : FAILED;
        if (outcome.text.empty())
            return;
        std::cout.flush();
        if (isError && !arguments.json)
            std::cerr << workbench::oneLine(place) << outcome.text << std::endl;
        else
            std::cout << outcome.text << std::endl;
        workbench::expectWritten(std::cout);
    }

    Arguments const& arguments;
    Interpreter interpreter;
    ExitCode result = GOOD;
};

Input commandsOf(std::vector<std::string> const& commands)
{
    return {"command ", [&commands, next = std::size_t{0}]() mutable -> std::optional<std::string> {
                return next < commands.size() ? std::optional{commands[next++]} : std::nullopt;
            }};
}

ExitCode run(Arguments const& arguments)
{
    DiskFiles files(arguments.force);
    std::ifstream script;
    if (!arguments.script.empty()) {
        std::filesystem::path const name = workbench::system::pathOf(arguments.script);
        std::error_code ignored;
        if (std::filesystem::is_directory(name, ignored))   // some C++ libraries open it, as an empty file
            throw workbench::DocumentError(arguments.script, "cannot be read", std::strerror(EISDIR));
        script.open(name, std::ios::binary);
        if (!script || script.peek() == std::ifstream::traits_type::eof())
            if (!script.eof())
                throw workbench::DocumentError(arguments.script, "cannot be read", std::strerror(errno));
        script.clear();
    }
    Material material = arguments.sample            ? files.sample()
                        : arguments.session.empty() ? Material{}
                                                    : files.load(arguments.expressions, arguments.session);
    Session session(arguments, files, std::move(material));
    bool const isGiven = !arguments.commands.empty() || !arguments.script.empty();
    if (isGiven) {
        if (session.run(commandsOf(arguments.commands)) && !arguments.script.empty())
            session.run(linesOf(script, arguments.script + ':'));
        return session.finish(false);
    }
    bool const isInteractive = workbench::system::isTerminal(workbench::system::Stream::Input) && !arguments.json;
    if (isInteractive) {
        LineEditor editor(session.commands());
        if (session.run({"", [&editor] { return editor.read(); }}))
            std::cout << '\n';   // behind the prompt at which the input ended
    } else {
        session.run(linesOf(std::cin, "line "));
    }
    return session.finish(isInteractive);
}

}   // namespace

}   // namespace shell

int main(int count, char** words)
{
    using namespace shell;
    workbench::system::prepareStreams();
    std::setlocale(LC_CTYPE, "");
    Arguments arguments;
    CLI::App app(
        "Explains the expressions over a model or a recorded session: what holds, why, and what would change it.\n",
        "studio-shell");
    declare(app, arguments);
    try {
        std::vector<std::string> given = workbench::system::argumentsOf(count, words);
        std::reverse(given.begin(), given.end());   // CLI11 takes them from the end
        app.parse(std::move(given));
        if (arguments.expressions.empty() != arguments.session.empty())
            throw CLI::ValidationError("expected a file of expressions and a session, or neither");
        if (arguments.sample && !arguments.session.empty())
            throw CLI::ValidationError("--sample takes no files");
        return run(arguments);
    } catch (CLI::Success const& request) {
        return app.exit(request) == 0 ? GOOD : USAGE;
    } catch (CLI::Error const& error) {
        std::cerr << "studio-shell: " << workbench::oneLine(error.what()) << "; see --help\n";
        return USAGE;
    } catch (workbench::DocumentError const& error) {
        std::cerr << "studio-shell: " << workbench::oneLine(error.what()) << '\n';
        return UNUSABLE_FILE;
    } catch (std::bad_alloc const&) {
        std::cerr << "studio-shell: out of memory\n";
        return NO_MEMORY;
    } catch (std::exception const& error) {
        std::cerr << "studio-shell: " << workbench::oneLine(error.what()) << '\n';
    }
    return UNUSABLE_FILE;
}
