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

/// Commands, menus and keys, in the form of a manifest.
struct Manifest {
    char const* name;
    char const* text;
};
/// The commands of that editor, of a plugin, and the keys of its user.
std::vector<Manifest> manifests();

/// A step of the day after which it is shown what a menu contains and what keys do.
struct Moment {
    std::string during;              ///< the description of the step
    int nth;                         ///< which of the steps of that description, from the moment before; from 1
    std::string begins;              ///< the manifest that is added then; may be empty
    std::string ends;                ///< the manifest that is removed then; may be empty
    std::string menu;                ///< the menu
    std::vector<std::string> keys;   ///< sequences that are pressed one after the other
    bool isInBrief = false;          ///< shown even where only one is
};
/// The moments to show, in the order of the day. A manifest that none of them begins is there from the start.
std::vector<Moment> moments();

/// A day at that editor, equal at every call: files, two projects, a debugger. It holds no recorded answers.
Recording day();

}   // namespace workbench::sample
