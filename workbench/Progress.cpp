#include "workbench/Progress.h"

#include "workbench/System.h"
#include "workbench/Terminal.h"

#include <cstdio>
#include <string>

namespace workbench {

using system::isTerminal;
using system::Stream;

Progress::Progress(std::size_t total, bool wanted)
    : total{total},
      visible{wanted && total > 0 && isTerminal(Stream::Output) && isTerminal(Stream::Errors)},
      due{std::chrono::steady_clock::now()}
{}

Progress::~Progress()
{
    if (visible)
        std::fputs("\r\x1b[K", stderr);
}

void Progress::advance()
{
    ++done;
    if (visible && std::chrono::steady_clock::now() >= due)
        draw();
}

void Progress::draw()
{
    std::size_t const columns = terminalWidth().value_or(80);
    std::size_t const width = columns < 70 ? 10 : 40;   // a line that wraps would not be overwritten
    std::size_t const full = done * width / total;
    std::string const bar = std::string(full, '#') + std::string(width - full, '.');
    std::fprintf(stderr, "\r[%s] step %zu of %zu", bar.c_str(), done, total);
    due = std::chrono::steady_clock::now() + std::chrono::milliseconds(50);
}

}   // namespace workbench
