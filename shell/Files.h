#pragma once

#include "workbench/Document.h"

#include <string>
#include <utility>
#include <vector>

namespace shell {

/// What a shell works on: a recorded session, its expressions, and sentences for people. Empty for a fresh model.
struct Material {
    std::string title;
    std::vector<workbench::Expression> expressions;
    workbench::Recording recording;
    std::vector<std::pair<std::string, std::string>> reasons;   ///< conditions, and what to say if they do not hold
};

/// The files that commands read and write. *Throws* `workbench::DocumentError` for a file that cannot be used.
class Files {
public:
    Files() = default;
    Files(Files const&) = delete;
    Files& operator=(Files const&) = delete;
    virtual ~Files() = default;

    /// Reads a file of expressions and a session over them.
    virtual Material load(std::string const& expressions, std::string const& session) = 0;
    /// Returns the material of the built-in sample.
    virtual Material sample() = 0;
    /// Writes a whole file, or leaves the one that is there as it was.
    virtual void write(std::string const& name, std::string const& text) = 0;
};

/// The files of the machine.
class DiskFiles final : public Files {
public:
    /// Files that exist are overwritten only if `overwrites` is true.
    explicit DiskFiles(bool overwrites) noexcept : overwrites{overwrites} {}

    Material load(std::string const& expressions, std::string const& session) override;
    Material sample() override;
    void write(std::string const& name, std::string const& text) override;

private:
    bool overwrites;
};

}   // namespace shell
