#pragma once

#include "workbench/Document.h"

#include <string>
#include <vector>

namespace workbench {

// Writes the format of loadExpressions() and loadRecording(), a line for each expression and step.

std::string expressionsText(std::vector<Expression> const& expressions);
std::string recordingText(Recording const& recording);

/// Returns the first of these names that is taken in the file system; empty if none is.
std::string presentAmong(std::vector<std::string> const& names);

struct File {
    std::string name;
    std::string text;
};

/// Writes several files as a unit: first to temporary files beside them, which are renamed once all are complete.
/// Throws `DocumentError` when a file cannot be written; the existing file is then unchanged.
void writeFiles(std::vector<File> const& files);

}   // namespace workbench
