#pragma once

#include "workbench/Document.h"

#include <string>
#include <vector>

namespace workbench {

// What loadExpressions() and loadRecording() read, a line for each expression and step.
// Both throw `DocumentError` when the file cannot be written.

void saveExpressions(std::string const& file, std::vector<Expression> const& expressions);
void saveRecording(std::string const& file, Recording const& recording);

}   // namespace workbench
