#include "workbench/sample/Sample.h"

#include <array>

// The contexts that the root refers to, and their properties:
//
//   window        focus, panel, sidebar, fullScreen, modal, zoom, theme, width, files, recent, clipboard
//   editor        file, language, lines, dirty, readOnly, undo, redo, encoding, endings, wrap, folded, marks, conflicts
//   selection     kind, characters, lines, line, column, word, carets; one for each editor
//   project       name, trusted, tests, problems, warnings, targets, target, building
//     repository  branch, changed, staged, ahead, behind, remote; while the project is under version control
//   debug         state, breakpoints, watches, canRestart
//     frame       function, line, depth, source; while the program is stopped
namespace workbench::sample {

namespace {

struct Row {
    char const* what;
    char const* text;
};

constexpr std::array s_rows{
    Row{"File > New", "!window.modal"},
    Row{"File > Open Recent", "defined(window.recent) && length(window.recent) > 0"},
    Row{"File > Save", "editor.dirty && !editor.readOnly"},
    Row{"File > Save As", "defined(editor.file) && !window.modal"},
    Row{"File > Save All", "window.files > 1 && editor.dirty"},
    Row{"File > Revert", "editor.dirty && defined(editor.file) && !window.modal"},
    Row{"File > Reload", "defined(editor.file) && !editor.dirty"},
    Row{"File > Close", "defined(editor.file)"},
    Row{"File > Close Others", "window.files > 1"},
    Row{"File > Print", "editor.lines > 0 && editor.language != 'image'"},
    Row{"File > Make Writable", "editor.readOnly && project.trusted"},
    Row{"File > Encoding", "editor.encoding ?? 'utf8' != 'utf8'"},
    Row{"File > Line Endings", "editor.endings == 'crlf' && !editor.readOnly"},

    Row{"Edit > Undo", "editor.undo > 0 && !editor.readOnly"},
    Row{"Edit > Redo", "editor.redo > 0 && !editor.readOnly"},
    Row{"Edit > Undo: label", "editor.undo > 0 ? 'Undo (' + editor.undo + ')' : 'Undo'"},
    Row{"Edit > Redo: label", "editor.redo > 0 ? 'Redo (' + editor.redo + ')' : 'Redo'"},
    Row{"Edit > Cut", "selection.characters > 0 && !editor.readOnly && window.focus == 'editor'"},
    Row{"Edit > Copy", "selection.characters > 0 && window.focus in ['editor', 'panel']"},
    Row{"Edit > Paste", "window.clipboard && !editor.readOnly && window.focus == 'editor'"},
    Row{"Edit > Delete", "(selection.characters > 0 || selection.kind == 'caret') && !editor.readOnly"},
    Row{"Edit > Select All", "editor.lines > 0 && window.focus == 'editor'"},
    Row{"Edit > Select Word", "selection.kind == 'caret' && selection.word =~ /^\\w+$/"},
    Row{"Edit > Expand Selection", "selection.kind != 'none' && selection.lines < editor.lines"},
    Row{"Edit > Column Selection", "selection.lines > 1 && selection.kind == 'text'"},
    Row{"Edit > Add Caret Below", "selection.kind in ['caret', 'column'] && selection.line < editor.lines"},
    Row{"Edit > Remove Carets", "selection.carets > 1"},
    Row{"Edit > Join Lines", "selection.lines > 1 && !editor.readOnly"},
    Row{"Edit > Sort Lines", "selection.lines > 2 && !editor.readOnly && selection.kind == 'text'"},
    Row{"Edit > Duplicate Line", "window.focus == 'editor' && !editor.readOnly && editor.lines > 0"},
    Row{"Edit > Move Line Up", "selection.line > 1 && !editor.readOnly"},
    Row{"Edit > Move Line Down", "selection.line + selection.lines <= editor.lines && !editor.readOnly"},
    Row{"Edit > Indent", "!editor.readOnly && (selection.lines > 1 || selection.column == 1)"},
    Row{"Edit > Upper Case", "selection.characters > 0 && !editor.readOnly && upper(selection.word) != selection.word"},
    Row{"Edit > Lower Case", "selection.characters > 0 && !editor.readOnly && lower(selection.word) != selection.word"},
    Row{"Edit > Toggle Comment", "editor.language in ['cpp', 'python', 'shell', 'cmake'] && !editor.readOnly"},
    Row{"Edit > Format", "editor.language in ['cpp', 'json'] && !editor.readOnly && !project.building"},
    Row{"Edit > Format Selection", "editor.language == 'cpp' && selection.lines > 1 && !editor.readOnly"},
    Row{"Edit > Trim White Space", "!editor.readOnly && editor.language not in ['markdown', 'image']"},
    Row{"Edit > Resolve Conflict", "editor.conflicts > 0 && !editor.readOnly"},

    Row{"Find > Find", "window.focus == 'editor' && editor.lines > 0"},
    Row{"Find > Find Selection", "selection.characters > 0 && selection.lines == 1"},
    Row{"Find > Replace", "window.focus == 'editor' && !editor.readOnly && editor.lines > 0"},
    Row{"Find > In Project", "defined(project.name)"},
    Row{"Find > Go to Line", "editor.lines > 1"},
    Row{"Find > Go to Definition", "editor.language in ['cpp', 'python'] && selection.word =~ /^[A-Za-z_]\\w*$/"},
    Row{"Find > Go to Header", "like(editor.file, '*.cpp') && defined(project.name)"},
    Row{"Find > Go to Source", "like(editor.file, '*.h') && defined(project.name)"},
    Row{"Find > Go to Test", "project.tests && editor.file =~ /\\.(cpp|py)$/ && !(editor.file =~ /Test/)"},
    Row{"Find > Rename Symbol", "editor.language == 'cpp' && selection.word =~ /^[A-Z]\\w+$/ && !editor.readOnly"},
    Row{"Find > Next Problem", "project.problems + project.warnings > 0"},
    Row{"Find > Toggle Bookmark", "window.focus == 'editor' && editor.lines > 0 && !window.modal"},
    Row{"Find > Next Bookmark", "editor.marks > 0"},
    Row{"Find > Clear Bookmarks", "editor.marks > 0 && window.focus == 'editor'"},
    Row{"Find > Clear Bookmarks: label",
        "'Clear ' + (editor.marks ?? 0) + (editor.marks == 1 ? ' Bookmark' : ' Bookmarks')"},

    Row{"View > Panel: check mark", "window.panel != ''"},
    Row{"View > Problems", "window.panel == 'problems'"},
    Row{"View > Output", "window.panel == 'output'"},
    Row{"View > Terminal", "window.panel == 'terminal'"},
    Row{"View > Sidebar: check mark", "!!window.sidebar"},
    Row{"View > Full Screen: check mark", "!!window.fullScreen"},
    Row{"View > Zoom In", "window.zoom < 3"},
    Row{"View > Zoom Out", "window.zoom > 0.5"},
    Row{"View > Actual Size", "window.zoom != 1"},
    Row{"View > Zoom: label", "round(window.zoom * 100) + ' %'"},
    Row{"View > Wrap Lines: check mark", "!!editor.wrap"},
    Row{"View > Fold All", "editor.lines > 20 && editor.folded < 5 && editor.language != 'image'"},
    Row{"View > Unfold All", "editor.folded > 0"},
    Row{"View > Split Editor", "window.width >= 1200 && defined(editor.file)"},
    Row{"View > Next File", "window.files > 1 && window.focus == 'editor'"},
    Row{"View > Preview", "editor.language in ['markdown', 'image']"},
    Row{"View > Minimap", "editor.lines > 100 && window.width >= 1000"},
    Row{"View > Dark Theme: check mark", "window.theme == 'dark'"},

    Row{"Project > Open", "!project.building && !window.modal"},
    Row{"Project > Close", "defined(project.name) && !project.building"},
    Row{"Project > Trust", "defined(project.name) && !project.trusted"},
    Row{"Project > Build", "project.trusted && length(project.targets) > 0 && !project.building"},
    Row{"Project > Build: label", "'Build ' + (project.target ?? project.name ?? 'Project')"},
    Row{"Project > Cancel Build", "!!project.building"},
    Row{"Project > Clean", "project.trusted && !project.building && debug.state == 'inactive'"},
    Row{"Project > Choose Target", "contains(project.targets, ',')"},
    Row{"Project > Build Tests", "hasItem(project.targets, 'tests') && !project.building"},
    Row{"Project > Run Tests", "project.tests && project.problems == 0 && !project.building"},
    Row{"Project > Run This Test", "project.tests && like(editor.file, '*Test.cpp') && !project.building"},
    Row{"Project > Fix Problems", "project.problems > 0 && editor.language == 'cpp' && !editor.readOnly"},
    Row{"Project > Show Log", "project.problems > 0 || window.panel == 'output'"},

    Row{"Repository > Commit", "project.repository.staged > 0"},
    Row{"Repository > Commit All", "project.repository.changed > 0 && project.repository.staged == 0"},
    Row{"Repository > Stage File", "project.repository.changed > 0 && !editor.dirty && defined(editor.file)"},
    Row{"Repository > Unstage", "project.repository.staged > 0 && window.focus == 'sidebar'"},
    Row{"Repository > Push", "project.repository.remote && project.repository.ahead > 0"},
    Row{"Repository > Pull", "project.repository.remote && project.repository.behind > 0 && !editor.dirty"},
    Row{"Repository > Switch Branch", "defined(project.repository.branch) && project.repository.changed == 0"},
    Row{"Repository > Merge", "project.repository.branch not in ['main', 'release'] && defined(project.repository)"},
    Row{"Repository > Blame", "defined(project.repository) && !editor.dirty && editor.lines > 0"},
    Row{"Repository > Compare", "defined(project.repository) && project.repository.changed > 0"},
    Row{"Repository > Initialise", "defined(project.name) && !project.repository"},
    Row{"Repository > badge", "project.repository.changed + project.repository.staged"},

    Row{"Debug > Start", "debug.state == 'inactive' && project.trusted && project.problems == 0"},
    Row{"Debug > Stop", "debug.state in ['running', 'stopped']"},
    Row{"Debug > Restart", "debug.state != 'inactive' && debug.canRestart"},
    Row{"Debug > Pause", "debug.state == 'running'"},
    Row{"Debug > Continue", "debug.state == 'stopped'"},
    Row{"Debug > Step Over", "debug.state == 'stopped' && debug.frame.source"},
    Row{"Debug > Step Into", "debug.state == 'stopped' && debug.frame.source && debug.frame.depth < 100"},
    Row{"Debug > Step Out", "debug.state == 'stopped' && debug.frame.depth > 1"},
    Row{"Debug > Show Frame", "defined(debug.frame.function)"},
    Row{"Debug > Run to Line", "debug.state == 'stopped' && editor.language == 'cpp' && selection.kind == 'caret'"},
    Row{"Debug > Disassemble", "debug.state == 'stopped' && !debug.frame.source"},
    Row{"Debug > Evaluate", "debug.state == 'stopped' && selection.characters > 0 && selection.lines == 1"},
    Row{"Debug > Add Watch", "debug.state != 'inactive' && selection.word =~ /^[a-z_]\\w*$/i"},
    Row{"Debug > Remove Watches", "debug.watches > 0"},
    Row{"Debug > Toggle Breakpoint", "editor.language in ['cpp', 'python'] && window.focus == 'editor'"},
    Row{"Debug > Disable Breakpoints", "debug.breakpoints > 0 && !window.modal"},

    Row{"Title", "(editor.dirty ? '* ' : '') + (editor.file ?? 'no file') + ' - ' + (project.name ?? 'no project')"},
    Row{"Status: position", "'Line ' + selection.line + ', column ' + selection.column"},
    Row{"Status: selection", "selection.carets > 1 ? selection.carets + ' carets'"
                             " : selection.characters > 0 ? selection.characters + ' selected' : ''"},
    Row{"Status: language", "editor.language ?? ''"},
    Row{"Status: encoding", "upper(editor.encoding ?? 'utf8') + (editor.endings == 'crlf' ? ', CRLF' : '')"},
    Row{"Status: progress through the file", "floor(selection.line / editor.lines * 100)"},
    Row{"Status: problems", "project.problems == 0 ? 'No problems' : project.problems == 1 ? '1 problem'"
                            " : project.problems + ' problems'"},
    Row{"Status: branch", "project.repository.branch + (project.repository.changed > 0 ? '*' : '')"},
    Row{"Status: ahead and behind", "max(project.repository.ahead, project.repository.behind)"},
    Row{"Status: debugger",
        "debug.state == 'stopped' ? 'Stopped in ' + (debug.frame.function ?? '?') + ':' + debug.frame.line"
        " : debug.state == 'running' ? 'Running' : ''"},
    Row{"Status: colour", "debug.state != 'inactive' ? 'orange' : project.trusted ? 'blue' : 'grey'"},
    Row{"Status: read-only lock", "!!editor.readOnly"},
};

}   // namespace

std::vector<Expression> expressions()
{
    std::vector<Expression> result;
    result.reserve(s_rows.size());
    for (Row const& row : s_rows)
        result.push_back({row.text, row.what});
    return result;
}

}   // namespace workbench::sample
