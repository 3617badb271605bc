#include "workbench/sample/Sample.h"

#include <array>

namespace workbench::sample {

namespace {

struct Row {
    char const* condition;   // has to hold
    char const* sentence;    // shown if it does not
};

constexpr std::array s_rows{
    Row{"!window.modal", "Close the dialog first."},
    Row{"window.clipboard", "The clipboard is empty."},
    Row{"window.files > 1", "No other file is open."},
    Row{"window.focus == 'editor'", "The keyboard focus is not in the editor."},
    Row{"window.focus == 'sidebar'", "The keyboard focus is not in the sidebar."},
    Row{"window.focus in ['editor', 'panel']", "The keyboard focus is in the {window.focus}."},
    Row{"defined(window.recent)", "No file was closed yet."},
    Row{"length(window.recent) > 0", "The list of recent files is empty."},
    Row{"window.panel != ''", "No panel is shown."},
    Row{"window.panel == 'output'", "The output is not shown."},
    Row{"window.panel == 'problems'", "The problems are not shown."},
    Row{"window.panel == 'terminal'", "The terminal is not shown."},
    Row{"window.fullScreen", "The window does not fill the screen."},
    Row{"window.sidebar", "The sidebar is hidden."},
    Row{"window.theme == 'dark'", "The theme is {window.theme}."},
    Row{"window.width >= 1000", "The window is too narrow: {window.width} of 1000 points."},
    Row{"window.width >= 1200", "The window is too narrow: {window.width} of 1200 points."},
    Row{"window.zoom != 1", "The text has its actual size."},
    Row{"window.zoom < 3", "The text is as large as it gets."},
    Row{"window.zoom > 0.5", "The text is as small as it gets."},

    Row{"defined(editor.file)", "No file is open."},
    Row{"editor.dirty", "Nothing has changed since the file was saved."},
    Row{"!editor.dirty", "The file has changes that are not saved."},
    Row{"editor.readOnly", "The file is not read-only."},
    Row{"!editor.readOnly", "{editor.file} is read-only."},
    Row{"editor.encoding ?? 'utf8' != 'utf8'", "The file is in UTF-8 already."},
    Row{"editor.endings == 'crlf'", "The lines end as they should."},
    Row{"editor.wrap", "Long lines are not wrapped."},
    Row{"editor.lines > 0", "There are no lines."},
    Row{"editor.lines > 1", "There is one line at the most."},
    Row{"editor.lines > 20", "The file has only {editor.lines ?? 0} of 20 lines."},
    Row{"editor.lines > 100", "The file has only {editor.lines ?? 0} of 100 lines."},
    Row{"editor.undo > 0", "There is nothing to undo."},
    Row{"editor.redo > 0", "There is nothing to redo."},
    Row{"editor.folded > 0", "Nothing is folded."},
    Row{"editor.folded < 5", "Everything is folded."},
    Row{"editor.marks > 0", "There are no bookmarks."},
    Row{"editor.conflicts > 0", "There are no conflicts."},
    Row{"editor.language != 'image'", "This is an image."},
    Row{"editor.language == 'cpp'", "This is not a C++ file."},
    Row{"editor.language in ['cpp', 'json']", "There is no formatter for {editor.language ?? 'what is open'}."},
    Row{"editor.language in ['cpp', 'python']", "This is neither a C++ nor a Python file."},
    Row{"editor.language in ['cpp', 'python', 'shell', 'cmake']", "Comments are not known in such a file."},
    Row{"editor.language in ['markdown', 'image']", "There is no preview of such a file."},
    Row{"editor.language not in ['markdown', 'image']", "White space has a meaning in such a file."},
    Row{"editor.file =~ /\\.(cpp|py)$/", "This is not a source that has tests."},
    Row{"!(editor.file =~ /Test/)", "This is a test."},
    Row{"like(editor.file, '*.cpp')", "This is not a C++ source."},
    Row{"like(editor.file, '*.h')", "This is not a header."},
    Row{"like(editor.file, '*Test.cpp')", "This is not a test."},

    Row{"selection.characters > 0", "Nothing is selected."},
    Row{"selection.kind != 'none'", "The selection cannot grow."},
    Row{"selection.kind == 'caret'", "There is a selection."},
    Row{"selection.kind == 'text'", "No text is selected."},
    Row{"selection.kind in ['caret', 'column']", "Text is selected."},
    Row{"selection.characters > 0 || selection.kind == 'caret'", "There is nothing to delete."},
    Row{"selection.lines > 1 || selection.column == 1", "Neither are several lines selected, nor does one begin here."},
    Row{"selection.line > 1", "This is the first line."},
    Row{"selection.line < editor.lines", "This is the last line."},
    Row{"selection.line + selection.lines <= editor.lines", "These are the last lines."},
    Row{"selection.lines < editor.lines", "Everything is selected."},
    Row{"selection.lines == 1", "The selection has more than a line."},
    Row{"selection.lines > 1", "The selection has only a line."},
    Row{"selection.lines > 2", "The selection has less than three lines."},
    Row{"selection.carets > 1", "There is only one caret."},
    Row{"selection.word =~ /^\\w+$/", "There is no word at the caret."},
    Row{"selection.word =~ /^[A-Z]\\w+$/", "There is no name of a class at the caret."},
    Row{"selection.word =~ /^[A-Za-z_]\\w*$/", "There is no name at the caret."},
    Row{"selection.word =~ /^[a-z_]\\w*$/i", "There is no variable at the caret."},
    Row{"upper(selection.word) != selection.word", "These are upper case letters already."},
    Row{"lower(selection.word) != selection.word", "These are lower case letters already."},

    Row{"defined(project.name)", "No project is open."},
    Row{"project.trusted", "The project is not trusted."},
    Row{"!project.trusted", "The project is trusted already."},
    Row{"project.tests", "The project has no tests."},
    Row{"project.building", "No build is running."},
    Row{"!project.building", "A build is running."},
    Row{"project.problems == 0", "The last build has failed."},
    Row{"project.problems > 0", "The last build found no problems."},
    Row{"project.problems > 0 || window.panel == 'output'", "There is no log."},
    Row{"project.problems + project.warnings > 0", "There are no problems."},
    Row{"length(project.targets) > 0", "The project has no targets."},
    Row{"contains(project.targets, ',')", "There is no other target."},
    Row{"hasItem(project.targets, 'tests')", "The project has no target for tests."},

    Row{"defined(project.repository)", "The project is not under version control."},
    Row{"!project.repository", "The project is under version control already."},
    Row{"defined(project.repository.branch)", "There is no branch."},
    Row{"project.repository.branch not in ['main', 'release']", "The branch is {project.repository.branch}."},
    Row{"project.repository.changed == 0", "There are changes that are not committed."},
    Row{"project.repository.changed > 0", "There are no changes."},
    Row{"project.repository.staged == 0", "Changes are staged."},
    Row{"project.repository.staged > 0", "Nothing is staged."},
    Row{"project.repository.remote", "There is no other repository."},
    Row{"project.repository.ahead > 0", "There is nothing to push."},
    Row{"project.repository.behind > 0", "There is nothing to pull."},

    Row{"debug.state == 'inactive'", "The program is being debugged."},
    Row{"debug.state != 'inactive'", "The program is not being debugged."},
    Row{"debug.state == 'running'", "The program does not run."},
    Row{"debug.state == 'stopped'", "The program is not stopped."},
    Row{"debug.state in ['running', 'stopped']", "The debugger is not active."},
    Row{"debug.canRestart", "The program cannot be started again."},
    Row{"debug.breakpoints > 0", "There are no breakpoints."},
    Row{"debug.watches > 0", "There are no watches."},
    Row{"defined(debug.frame.function)", "There is no frame to show."},
    Row{"debug.frame.source", "There is no source of {debug.frame.function ?? 'this'}."},
    Row{"!debug.frame.source", "There is a source of {debug.frame.function ?? 'this'}."},
    Row{"debug.frame.depth < 100", "The calls are nested too deeply."},
    Row{"debug.frame.depth > 1", "This is the outermost function."},
};

}   // namespace

std::vector<std::pair<std::string, std::string>> reasons()
{
    std::vector<std::pair<std::string, std::string>> result;
    result.reserve(s_rows.size());
    for (Row const& row : s_rows)
        result.emplace_back(row.condition, row.sentence);
    return result;
}

}   // namespace workbench::sample
