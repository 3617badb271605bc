#include "workbench/Arguments.h"

#include <array>
#include <charconv>
#include <system_error>
#include <utility>

namespace workbench {

namespace {

struct Flag {
    char const* spelling;
    bool Arguments::*field;
};
constexpr std::array s_flags{
    Flag{"--help", &Arguments::help},         Flag{"-h", &Arguments::help},
    Flag{"--trace", &Arguments::trace},       Flag{"--check", &Arguments::check},
    Flag{"--verify", &Arguments::verify},     Flag{"--quiet", &Arguments::quiet},
    Flag{"--mirror", &Arguments::mirror},     Flag{"--version", &Arguments::version},
    Flag{"--force", &Arguments::force},       Flag{"--check-commands", &Arguments::checkCommands},
    Flag{"--commands", &Arguments::commands},
};

Flag const* flagOf(std::string const& word)
{
    for (Flag const& flag : s_flags)
        if (word == flag.spelling)
            return &flag;
    return nullptr;
}

bool isOption(std::string const& word)
{
    return word.size() > 1 && word[0] == '-';
}

Arguments::Place readPlace(std::string const& word)
{
    Arguments::Place place{};
    char const* const last = word.data() + word.size();
    auto const number = std::from_chars(word.data(), last, place.expression);
    bool const hasStep = number.ec == std::errc() && number.ptr != last && *number.ptr == '@';
    auto const step = std::from_chars(hasStep ? number.ptr + 1 : last, last, place.step);
    if (!hasStep || step.ec != std::errc() || step.ptr != last)
        throw UsageError("--explain needs the numbers of an expression and a step, such as 2@10");
    return place;
}

void expectEffect(Arguments const& arguments, bool files)
{
    bool const saves = !arguments.saveSample.empty();
    if (arguments.explain) {
        if (saves)
            throw UsageError("--explain does not go with --save-sample");
        for (Flag const& flag : s_flags)
            if (arguments.*flag.field)
                throw UsageError(std::string("--explain does not go with ") + flag.spelling);
    }
    if (arguments.commands && files)
        throw UsageError("--commands takes no files");
    if (arguments.commands)
        for (Flag const& flag : s_flags)
            if (arguments.*flag.field && flag.field != &Arguments::commands)
                throw UsageError(std::string("--commands does not go with ") + flag.spelling);
    if (arguments.checkCommands)
        for (Flag const& flag : s_flags)
            if (arguments.*flag.field && flag.field != &Arguments::checkCommands && flag.field != &Arguments::quiet)
                throw UsageError(std::string("--check-commands does not go with ") + flag.spelling);
    if (!arguments.policy.empty() && !arguments.checkCommands)
        throw UsageError("--policy goes with --check-commands only");
    if (arguments.force && !saves)
        throw UsageError("--force goes with --save-sample only");
    if (!saves)
        return;
    if (files)
        throw UsageError("--save-sample takes no files");
    for (Flag const& flag : s_flags)
        if (arguments.*flag.field && flag.field != &Arguments::force)
            throw UsageError(std::string("--save-sample does not go with ") + flag.spelling);
}

}   // namespace

char const* const Arguments::HELP =
    R"(Usage: studio-workbench [OPTIONS] [EXPRESSIONS.json SESSION.json...]
       studio-workbench --check-commands [--policy when|enabled] [--quiet]
                        RULES.json MENUS.json SESSION.json ANSWERS.json

Subscribes to every expression, replays each session step by step, each step in one
transaction, and reports which results changed. Without files it replays a sample of
its own: a day at a small editor.

  --trace            show every step: which results changed, from what to what; on a
                     terminal each line is cut to its width
  --check            compare with the answers recorded in each session, values and
                     silence both; a session without any is refused. The sample has
                     none: with it, --check does what --verify does
  --verify           compare with the answers of a host that evaluates every expression
                     after every step, and print what that costs
  --mirror           keep a view of the contexts beside, and compare it with them at the
                     end; with --check after every step
  --explain N@STEP   print why expression number N has its value after that step of the
                     session, and nothing else; 0 is the first expression, and the
                     state before the first step
  --commands         show commands, menus and keys over the sample: what a menu looked like
                     at some steps, what keys ran, and why others did not
  --check-commands   replay the session under commands, menus and key rules, and compare
                     what each sequence of keys runs, each menu and each command with the
                     recorded answers, after every step
  --policy when      a rule of a disabled command counts, and its keys do nothing
  --policy enabled   it does not count. Without --policy both are compared
  --quiet            no summary: print differences, and with --trace the steps
  --save-sample DIR  write the sample as two files that can be edited and replayed; on a
                     terminal, prompts before files that exist are overwritten
  --force            with --save-sample: overwrite without a prompt
  --version          print the version
  -h, --help         print this

With --verify or --mirror, the times of the steps are those of a run of its own, without
either.

Exit codes:
  0  done, and every comparison that was requested agreed
  1  a comparison found a difference, in one session at least
  2  the command line or a file cannot be used, or the output cannot be written
)";

Arguments Arguments::read(std::vector<std::string> const& words)
{
    Arguments result;
    std::vector<std::string> files;
    bool options = true;
    for (std::size_t i = 0; i < words.size(); ++i) {
        std::string const& word = words[i];
        if (word.empty()) {
            throw UsageError("the name of a file is empty");
        } else if (!options || !isOption(word)) {
            files.push_back(word);
        } else if (word == "--") {
            options = false;
        } else if (Flag const* flag = flagOf(word)) {
            result.*flag->field = true;
        } else if (word == "--save-sample") {
            if (!result.saveSample.empty())
                throw UsageError("--save-sample is given twice");
            if (++i == words.size() || words[i].empty() || isOption(words[i]))
                throw UsageError("--save-sample needs a folder to write to");
            result.saveSample = words[i];
        } else if (word == "--policy") {
            if (!result.policy.empty())
                throw UsageError("--policy is given twice");
            if (++i == words.size() || (words[i] != "when" && words[i] != "enabled"))
                throw UsageError("--policy is either when or enabled");
            result.policy = words[i];
        } else if (word == "--explain") {
            if (result.explain)
                throw UsageError("--explain is given twice");
            result.explain = readPlace(++i == words.size() ? std::string() : words[i]);
        } else {
            throw UsageError("unknown option " + word);
        }
    }
    if (result.help || result.version)
        return result;
    expectEffect(result, !files.empty());
    if (result.checkCommands) {
        if (files.size() != 4)
            throw UsageError("--check-commands takes files of rules, menus, a session and answers");
        result.commandFiles = std::move(files);
        return result;
    }
    if (files.size() == 1)
        throw UsageError("expected a file of expressions and at least one session, or neither; found 1 file");
    if (result.explain && files.size() > 2)
        throw UsageError("--explain takes one session");
    if (!files.empty()) {
        result.expressions = files[0];
        result.recordings.assign(files.begin() + 1, files.end());
    }
    return result;
}

}   // namespace workbench
