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

/// What `writeFiles` does with a file that exists.
enum class Existing { Replace, Keep };

/// Writes several files as a unit: first to temporary files beside them, which get their names once all are complete.
/// With `Existing::Keep` a name that is taken is an error, also if another program takes it meanwhile: no file of
/// anybody is overwritten. Throws `DocumentError` when a file cannot be written; the existing file is then unchanged,
/// and files of the list before it may have been written.
void writeFiles(std::vector<File> const& files, Existing existing);

}   // namespace workbench
