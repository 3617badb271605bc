#include "benchmarks/Process.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <system_error>

#include <sys/wait.h>
#include <unistd.h>

namespace benchmarks {

namespace {

constexpr int FAILED = 3;

[[noreturn]] void fail(char const* call)
{
    throw std::system_error(errno, std::generic_category(), call);
}

/// Runs in the new process.
[[noreturn]] void answer(int pipe, std::function<Figures()> const& measure)
{
    try {
        Figures const figures = measure();
        std::size_t const bytes = figures.size() * sizeof(double);
        std::fflush(nullptr);
        _exit(write(pipe, figures.data(), bytes) == static_cast<ssize_t>(bytes) ? EXIT_SUCCESS : FAILED);
    } catch (std::exception const& error) {
        std::fprintf(stderr, "studio-bench: %s\n", error.what());
        _exit(FAILED);
    }
}

}   // namespace

Figures apart(std::function<Figures()> const& measure)
{
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0)
        fail("pipe");
    std::fflush(nullptr);
    pid_t const child = fork();
    if (child == -1)
        fail("fork");
    if (child == 0)
        answer(ends[1], measure);
    close(ends[1]);
    Figures figures;
    for (double figure = 0; read(ends[0], &figure, sizeof figure) == sizeof figure;)
        figures.push_back(figure);
    close(ends[0]);
    int status = 0;
    if (waitpid(child, &status, 0) != child)
        fail("waitpid");
    if (status != 0)
        std::exit(WIFEXITED(status) ? WEXITSTATUS(status) : FAILED);
    return figures;
}

}   // namespace benchmarks
