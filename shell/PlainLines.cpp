#include "shell/LineEditor.h"

#include <iostream>

// The line editor where there is no library for it.

namespace shell {

class LineEditor::Impl {};

LineEditor::LineEditor(Interpreter const& /*interpreter*/) {}

LineEditor::~LineEditor() = default;

std::optional<std::string> LineEditor::read()
{
    std::cout << "studio> " << std::flush;
    std::string line;
    return std::getline(std::cin, line) ? std::optional{line} : std::nullopt;
}

}   // namespace shell
