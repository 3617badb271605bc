#include "Target.h"
#include "shell/Interpreter.h"
#include "workbench/Json.h"

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

// The bytes are a script of the shell, over a small session or a fresh model. Whatever it says, each line is answered
// by text without control characters or by one JSON object, and the end of the input closes what it left open.

namespace {

/// Files that cannot be read or written, and a small sample.
class NoFiles final : public shell::Files {
public:
    shell::Material load(std::string const& expressions, std::string const& /*session*/) override
    {
        throw workbench::DocumentError(expressions, "cannot be opened", "there are no files");
    }
    shell::Material sample() override
    {
        using Kind = workbench::Operation::Kind;
        shell::Material material{"sample", {{"editor.dirty && !editor.readOnly", "Save"}, {"x ?? editor", ""}}, {}, {}};
        material.recording.contexts = 2;
        material.recording.initial = {{Kind::create, 1, {}, {}, 0, {}}, {Kind::link, 0, "editor", {}, 1, {}}};
        material.recording.steps = {{"edit", {{Kind::set, 1, "dirty", true, 0, {}}}, {}},
                                    {"lock", {{Kind::set, 1, "readOnly", true, 0, {}}}, {}},
                                    {"close", {{Kind::drop, 1, {}, {}, 0, {}}}, {}}};
        material.reasons = {{"!editor.readOnly", "It is read-only."}};
        return material;
    }
    void write(std::string const& name, std::string const& /*text*/) override { load(name, {}); }
};

void runAll(std::string_view script, shell::Interpreter::Format format)
{
    NoFiles files;
    shell::Interpreter interpreter(files, script.starts_with('s') ? files.sample() : shell::Material{}, format);
    for (bool isLast = false; !isLast && !script.empty();) {
        std::string_view const line = script.substr(0, script.find('\n'));
        script.remove_prefix(line.size() == script.size() ? line.size() : line.size() + 1);
        interpreter.complete(line);
        shell::Outcome const outcome = interpreter.run(line);
        isLast = outcome.isLast;
        for (char const each : outcome.text)
            require(static_cast<unsigned char>(each) >= 0x20 || each == '\n', "answers have no control characters");
        if (format == shell::Interpreter::Format::Json && !outcome.text.empty())
            require(nlohmann::json::parse(outcome.text).contains("command"), "an answer is one JSON object");
    }
    interpreter.finish();
    require(interpreter.run("batch").kind == shell::Outcome::Kind::Done, "the end of the input ends a batch");
    interpreter.finish();
}

}   // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string_view const script{reinterpret_cast<char const*>(data), size};
    runAll(script, shell::Interpreter::Format::Text);
    runAll(script, shell::Interpreter::Format::Json);
    return 0;
}
