#include "workbench/sample/Sample.h"

#include <map>
#include <random>
#include <string>
#include <utility>

namespace workbench::sample {

using studio::data::PropertyValue;
using Kind = Operation::Kind;

namespace {

constexpr std::size_t ROOT = 0;

/// Writes the recording of a day. Each call of step() adds one step; the operations called since the last one are its
/// contents.
class Diary {
public:
    Recording write();

private:
    struct File {
        std::size_t editor = 0;
        std::size_t selection = 0;
        int lines = 0;
        int undo = 0;
    };

    // Operations of the step that is being written.

    std::size_t create()
    {
        note({Kind::create, recording.contexts, {}, {}, 0, {}});
        return recording.contexts++;
    }
    void set(std::size_t context, char const* name, PropertyValue value)
    {
        note({Kind::set, context, name, std::move(value), 0, {}});
    }
    void remove(std::size_t context, char const* name) { note({Kind::remove, context, name, {}, 0, {}}); }
    void link(std::size_t context, char const* name, std::size_t target)
    {
        note({Kind::link, context, name, {}, target, {}});
    }
    void drop(std::size_t context) { note({Kind::drop, context, {}, {}, 0, {}}); }
    void activate(std::vector<std::string> names) { note({Kind::activate, ROOT, {}, {}, 0, std::move(names)}); }

    void note(Operation operation) { operations.push_back(std::move(operation)); }
    void step(std::string const& during) { recording.steps.push_back({during, std::exchange(operations, {}), {}}); }

    /// Adds a step of one write.
    void change(std::size_t context, char const* name, PropertyValue value, std::string const& during)
    {
        set(context, name, std::move(value));
        step(during);
    }

    int below(int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); }

    // Actions at the editor.

    void start();
    void focus(char const* where);
    void panel(char const* which);
    void look();
    void open(std::string const& name, std::string const& language, int lines, bool readOnly = false);
    void show(std::string const& name);
    void close(std::string const& name, std::string const& next);
    void caretTo(int line, int column, std::string const& word);
    void select(int lines, int characters);
    void type(int times);
    void undo(int times);
    void copyAndPaste();
    void editWithCarets(int carets);
    void bookmarkAndFold();
    void save();
    void openProject(std::string const& name, std::string const& targets, bool repository);
    void closeProject();
    void build(int problems, int warnings);
    void commit(std::string const& branch);
    void pull(int commits, int conflicts);
    void debugUntil(std::string const& function, int stops);
    void stopDebugging();
    void edit(std::string const& name, int times);

    File& file() { return files.at(current); }

