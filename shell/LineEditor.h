#pragma once

#include "shell/Interpreter.h"

#include <histedit.h>

#include <memory>
#include <optional>
#include <string>

namespace shell {

/// Reads lines from the terminal on the standard input, with editing, completion by the tabulator, and a history that
/// lasts as long as the editor.
class LineEditor {
public:
    /// *Lifetime*: refers to `interpreter`.
    explicit LineEditor(Interpreter const& interpreter);
    LineEditor(LineEditor const&) = delete;
    LineEditor& operator=(LineEditor const&) = delete;
    ~LineEditor();

    /// Returns the next line without its line feed; empty at the end of the input.
    std::optional<std::string> read();

private:
    static char* prompt(EditLine* editor);
    static unsigned char complete(EditLine* editor, int character);

    Interpreter const& interpreter;
    History* past;
    EditLine* editor;
};

}   // namespace shell
