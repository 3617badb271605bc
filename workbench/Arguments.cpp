#include "workbench/Arguments.h"

#include <array>

namespace workbench {

namespace {

struct Flag {
    char const* spelling;
    bool Arguments::*field;
};
constexpr std::array s_flags{
    Flag{"--help", &Arguments::help},     Flag{"-h", &Arguments::help},           Flag{"--trace", &Arguments::trace},
    Flag{"--check", &Arguments::check},   Flag{"--verify", &Arguments::verify},   Flag{"--quiet", &Arguments::quiet},
    Flag{"--mirror", &Arguments::mirror}, Flag{"--version", &Arguments::version},
};

Flag const* flagOf(std::string const& word)
{
    for (Flag const& flag : s_flags)
        if (word == flag.spelling)
            return &flag;
    return nullptr;
}

}   // namespace

char const* const Arguments::HELP =
    R"(Usage: studio-workbench [OPTIONS] [EXPRESSIONS.json SESSION.json]

Subscribes to every expression, replays the session step by step, each step in one
transaction, and says which results changed. Without files it replays a sample of its
own: a day at a small editor.

  --trace            show every step: which results changed, from what to what
  --check            compare with the answers recorded in the session, values and silence
                     both; where none are recorded, as in the sample, --verify instead
  --verify           compare with the answers of a host that evaluates every expression
                     anew after every step, and say what that costs beside a run alone
  --mirror           keep a view of the contexts beside, and compare it with them at the
                     end; with --check after every step
  --quiet            no summary: print differences, and with --trace the steps
  --save-sample DIR  write the sample as two files that can be edited and replayed
  --version          print the version
  -h, --help         print this

Exit codes:
  0  done, and every comparison that was asked for agreed
  1  a comparison found a difference
  2  the command line or a file cannot be used, or the output cannot be written
)";

Arguments Arguments::read(std::vector<std::string> const& words)
{
    Arguments result;
    std::vector<std::string> files;
    bool options = true;
    for (std::size_t i = 0; i < words.size(); ++i) {
        std::string const& word = words[i];
        if (!options || word.size() < 2 || word[0] != '-') {
            files.push_back(word);
        } else if (word == "--") {
            options = false;
        } else if (Flag const* flag = flagOf(word)) {
            result.*flag->field = true;
        } else if (word == "--save-sample") {
            if (++i == words.size() || words[i].empty())
                throw UsageError("--save-sample needs a folder to write to");
            result.saveSample = words[i];
        } else {
            throw UsageError("unknown option " + word);
        }
    }
    if (files.size() == 1 || files.size() > 2)
        throw UsageError("expected two files, expressions and session, or none; found " + std::to_string(files.size()));
    if (!files.empty() && !result.saveSample.empty())
        throw UsageError("--save-sample takes no files");
    if (!files.empty()) {
        result.expressions = files[0];
        result.recording = files[1];
    }
    return result;
}

}   // namespace workbench
