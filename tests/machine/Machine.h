#pragma once

#include "machine/PlainWorld.h"
#include "machine/RealWorld.h"
#include "machine/Steps.h"

#include <cstdint>
#include <map>
#include <string>

namespace machine {

/// Takes the steps that bytes decide, in the system and in the naive model of it, and compares all that can be seen.
class Machine {
public:
    /// What goes wrong inside of a step: one allocation, all from that one on, a call-out that throws, or a look-up of
    /// a provider.
    enum class Fault { None, Allocation, Allocations, CallOut, LookUp };

    explicit Machine(Bytes const& bytes);
    ~Machine();

    /// Takes the next step; false when there is none left or something differed. With a fault it is taken again and
    /// again, the fault a little later each time, until it is done or has left its mark: then the mark must be one that
    /// is documented, and gone when everything has been touched.
    bool step(Fault fault = Fault::None);
    /// All steps, and the end of everything. What differed first and at which step, or nothing.
    std::string const& run(Fault fault = Fault::None);

    std::string const& difference() const noexcept { return m_difference; }
    std::size_t taken() const noexcept { return m_taken; }
    Script const& script() const noexcept { return m_script; }
    /// Everything that was called out, so far.
    std::string const& log() const noexcept { return m_log; }

    /// How many faults there have been, by the kind of the steps.
    std::map<Kind, std::size_t> const& faults() const noexcept { return m_faults; }

private:
    std::string visible() const;
    void takeWithFaults(Op const& op, Fault fault);
    bool tryWithFault(Op const& op, Fault fault, std::size_t skipped);
    void acceptMark(Op const& op);
    void compare();
    void compareTexts(char const* what, std::string const& real, std::string const& plain);
    void checkFreshness();

    Script m_script;
    Ids m_ids;
    RealWorld m_real;
    PlainWorld m_plain;
    std::size_t m_taken = 0;
    std::string m_log;
    std::string m_difference;
    std::map<Kind, std::size_t> m_faults;
    Stale m_lag;   // what is behind on purpose
};

/// The fewest steps of `bytes` that still make a difference.
Bytes shrink(Bytes bytes, Machine::Fault fault = Machine::Fault::None);
/// The steps, a line each.
std::string describe(Bytes const& bytes);

}   // namespace machine
