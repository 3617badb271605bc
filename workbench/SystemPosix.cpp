#include "workbench/System.h"

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace workbench::system {

bool isTerminal(Stream stream) noexcept
{
    static constexpr int DESCRIPTORS[] = {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO};
    return isatty(DESCRIPTORS[static_cast<std::size_t>(stream)]) != 0;
}

std::optional<std::size_t> terminalColumns() noexcept
{
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    return std::nullopt;
}

void prepareStreams() noexcept
{
    // open() returns the lowest free descriptor. Writing to one that is open for reading only fails.
    int descriptor = STDIN_FILENO;
    while (descriptor >= 0 && descriptor <= STDERR_FILENO)
        descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (descriptor > STDERR_FILENO)
        close(descriptor);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

std::vector<std::string> argumentsOf(int count, char const* const* words)
{
    return {words + (count > 0 ? 1 : 0), words + count};
}

unsigned long processId() noexcept
{
    return static_cast<unsigned long>(getpid());
}

std::filesystem::path pathOf(std::string const& name)
{
    return name;
}

std::FILE* openToRead(std::filesystem::path const& name) noexcept
{
    return std::fopen(name.c_str(), "rb");
}

std::FILE* createNew(std::filesystem::path const& name) noexcept
{
    return std::fopen(name.c_str(), "wbx");
}

bool moveOver(std::filesystem::path const& from, std::filesystem::path const& to) noexcept
{
    return std::rename(from.c_str(), to.c_str()) == 0;
}

bool moveUnlessTaken(std::filesystem::path const& from, std::filesystem::path const& to) noexcept
{
    if (::link(from.c_str(), to.c_str()) == 0) {
        std::remove(from.c_str());
        return true;
    }
    if (errno != EPERM && errno != ENOTSUP && errno != EOPNOTSUPP && errno != ENOSYS)
        return false;
    // Without hard links, an empty file takes the name first.
    std::FILE* const reserved = createNew(to);
    if (reserved == nullptr)
        return false;
    std::fclose(reserved);
    if (moveOver(from, to))
        return true;
    int const reason = errno;
    std::remove(to.c_str());
    errno = reason;
    return false;
}

}   // namespace workbench::system
