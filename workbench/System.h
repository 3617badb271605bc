#pragma once

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace workbench::system {

// What the programs need of the operating system, and each has in its own way. Texts are UTF-8 on all of them.
// Functions that report a failure by their result leave its reason in `errno`.

enum class Stream { Input, Output, Errors };

/// Returns true if a standard stream is a terminal, at which a user sits.
bool isTerminal(Stream stream) noexcept;

/// Returns the width of the standard output's terminal; empty if there is none, or its width is not known.
std::optional<std::size_t> terminalColumns() noexcept;

/// Prepares the standard streams, before anything else uses them. Those that were closed are opened, so that no file
/// opened later takes their place, and writing to them fails; so does writing to a broken pipe, instead of ending the
/// program. Bytes pass as they are, and a terminal shows UTF-8 and obeys control sequences.
void prepareStreams() noexcept;

/// Returns the arguments of `main` without the program's name.
std::vector<std::string> argumentsOf(int count, char const* const* words);

/// Returns a number that no other running process has.
unsigned long processId() noexcept;

/// Returns the path of a file whose name was read from an argument or a command.
std::filesystem::path pathOf(std::string const& name);

/// Opens a file to read its bytes; null if that is not possible.
std::FILE* openToRead(std::filesystem::path const& name) noexcept;

/// Makes a file to write bytes to; null if that is not possible, or the name is taken.
std::FILE* createNew(std::filesystem::path const& name) noexcept;

/// Gives a file another name in the same folder, in one step of the file system. A file that has that name is replaced.
/// Returns false if the name could not be given; nothing has changed then.
bool moveOver(std::filesystem::path const& from, std::filesystem::path const& to) noexcept;

/// Like `moveOver`, but returns false if the name is taken, also if another program takes it meanwhile.
bool moveUnlessTaken(std::filesystem::path const& from, std::filesystem::path const& to) noexcept;

}   // namespace workbench::system
