#include "support/Instructions.h"

#if defined(STUDIO_DATA_COUNTS_INSTRUCTIONS)

#include <csignal>

#include <x86intrin.h>

namespace support {

namespace {

constexpr unsigned long long TRAP = 0x100;   // the flag that makes the processor trap after each instruction

std::size_t volatile s_count = 0;

void count(int)
{
    s_count = s_count + 1;
}

/// Makes the processor trap while it is in scope.
class Trapping {
public:
    Trapping()
    {
        struct sigaction action {};
        action.sa_handler = count;
        sigaction(SIGTRAP, &action, &m_before);
        s_count = 0;
        __writeeflags(__readeflags() | TRAP);
    }
    Trapping(Trapping const&) = delete;
    Trapping& operator=(Trapping const&) = delete;
    ~Trapping()
    {
        __writeeflags(__readeflags() & ~TRAP);
        sigaction(SIGTRAP, &m_before, nullptr);
    }

private:
    struct sigaction m_before {};
};

}   // namespace

std::size_t instructionsOf(std::function<void()> const& work)
{
    Trapping const trapping;
    work();
    return s_count;
}

}   // namespace support

#endif
