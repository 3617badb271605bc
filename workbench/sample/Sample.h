#pragma once

#include "workbench/Document.h"

#include <vector>

namespace workbench::sample {

/// What a small editor asks of its contexts: when commands are enabled, what menus show, what labels say.
std::vector<Expression> expressions();

/// A day at that editor, the same at every call: files, two projects, a debugger. It holds no recorded answers.
Recording day();

}   // namespace workbench::sample
