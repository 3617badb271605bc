#include "workbench/sample/Sample.h"

namespace workbench::sample {

namespace {

constexpr char const* EDITOR = R"json({
  "source": "editor",
  "definitions": {
    "canEdit": "!editor.readOnly && window.focus == 'editor'",
    "hasText": "selection.characters > 0",
    "isStopped": "debug.state == 'stopped'"
  },
  "commands": [
    {"id": "save", "title": "Save", "category": "File", "enabled": "editor.dirty && !editor.readOnly"},
    {"id": "saveAll", "title": "Save All", "category": "File", "enabled": "window.files > 1 && editor.dirty"},
    {"id": "reload", "title": "Reload", "category": "File", "enabled": "defined(editor.file) && !editor.dirty"},
    {"id": "close", "title": "Close {editor.file ?? ''}", "category": "File", "enabled": "defined(editor.file)"},
    {"id": "undo", "title": "Undo{editor.undo > 0 ? ' (' + editor.undo + ')' : ''}", "category": "Edit",
     "enabled": "editor.undo > 0 && canEdit"},
    {"id": "redo", "title": "Redo{editor.redo > 0 ? ' (' + editor.redo + ')' : ''}", "category": "Edit",
     "enabled": "editor.redo > 0 && canEdit"},
    {"id": "cut", "title": "Cut", "category": "Edit", "enabled": "hasText && canEdit"},
    {"id": "copy", "title": "Copy", "category": "Edit",
     "enabled": "hasText && window.focus in ['editor', 'panel']"},
    {"id": "paste", "title": "Paste", "category": "Edit", "enabled": "window.clipboard && canEdit"},
    {"id": "duplicate", "title": "Duplicate Line", "category": "Lines", "enabled": "canEdit && editor.lines > 0"},
    {"id": "join", "title": "Join Lines", "category": "Lines", "enabled": "canEdit && selection.lines > 1"},
    {"id": "comment", "title": "Toggle Comment", "category": "Lines",
     "enabled": "canEdit && editor.language in ['cpp', 'python', 'shell', 'cmake']"},
    {"id": "wrap", "title": "Wrap Lines", "category": "Lines", "checked": "editor.wrap"},
    {"id": "start", "title": "Start", "category": "Debug",
     "enabled": "debug.state == 'inactive' && project.trusted && project.problems == 0"},
    {"id": "continue", "title": "Continue", "category": "Debug", "enabled": "isStopped"},
    {"id": "stepOver", "title": "Step Over", "category": "Debug", "enabled": "isStopped && debug.frame.source"},
    {"id": "stepInto", "title": "Step Into", "category": "Debug", "enabled": "isStopped && debug.frame.source"},
    {"id": "stepOut", "title": "Step Out of {debug.frame.function ?? 'Function'}", "category": "Debug",
     "enabled": "isStopped && debug.frame.depth > 1"},
    {"id": "stop", "title": "Stop", "category": "Debug", "enabled": "debug.state in ['running', 'stopped']"},
    {"id": "breakpoint", "title": "Toggle Breakpoint", "category": "Debug",
     "enabled": "editor.language in ['cpp', 'python'] && window.focus == 'editor'"}
  ],
  "menus": {
    "File": [
      {"command": "save", "group": "save", "order": 1},
      {"command": "saveAll", "group": "save", "order": 2},
      {"command": "reload", "group": "then"},
      {"command": "close", "group": "then", "order": 9}
    ],
    "Edit": [
      {"command": "undo", "group": "navigation", "order": 1},
      {"command": "redo", "group": "navigation", "order": 2},
      {"command": "cut", "group": "clipboard", "order": 1},
      {"command": "copy", "group": "clipboard", "order": 2},
      {"command": "paste", "group": "clipboard", "order": 3},
      {"submenu": "Lines", "title": "Lines", "when": "defined(editor.file)"}
    ],
    "Lines": [
      {"command": "duplicate", "group": "edit", "order": 1}, {"command": "join", "group": "edit", "order": 2},
      {"command": "comment", "group": "edit", "order": 3}, {"command": "wrap", "group": "view"}
    ],
    "Debug": [
      {"command": "start", "when": "debug.state == 'inactive'", "group": "run", "order": 1},
      {"command": "continue", "when": "debug.state != 'inactive'", "group": "run", "order": 1},
      {"command": "stepOver", "when": "debug.state != 'inactive'", "group": "step", "order": 1},
      {"command": "stepInto", "when": "debug.state != 'inactive'", "group": "step", "order": 2},
      {"command": "stepOut", "when": "debug.state != 'inactive'", "group": "step", "order": 3},
      {"command": "stop", "when": "debug.state != 'inactive'", "group": "run", "order": 2},
      {"command": "breakpoint", "group": "step", "order": 4}
    ]
  },
  "keys": [
    {"keys": "ctrl+s", "command": "save"},
    {"keys": "ctrl+k ctrl+s", "command": "saveAll"},
    {"keys": "ctrl+w", "command": "close"},
    {"keys": "ctrl+z", "command": "undo"},
    {"keys": "ctrl+y", "command": "redo"},
    {"keys": "ctrl+x", "command": "cut"},
    {"keys": "ctrl+c", "command": "copy"},
    {"keys": "ctrl+v", "command": "paste"},
    {"keys": "ctrl+d", "command": "duplicate", "when": "window.focus == 'editor'"},
    {"keys": "ctrl+k ctrl+c", "command": "comment", "when": "window.focus == 'editor'"},
    {"keys": "f5", "command": "start"},
    {"keys": "f5", "command": "continue", "when": "debug.state != 'inactive'"},
    {"keys": "shift+f5", "command": "stop"},
    {"keys": "f10", "command": "stepOver"},
    {"keys": "f11", "command": "stepInto"},
    {"keys": "shift+f11", "command": "stepOut"},
    {"keys": "f9", "command": "breakpoint"}
  ]
})json";

