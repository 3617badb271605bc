#include "workbench/Terminal.h"

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <stdexcept>
#include <string_view>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace workbench {

std::optional<std::size_t> terminalWidth()
{
    if (isatty(STDOUT_FILENO) == 0)
        return std::nullopt;
    if (char const* const variable = std::getenv("COLUMNS")) {
        std::string_view const digits = variable;
        std::size_t width = 0;
        auto const [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), width);
        if (error == std::errc() && end == digits.data() + digits.size() && width > 0)
            return width;
    }
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    return std::nullopt;
}

bool canConfirm()
{
    return isatty(STDIN_FILENO) != 0 && isatty(STDERR_FILENO) != 0;
}

bool confirm(std::string const& question)
{
    std::cerr << question << " [y/N] " << std::flush;
    std::string answer;
    if (!std::getline(std::cin, answer))
        std::cerr << '\n';
    return answer == "y" || answer == "yes";
}

void protectStandardStreams()
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

void expectWritten(std::ostream& out)
{
    if (!out.flush())
        throw std::runtime_error(std::string("the output cannot be written: ") + std::strerror(errno));
}

}   // namespace workbench