    std::minstd_rand random{2};
    Recording recording;
    std::vector<Operation> operations;
    std::size_t window = 0;
    std::size_t debug = 0;
    std::size_t project = 0;      // 0: none
    std::size_t repository = 0;   // 0: none
    std::size_t frame = 0;        // 0: the program is not stopped
    std::map<std::string, File> files;
    std::string current;
};

void Diary::start()
{
    window = create();
    set(window, "focus", "sidebar");
    set(window, "panel", "");
    set(window, "sidebar", true);
    set(window, "fullScreen", false);
    set(window, "zoom", 1);
    set(window, "theme", "light");
    set(window, "width", 1600);
    set(window, "files", 0);
    set(window, "recent", "notes.md");
    set(window, "clipboard", false);
    link(ROOT, "window", window);
    debug = create();
    set(debug, "state", "inactive");
    set(debug, "breakpoints", 0);
    link(ROOT, "debug", debug);
    recording.initial = std::exchange(operations, {});
}

void Diary::focus(char const* where)
{
    set(window, "focus", where);
    activate({"window", where});
    step(std::string("focus the ") + where);
}

void Diary::panel(char const* which)
{
    change(window, "panel", which, *which ? std::string("show the panel ") + which : "hide the panel");
}

/// Adds steps for every way to change the window.
void Diary::look()
{
    for (double const factor : {0.5, 1.25, 3.0, 1.0})
        change(window, "zoom", factor, "zoom");
    for (bool const on : {true, false}) {
        change(window, "fullScreen", on, on ? "full screen" : "back to a window");
        change(window, "sidebar", !on, on ? "hide the sidebar" : "show the sidebar");
        change(window, "theme", on ? "dark" : "light", "change the theme");
        change(window, "width", on ? 900 : 1600, "resize");
        change(window, "width", on ? 900 : 1600, "resize to the same width");
        change(window, "modal", on, on ? "open the settings" : "close the settings");
    }
}

void Diary::open(std::string const& name, std::string const& language, int lines, bool readOnly)
{
    File opened{create(), create(), lines, 0};
    set(opened.editor, "file", name);
    set(opened.editor, "language", language);
    set(opened.editor, "lines", lines);
    set(opened.editor, "dirty", false);
    set(opened.editor, "readOnly", readOnly);
    set(opened.editor, "undo", 0);
    set(opened.editor, "redo", 0);
    set(opened.editor, "folded", 0);
    set(opened.editor, "endings", name.ends_with(".bat") ? "crlf" : "lf");
    set(opened.selection, "kind", "caret");
    set(opened.selection, "characters", 0);
    set(opened.selection, "lines", 1);
    set(opened.selection, "line", 1);
    set(opened.selection, "column", 1);
    set(opened.selection, "carets", 1);
    step("load " + name);   // nothing shows it yet: no change
    files[name] = opened;
    set(window, "files", files.size());
    show(name);
}

/// Switches everything that reads the editor or its selection to another file, in one transaction.
void Diary::show(std::string const& name)
{
    current = name;
    link(ROOT, "editor", file().editor);
    link(ROOT, "selection", file().selection);
    set(window, "focus", "editor");
    step("show " + name);
}

/// Switches to the next file first, so that nothing refers to what is dropped.
void Diary::close(std::string const& name, std::string const& next)
{
    File const closed = files.at(name);
    files.erase(name);
    set(window, "files", files.size());
    set(window, "recent", name);
    if (next.empty()) {
        remove(ROOT, "editor");
        remove(ROOT, "selection");
    } else {
        current = next;
        link(ROOT, "editor", file().editor);
        link(ROOT, "selection", file().selection);
    }
    drop(closed.editor);
    drop(closed.selection);
    step("close " + name);
}

void Diary::caretTo(int line, int column, std::string const& word)
{
    std::size_t const selection = file().selection;
    set(selection, "kind", "caret");
    set(selection, "line", line);
    set(selection, "lines", 1);
    set(selection, "column", column);
    set(selection, "characters", 0);
    set(selection, "word", word);
    step("move the caret");
}

void Diary::select(int lines, int characters)
{
    set(file().selection, "kind", "text");
    set(file().selection, "lines", lines);
    set(file().selection, "characters", characters);
    step("select");
}

void Diary::type(int times)
{
    for (int i = 0; i < times; ++i) {
        File& typed = file();
        set(typed.editor, "dirty", true);   // the same value from the second time on
        set(typed.editor, "undo", ++typed.undo);
        set(typed.editor, "redo", 0);
        if (below(4) == 0) {
            set(typed.editor, "lines", ++typed.lines);
            set(typed.selection, "line", typed.lines);
            set(typed.selection, "column", 1);
        } else {
            set(typed.selection, "column", 2 + below(60));
        }
        step("type");
    }
}

void Diary::undo(int times)
{
    for (int i = 1; i <= times && file().undo > 0; ++i) {
        set(file().editor, "undo", --file().undo);
        set(file().editor, "redo", i);
        set(file().editor, "dirty", file().undo > 0);
        step("undo");
    }
}

void Diary::copyAndPaste()
{
    select(1, 12);
    change(window, "clipboard", true, "copy");
    caretTo(3, 1, "");
    type(1);
    change(window, "clipboard", true, "copy once more");
}

void Diary::editWithCarets(int carets)
{
    for (int count = 2; count <= carets; ++count)
        change(file().selection, "carets", count, "add a caret");
    type(2);
    change(file().selection, "carets", 1, "remove the carets");
}

void Diary::bookmarkAndFold()
{
    for (int marks = 1; marks <= 2; ++marks)
        change(file().editor, "marks", marks, "set a bookmark");
    change(file().editor, "folded", 6, "fold all");
    change(file().editor, "wrap", true, "wrap lines");
    set(file().editor, "folded", 0);
    remove(file().editor, "wrap");
    remove(file().editor, "marks");
    step("unfold all, forget the bookmarks");
}

void Diary::save()
{
    set(file().editor, "dirty", false);
    if (repository)
        set(repository, "changed", 1 + below(3));
    step("save");
}

void Diary::openProject(std::string const& name, std::string const& targets, bool versioned)
{
    project = create();
    set(project, "name", name);
    set(project, "trusted", false);
    set(project, "tests", targets.find("tests") != std::string::npos);
    set(project, "problems", 0);
    set(project, "warnings", 0);
    set(project, "targets", targets);
    set(project, "building", false);
    if (versioned) {
        repository = create();
        set(repository, "branch", "main");
        set(repository, "remote", true);
        for (char const* count : {"changed", "staged", "ahead", "behind"})
            set(repository, count, 0);
        link(project, "repository", repository);
    }
    link(ROOT, "project", project);
    step("open project " + name);
    set(project, "trusted", true);
    step("trust " + name);
}

void Diary::closeProject()
{
    remove(ROOT, "project");
    if (repository)
        drop(std::exchange(repository, 0));
    drop(std::exchange(project, 0));
    step("close the project");
}

void Diary::build(int problems, int warnings)
{
    set(project, "building", true);
    set(window, "panel", "output");
    step("build");
    for (int found = 1; found <= problems; ++found) {
        set(project, "problems", found);
        step("build: problem " + std::to_string(found));
    }
    set(project, "building", false);
    set(project, "problems", problems);
    set(project, "warnings", warnings);
    set(window, "panel", problems > 0 ? "problems" : "");
    step(problems > 0 ? "build failed" : "build done");
}

void Diary::commit(std::string const& branch)
{
    set(repository, "branch", branch);
    step("branch " + branch);
    set(repository, "staged", 2);
    set(repository, "changed", 0);
    set(window, "focus", "sidebar");
    step("stage");
    set(repository, "staged", 0);
    set(repository, "ahead", 1);
    step("commit");
    set(repository, "ahead", 0);
    step("push");
}

void Diary::pull(int commits, int conflicts)
{
    change(repository, "behind", commits, "fetch");
    set(repository, "behind", 0);
    set(file().editor, "conflicts", conflicts);
    step("pull");
    for (int left = conflicts - 1; left >= 0; --left)
        change(file().editor, "conflicts", left, "resolve a conflict");
}

/// Adds `stops` stops of the debugger. Each stop is a new frame; the one before is dropped after the reference to it
/// was changed.
void Diary::debugUntil(std::string const& function, int stops)
{
    set(debug, "state", "running");
    set(debug, "canRestart", true);
    step("start debugging");
    for (int i = 0; i < stops; ++i) {
        std::size_t const old = std::exchange(frame, create());
        set(frame, "function", i % 3 == 2 ? "memcpy" : function);
        set(frame, "source", i % 3 != 2);
        set(frame, "line", 10 + 3 * i);
        set(frame, "depth", 1 + i % 3);
        link(debug, "frame", frame);
        set(debug, "state", "stopped");
        if (old)
            drop(old);
        step("stop in " + function);
        if (i == 1)
            select(1, 8);
        set(debug, "state", "running");
        step("continue");
    }
}

void Diary::stopDebugging()
{
    set(debug, "state", "inactive");
    remove(debug, "frame");
    remove(debug, "canRestart");
    if (frame)
        drop(std::exchange(frame, 0));
    step("stop debugging");
}

/// Adds steps of ordinary work in one file.
void Diary::edit(std::string const& name, int times)
{
    show(name);
    // One by one: the order in which arguments are evaluated differs between compilers.
    char const* const word = below(2) ? "Report" : "total_count";
    int const column = 1 + below(40);
    caretTo(1 + below(file().lines), column, word);
    type(times);
    int const characters = 5 + below(90);
    select(1 + below(4), characters);
    if (below(2))
        undo(2);
    save();
}

Recording Diary::write()
{
    start();
    open("notes.md", "markdown", 12);
    type(6);
    save();
    change(window, "recent", "", "clear the recent files");
    look();
    focus("sidebar");
    openProject("ledger", "ledger,tests,install", true);
    open("Report.cpp", "cpp", 180);
    open("Report.h", "cpp", 40);
    open("ReportTest.cpp", "cpp", 95);
    open("config.h", "cpp", 30, true);
    for (int round = 0; round < 4; ++round) {
        edit("Report.h", 3 + round);
        edit("Report.cpp", 12);
        build(round < 2 ? 3 - round : 0, 1);
        edit("ReportTest.cpp", 8);
        show("config.h");
        caretTo(1 + below(30), 1, "LIMIT");
        focus("panel");
        panel("terminal");
        build(0, 0);
        if (round % 2 == 1)
            commit(round == 1 ? "totals" : "main");
        show("Report.cpp");
        copyAndPaste();
        editWithCarets(3 + round);
        bookmarkAndFold();
    }
    show("Report.cpp");
    change(debug, "breakpoints", 2, "set breakpoints");
    caretTo(42, 5, "total");
    debugUntil("Report::total", 7);
    change(debug, "watches", 1, "add a watch");
    stopDebugging();
    save();
    pull(3, 2);
    edit("Report.cpp", 6);
    build(0, 0);
    commit("main");
    close("config.h", "Report.cpp");
    close("Report.h", "Report.cpp");
    close("ReportTest.cpp", "Report.cpp");
    close("Report.cpp", "notes.md");
    closeProject();

    openProject("website", "site", false);
    open("index.md", "markdown", 60);
    open("deploy.bat", "shell", 25);
    for (int round = 0; round < 3; ++round) {
        edit("index.md", 10);
        edit("deploy.bat", 5);
        change(file().editor, "encoding", round == 1 ? "latin1" : "utf8", "reopen with another encoding");
        build(round == 1 ? 1 : 0, round);
    }
    close("deploy.bat", "index.md");
    close("index.md", "notes.md");
    closeProject();
    type(3);
    undo(2);
    close("notes.md", "");
    return std::move(recording);
}

}   // namespace

Recording day()
{
    return Diary().write();
}

}   // namespace workbench::sample
