#pragma once

#include "workbench/Document.h"

#include <string>
#include <vector>

namespace workbench {

// What loadExpressions() and loadRecording() read, a line for each expression and step.

std::string expressionsText(std::vector<Expression> const& expressions);
std::string recordingText(Recording const& recording);

/// The first of these names that something stands under; empty if none is taken.
std::string presentAmong(std::vector<std::string> const& names);

struct File {
    std::string name;
    std::string text;
};

/// Writes files that belong together. All are written beside their places first and moved there only when each is
/// complete. Throws `DocumentError` when a file cannot be written; what stood in a place is then still there.
void writeFiles(std::vector<File> const& files);

}   // namespace workbench
