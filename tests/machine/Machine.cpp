#include "machine/Machine.h"

#include "machine/Interposed.h"
#include "support/Allocations.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/detail/UuidSource.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <utility>

namespace machine {

namespace {

/// Returns the elements of the shared model.
std::vector<tarn::zero::ModelElement> elements()
{
    return studio::data::ContextProvider::sharedModel()->elements();
}

template <class Lines>
std::string joined(Lines const& lines)
{
    std::string text;
    for (std::string const& line : lines)
        text += line + '\n';
    return text;
}

using AllBindings = std::array<Bindings, ENGINES>;

std::string shown(AllBindings const& engines)
{
    std::ostringstream out;
    for (Bindings const& bindings : engines)
        for (auto const& [symbol, bound] : bindings) {
            out << &bindings - engines.data() << " `" << symbol << "`*" << bound.first;
            for (Leaf const& leaf : bound.second)
                out << ' ' << leaf.offset << '#' << leaf.context;
            out << '\n';
        }
    return out.str();
}

/// Returns true if no symbol was unbound; symbols may have been bound further.
bool isKept(AllBindings const& before, AllBindings const& after)
{
    for (std::size_t i = 0; i != ENGINES; ++i)
        for (auto const& [symbol, bound] : before[i]) {
            auto const now = after[i].find(symbol);
            Leaves const& leaves = now == after[i].end() ? Leaves{} : now->second.second;
            if (!std::includes(leaves.begin(), leaves.end(), bound.second.begin(), bound.second.end()))
                return false;
        }
    return true;
}

}   // namespace

Machine::Machine(Bytes const& bytes) : m_script{bytes}, m_system{m_script, m_ids}, m_model{m_script, m_ids, m_system}
{
    for (tarn::zero::ModelElement const& left : elements())
        left->destroy();
    static std::uint64_t s_machines = 0;   // gives each its own identities, equal in every process
    tarn::zero::detail::seedUuids(++s_machines);
}

Machine::~Machine() = default;

bool Machine::step(Fault fault)
{
    if (m_taken == m_script.size() || !m_difference.empty())
        return false;
    Op const op = m_script.step(m_taken++);
    if (fault == Fault::None || fault == Fault::Callback) {
        int const throwAt = fault == Fault::None ? 0 : static_cast<int>(1 + m_taken % 7);
        forgetEvaluations();
        m_system.take(op, throwAt);
        m_model.take(op, throwAt);
        compareTexts("evaluations", joined(m_system.evaluations()), joined(m_model.evaluations()));
    } else {
        takeWithFaults(op, fault);
    }
    compare();
    if (m_difference.empty())
        return true;
    m_difference = "step " + std::to_string(m_taken) + ", " + op.line() + "\n" + m_difference;
    return false;
}

std::string const& Machine::run(Fault fault)
{
    while (step(fault)) {}
    if (!m_difference.empty())
        return m_difference;
    forgetEvaluations();
    m_system.end();
    m_model.end();
    compare();
    return m_difference;
}

/// Returns the state that a failed step must leave unchanged.
std::string Machine::visible() const
{
    return m_system.contents() + joined(m_system.values()) + m_system.handles() + m_system.mirrors();
}

void Machine::takeWithFaults(Op const& original, Fault fault)
{
    Op op = original;
    op.name = op.name.substr(op.name.rfind('.') + 1);   // each write of a dotted path is a step of its own
    // A restoration that fails is undone by a report of its own, so it counts as two steps.
    bool const isCompound = op.kind == Kind::Batch || op.kind == Kind::BatchBack || op.kind == Kind::Restore;
    std::string const contents = m_system.contents();
    std::string const done = contents + m_system.handles() + m_system.present();
    std::string const before = visible();
    AllBindings const bindings = m_system.bindings();
    for (std::size_t skipped = m_taken % 5; !isCompound && skipped < 400; ++skipped) {
        if (!tryWithFault(op, fault, skipped))
            return m_model.take(op, 0, true);
        ++m_faults[op.kind];
        m_difference += m_system.checkInvariants();
        if (op.kind == Kind::Commit)
            return acceptVisibleEffect(m_system.contents() == contents ? op : Op::of(Kind::RollBack));
        if (m_system.contents() + m_system.handles() + m_system.present() != done)
            return acceptVisibleEffect(op);
        if (op.kind != Kind::Bind && !isKept(bindings, m_system.bindings()))
            m_difference += "a step that failed has unbound a symbol: " + shown(bindings) + shown(m_system.bindings());
        if (visible() != before)   // an update on demand is done once its value is set, even if no callback ran
            return acceptVisibleEffect(op.kind == Kind::Bind ? op : Op::of(Kind::Nothing));
        if (op.kind == Kind::Create)
            m_system.destroyNameless();
        m_system.countLike(m_model);   // as if it had not been tried
        m_system.takeLog();
    }
    forgetEvaluations();
    m_system.take(op);
    m_model.take(op);
}

/// Runs a step with one fault. Returns false if no fault occurred.
bool Machine::tryWithFault(Op const& op, Fault fault, std::size_t skipped)
{
    support::Exempt const ours;
    forgetEvaluations();
    try {
        if (fault == Fault::LookUp) {
            FailingLookUp const failing{skipped};
            m_system.take(op, 0, true);
            return failing.happened();
        }
        using Sticky = support::FailingAllocation::Sticky;
        support::FailingAllocation const failing{skipped, fault == Fault::Allocations ? Sticky::Yes : Sticky::No};
        m_system.take(op, 0, true);
        return failing.happened();
    } catch (machine::Fault const&) {
        return true;
    }
}

/// Accepts a step that took effect although not all listeners were notified: values must be those before or after it.
/// Once everything has been rewritten, they must be those after it.
void Machine::acceptVisibleEffect(Op const& op)
{
    std::set<std::string> known = m_model.values();
    m_model.take(op, 0, true);
    known.merge(m_model.values());
    for (std::string const& line : m_system.values())
        if (known.count(line) == 0)
            m_difference += "neither before nor after: " + line + '\n';
    m_system.rollBackAll();
    m_model.rollBackAll();
    m_system.destroyLeftovers();
    m_model.destroyLeftovers();
    compareTexts("contents", m_system.contents(), m_model.contents());
    compareTexts("handles", m_system.handles(), m_model.handles());
    for (int i = 0; i != 2; ++i) {   // the second completes what the first has mirrored
        forgetEvaluations();
        m_system.touchAll();
        m_model.touchAll();
    }
    m_difference += m_system.checkInvariants(true);
    m_system.omitMirrorsOfDestroyed();
    m_model.omitMirrorsOfDestroyed();
    m_model.countLike(m_system);
    m_system.takeLog();
    m_model.takeLog();
    m_staleness = m_model.stale();
}

void Machine::compare()
{
    std::string const heard = m_system.takeLog();
    compareTexts("calls", heard, m_model.takeLog());
    m_log += heard;
    compareTexts("contents", m_system.contents(), m_model.contents());
    compareTexts("values", joined(m_system.values()), joined(m_model.values()));
    Dice dice{m_taken};
    for (int i = 0; i != 2; ++i) {
        int const slot = dice.below(SLOTS);
        std::string const path = Script::path(dice);
        compareTexts(path.c_str(), m_system.read(slot, path), m_model.read(slot, path));
    }
    compareTexts("elements", std::to_string(elements().size()), std::to_string(m_model.elements()));
    compareTexts("present", m_system.present(), m_model.present());
    AllBindings const bindings = m_system.bindings();
    if (AllBindings const expected = m_model.bindings(bindings); bindings != expected)
        compareTexts("bindings", shown(bindings), shown(expected));
    compareTexts("mirrors", m_system.mirrors(), m_model.mirrors());
    m_difference += m_system.checkInvariants();
    checkFreshness();
}

void Machine::forgetEvaluations()
{
    m_system.forgetEvaluations();
    m_model.forgetEvaluations();
}

void Machine::compareTexts(char const* what, std::string const& system, std::string const& model)
{
    if (system != model)
        m_difference += std::string{what} + " are\n" + system + "\nand not\n" + model + "\n";
}

/// Checks that values are those of a fresh evaluation and mirrors equal their sources, except for documented staleness.
void Machine::checkFreshness()
{
    if (m_model.isInTransaction())
        return;
    bool const mayLag = m_model.takeMayBeStale();
    Stale stale = m_model.stale();
    auto const wasBehind = [this](std::string const& what) { return m_staleness.count(what) != 0; };
    for (auto const& [what, excuses] : stale)
        if (!mayLag && !wasBehind(what) && std::none_of(excuses.begin(), excuses.end(), wasBehind))
            m_difference += "an update was lost: " + what + '\n';
    m_staleness = std::move(stale);
}

Bytes shrink(Bytes bytes, Machine::Fault fault)
{
    auto const fails = [fault](Bytes const& candidate) { return !Machine{candidate}.run(fault).empty(); };
    for (std::size_t chunk = (bytes.size() - Script::HEADER) / Script::STEP; chunk != 0; chunk /= 2)
        for (std::size_t at = Script::HEADER; at + chunk * Script::STEP <= bytes.size();) {
            Bytes candidate = bytes;
            auto const first = candidate.begin() + static_cast<std::ptrdiff_t>(at);
            candidate.erase(first, first + static_cast<std::ptrdiff_t>(chunk * Script::STEP));
            if (fails(candidate))
                bytes = std::move(candidate);
            else
                at += chunk * Script::STEP;
        }
    return bytes;
}

std::string describe(Bytes const& bytes)
{
    Script const script{bytes};
    std::string text;
    for (std::size_t i = 0; i != script.size(); ++i)
        text += script.step(i).line() + '\n';
    return text;
}

}   // namespace machine
