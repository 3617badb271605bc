#pragma once

#include "machine/ReferenceModel.h"
#include "machine/Steps.h"
#include "machine/SystemUnderTest.h"

#include <cstdint>
#include <map>
#include <string>

namespace machine {

/// Model-based test: runs the steps decoded from bytes in the system under test and in its reference model, and
/// compares all observable state.
class Machine {
public:
    /// The fault injected into a step: one allocation fails, all allocations from one on fail, a callback throws, or
    /// the look-up of a provider fails.
    enum class Fault { None, Allocation, Allocations, Callback, LookUp };

    explicit Machine(Bytes const& bytes);
    ~Machine();

    /// Runs the next step. Returns false if there is none or a difference was found. With a fault, repeats the step
    /// with the fault injected one call later each time, until it succeeds or leaves a visible effect. That effect must
    /// be a documented one and must be gone once every property has been rewritten.
    bool step(Fault fault = Fault::None);
    /// Runs all steps and destroys everything. Returns the first difference and its step; empty if there is none.
    std::string const& run(Fault fault = Fault::None);

    std::string const& difference() const noexcept { return m_difference; }
    std::size_t taken() const noexcept { return m_taken; }
    Script const& script() const noexcept { return m_script; }
    /// Returns the log of all callbacks so far.
    std::string const& log() const noexcept { return m_log; }

    /// Returns the number of faults per kind of step.
    std::map<Kind, std::size_t> const& faults() const noexcept { return m_faults; }

private:
    std::string visible() const;
    void takeWithFaults(Op const& op, Fault fault);
    bool tryWithFault(Op const& op, Fault fault, std::size_t skipped);
    void acceptVisibleEffect(Op const& op);
    void compare();
    void forgetEvaluations();
    void compareTexts(char const* what, std::string const& system, std::string const& model);
    void checkFreshness();

    Script m_script;
    Ids m_ids;
    SystemUnderTest m_system;
    ReferenceModel m_model;
    std::size_t m_taken = 0;
    std::string m_log;
    std::string m_difference;
    std::map<Kind, std::size_t> m_faults;
    Stale m_staleness;   // documented staleness
};

/// Returns the fewest steps of `bytes` that still show a difference.
Bytes shrink(Bytes bytes, Machine::Fault fault = Machine::Fault::None);
/// Returns the steps as text, a line each.
std::string describe(Bytes const& bytes);

}   // namespace machine
