#pragma once

#include "workbench/Document.h"

#include <string>
#include <utility>
#include <vector>

namespace workbench::sample {

/// The expressions of a small editor: when commands are enabled, what menus show, what labels say.
std::vector<Expression> expressions();

/// Conditions of the menu entries, and the sentence for people where one does not hold.
std::vector<std::pair<std::string, std::string>> reasons();

/// A day at that editor, equal at every call: files, two projects, a debugger. It holds no recorded answers.
Recording day();

}   // namespace workbench::sample