constexpr char const* VERSIONS = R"json({
  "source": "versions",
  "definitions": {"isOpen": "defined(project.repository)"},
  "commands": [
    {"id": "commit", "title": "Commit", "category": "Repository",
     "enabled": "isOpen && project.repository.staged > 0"},
    {"id": "push", "title": "Push to {project.repository.branch ?? 'branch'}", "category": "Repository",
     "enabled": "isOpen && project.repository.remote && project.repository.ahead > 0"},
    {"id": "compare", "title": "Compare", "category": "Repository",
     "enabled": "isOpen && project.repository.changed > 0"}
  ],
  "menus": {
    "Repository": [
      {"command": "commit", "group": "change", "order": 1}, {"command": "push", "group": "change", "order": 2},
      {"command": "compare", "group": "look"}
    ]
  },
  "keys": [
    {"keys": "ctrl+enter", "command": "commit", "when": "window.focus == 'sidebar'"},
    {"keys": "ctrl+k ctrl+p", "command": "push"},
    {"keys": "ctrl+d", "command": "compare", "weight": 10}
  ]
})json";

constexpr char const* USER = R"json({
  "source": "user",
  "keys": [
    {"command": "-breakpoint", "keys": "f9"},
    {"keys": "ctrl+f8", "command": "breakpoint", "weight": 100}
  ]
})json";

}   // namespace

std::vector<Manifest> manifests()
{
    return {{"editor", EDITOR}, {"versions", VERSIONS}, {"user", USER}};
}

std::vector<Moment> moments()
{
    return {
        {"type", 1, {}, {}, "File", {"ctrl+s", "ctrl+k ctrl+s", "ctrl+y"}},
        {"trust ledger", 1, "versions", {}, "Repository", {"ctrl+enter"}},
        {"show config.h", 1, {}, {}, "Edit", {"ctrl+x", "ctrl+d", "f9"}},
        {"stage", 1, {}, {}, "Repository", {"ctrl+enter", "ctrl+d"}},
        {"stop in Report::total", 3, {}, {}, "Debug", {"f5", "f11", "ctrl+f8", "ctrl+k"}, true},
        {"close the project", 1, {}, "versions", "Repository", {"ctrl+enter", "ctrl+d"}},
    };
}

}   // namespace workbench::sample
