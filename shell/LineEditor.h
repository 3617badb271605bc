#pragma once

#include "shell/Interpreter.h"

#include <memory>
#include <optional>
#include <string>

namespace shell {

/// Reads lines from the terminal on the standard input. Where libedit is available: with editing, completion by the
/// tabulator, and a history that lasts as long as the editor. Elsewhere the terminal itself edits a line.
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
    class Impl;

    std::unique_ptr<Impl> impl;
};

}   // namespace shell
