#include "machine/Machine.h"

#include "machine/Interposed.h"
#include "support/Allocations.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/detail/UuidSource.h"

#include <algorithm>
#include <sstream>
#include <utility>

namespace machine {

namespace {

/// Returns the elements of the shared model.
std::vector<tarn::zero::ModelElement> elements()
{
    return studio::data::ContextProvider::sharedModel()->elements();
}

std::string joined(std::set<std::string> const& lines)
{
    std::string text;
    for (std::string const& line : lines)
        text += line;
    return text;
}

/// Splits a text of leaves into one entry per leaf.
std::set<std::string> eachLeaf(std::string const& text)
{
    std::set<std::string> leaves;
    std::istringstream lines{text};
    int engine = 0;
    for (std::string line; std::getline(lines, line);) {
        engine += line == "engine" ? 1 : 0;
        std::istringstream words{line};
        std::string symbol;
        words >> symbol;
        symbol.resize(std::min(symbol.size(), symbol.rfind('*')));
        for (std::string leaf; words >> leaf;)
            leaves.insert(std::to_string(engine) + symbol + leaf);
    }
    return leaves;
}

/// Returns true if no symbol was unbound; symbols may have been bound further.
bool isKept(std::string const& before, std::string const& after)
{
    std::set<std::string> const old = eachLeaf(before);
    std::set<std::string> const now = eachLeaf(after);
    return std::includes(now.begin(), now.end(), old.begin(), old.end());
}

}   // namespace

Machine::Machine(Bytes const& bytes) : m_script{bytes}, m_real{m_script, m_ids}, m_plain{m_script, m_ids}
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
    if (fault == Fault::None || fault == Fault::CallOut) {
        int const throwAt = fault == Fault::None ? 0 : static_cast<int>(1 + m_taken % 7);
        std::size_t const before = evaluationCount();
        std::size_t const plainBefore = m_plain.evaluations();
        m_real.take(op, throwAt);
        m_plain.take(op, throwAt);
        compareTexts("evaluations", std::to_string(evaluationCount() - before),
                     std::to_string(m_plain.evaluations() - plainBefore));
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
    m_real.end();
    m_plain.end();
    compare();
    return m_difference;
}

/// Returns the state that a failed step must leave unchanged.
std::string Machine::visible() const
{
    return m_real.contents() + joined(m_real.values()) + m_real.handles() + m_real.mirrors();
}

void Machine::takeWithFaults(Op const& original, Fault fault)
{
    Op op = original;
    op.name = op.name.substr(op.name.rfind('.') + 1);   // each write of a dotted path is a step of its own
    bool const isCompound = op.kind == Kind::Batch || op.kind == Kind::BatchBack;
    std::string const contents = m_real.contents();
    std::string const done = contents + m_real.handles() + m_real.present();
    std::string const before = visible();
    std::string const leaves = m_real.leaves();
    for (std::size_t skipped = m_taken % 5; !isCompound && skipped < 400; ++skipped) {
        if (!tryWithFault(op, fault, skipped))
            return m_plain.take(op, 0, true);
        ++m_faults[op.kind];
        m_difference += m_real.checkInvariants();
        if (op.kind == Kind::Commit)
            return acceptMark(m_real.contents() == contents ? op : Op::of(Kind::RollBack));
        if (m_real.contents() + m_real.handles() + m_real.present() != done)
            return acceptMark(op);
        if (op.kind != Kind::Bind && !isKept(leaves, m_real.leaves()))
            m_difference += "a step that failed has unbound a symbol: " + leaves + " to " + m_real.leaves();
        if (visible() != before)   // an update on demand is done once its value is set, even if no callback ran
            return acceptMark(op.kind == Kind::Bind ? op : Op::of(Kind::Nothing));
        if (op.kind == Kind::Create)
            m_real.buryNameless();
        m_real.countLike(m_plain);   // as if it had not been tried
        m_real.takeLog();
    }
    m_real.take(op);
    m_plain.take(op);
}

/// Runs a step with one fault. Returns false if no fault occurred.
bool Machine::tryWithFault(Op const& op, Fault fault, std::size_t skipped)
{
    support::Exempt const ours;
    try {
        if (fault == Fault::LookUp) {
            FailingLookUp const failing{skipped};
            m_real.take(op, 0, true);
            return failing.happened();
        }
        using Sticky = support::FailingAllocation::Sticky;
        support::FailingAllocation const failing{skipped, fault == Fault::Allocations ? Sticky::Yes : Sticky::No};
        m_real.take(op, 0, true);
        return failing.happened();
    } catch (machine::Fault const&) {
        return true;
    }
}

/// Accepts a step that took effect although not all listeners were notified: values must be those before or after it.
/// Once everything has been rewritten, they must be those after it.
void Machine::acceptMark(Op const& op)
{
    std::set<std::string> known = m_plain.values();
    m_plain.take(op, 0, true);
    known.merge(m_plain.values());
    for (std::string const& line : m_real.values())
        if (known.count(line) == 0)
            m_difference += "neither before nor after: " + line;
    m_real.rollBackAll();
    m_plain.rollBackAll();
    m_real.bury();
    m_plain.bury();
    compareTexts("contents", m_real.contents(), m_plain.contents());
    compareTexts("handles", m_real.handles(), m_plain.handles());
    for (int i = 0; i != 2; ++i) {   // the second completes what the first has mirrored
        m_real.touchAll();
        m_plain.touchAll();
    }
    m_difference += m_real.checkInvariants(true);
    m_real.tellNoMoreOfTheGone();
    m_plain.tellNoMoreOfTheGone();
    m_plain.countLike(m_real);
    m_real.takeLog();
    m_plain.takeLog();
    m_lag = m_plain.stale();
}

void Machine::compare()
{
    std::string const heard = m_real.takeLog();
    compareTexts("calls", heard, m_plain.takeLog());
    m_log += heard;
    compareTexts("contents", m_real.contents(), m_plain.contents());
    compareTexts("values", joined(m_real.values()), joined(m_plain.values()));
    Dice dice{m_taken};
    for (int i = 0; i != 2; ++i) {
        int const slot = dice.below(SLOTS);
        std::string const path = Script::path(dice);
        compareTexts(path.c_str(), m_real.read(slot, path), m_plain.read(slot, path));
    }
    compareTexts("elements", std::to_string(elements().size()), std::to_string(m_plain.elements()));
    compareTexts("present", m_real.present(), m_plain.present());
    compareTexts("leaves", m_real.leaves(), m_plain.leaves());
    compareTexts("mirrors", m_real.mirrors(), m_plain.mirrors());
    m_difference += m_real.checkInvariants();
    checkFreshness();
}

void Machine::compareTexts(char const* what, std::string const& real, std::string const& plain)
{
    if (real != plain)
        m_difference += std::string{what} + " are\n" + real + "\nand not\n" + plain + "\n";
}

/// Checks that values are those of a fresh evaluation and mirrors equal their sources, except for documented staleness.
void Machine::checkFreshness()
{
    if (m_plain.isInTransaction())
        return;
    bool const mayLag = m_plain.didSomethingLagging();
    Stale stale = m_plain.stale();
    auto const wasBehind = [this](std::string const& what) { return m_lag.count(what) != 0; };
    for (auto const& [what, excuses] : stale)
        if (!mayLag && !wasBehind(what) && std::none_of(excuses.begin(), excuses.end(), wasBehind))
            m_difference += "an update was lost: " + what + '\n';
    m_lag = std::move(stale);
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
