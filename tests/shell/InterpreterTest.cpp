#include "shell/Interpreter.h"

#include "shell/Text.h"
#include "support/Allocations.h"
#include "workbench/Json.h"
#include "workbench/Writer.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

using Kind = shell::Outcome::Kind;
using Operation = workbench::Operation;

/// A session of two steps over two contexts.
shell::Material session()
{
    shell::Material material{"session", {{"editor.dirty && !editor.readOnly", "Save"}}, {}, {}};
    material.recording.contexts = 2;
    material.recording.initial = {{Operation::Kind::create, 1, {}, {}, 0, {}},
                                  {Operation::Kind::link, 0, "editor", {}, 1, {}}};
    material.recording.steps = {{"edit", {{Operation::Kind::set, 1, "dirty", true, 0, {}}}, {}},
                                {"lock", {{Operation::Kind::set, 1, "readOnly", true, 0, {}}}, {}}};
    return material;
}

// Commands that change properties. The others make JSON, whose destructor ends the program if it gets no memory.
TEST(Interpreter, SaysWhetherACommandThatRanOutOfMemoryChangedTheModel)
{
    for (char const* const line : {"set a.x 2", "set a.y 'a text that is longer than a few characters'", "unset a.x",
                                   "make b.c", "drop a", "batch"})
        for (bool const isInBatch : {false, true}) {
            std::size_t failures = 0;
            for (bool happened = true; happened; ++failures) {
                shell::DiskFiles files{false};
                shell::Interpreter interpreter{files, session(), shell::Interpreter::Format::Text};
                for (char const* const first : {"step", "make a", "set a.x 1", "watch a.x"})
                    ASSERT_EQ(interpreter.run(first).kind, Kind::Done);
                if (isInBatch)
                    interpreter.run("batch");
                std::string const before = interpreter.run("list").text;
                shell::Outcome outcome;
                {
                    support::FailingAllocation const failing{failures};
                    outcome = interpreter.run(line);
                    happened = failing.happened();
                }
                bool const isSame = outcome.text.find("nothing has changed") != std::string::npos;
                EXPECT_TRUE(!isSame || interpreter.run("list").text == before) << line << ' ' << failures;
                bool const isReported = outcome.text.find("out of memory") != std::string::npos;
                EXPECT_EQ(outcome.kind == Kind::Failed && happened, isReported) << line << ' ' << outcome.text;
                interpreter.finish();
                EXPECT_EQ(interpreter.run("make c.d").kind, Kind::Done) << line << ' ' << failures;
            }
            EXPECT_GT(failures, 0u) << line;
        }
}

TEST(Interpreter, CompletesWholeCharacters)
{
    EXPECT_EQ(shell::commonStart({"caf\xc3\xa8", "caf\xc3\xa9"}), "caf");
    EXPECT_EQ(shell::commonStart({"\xc3\xa9", "\xc3\xa9t\xc3\xa9"}), "\xc3\xa9");
    EXPECT_EQ(shell::commonStart({"a\xf0\x9f\x98\x80", "a\xf0\x9f\x98\x81"}), "a");
}

TEST(Interpreter, NoFileThatAppearsMeanwhileIsOverwritten)
{
    std::filesystem::path const folder = std::filesystem::temp_directory_path() / "studio-shell-files";
    std::filesystem::remove_all(folder);
    std::filesystem::create_directory(folder);
    std::string const name = (folder / "report.html").string();
    auto const content = [&] {
        std::ifstream file{name};
        return std::string{std::istreambuf_iterator<char>{file}, {}};
    };
    using workbench::Existing;
    workbench::writeFiles({{name, "first"}}, Existing::Keep);
    EXPECT_THROW(workbench::writeFiles({{name, "second"}}, Existing::Keep), workbench::DocumentError);
    EXPECT_EQ(content(), "first");
    workbench::writeFiles({{name, "third"}}, Existing::Replace);
    EXPECT_EQ(content(), "third");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator{folder}, {}), 1) << "no draft is left";
    std::filesystem::remove_all(folder);
}

}   // namespace
