#include "gel/detail/ProgramCache.h"

#include "gel/detail/Evaluator.h"
#include "gel/detail/OfThread.h"
#include "gel/detail/Parser.h"

#include <utility>

namespace gel::detail {

namespace {

/// Trivially destructible, hence readable after the thread's cache is destroyed.
struct Thread {
    ProgramCache* cache = nullptr;
    bool hadCache = false;
};
constinit thread_local Thread s_thread;

struct ThreadCache {
    ThreadCache() { s_thread = {&programs, true}; }
    ~ThreadCache() { s_thread = {nullptr, true}; }

    ProgramCache programs;
};

/// The cache of this thread; null after its destruction.
ProgramCache* threadCache()
{
    Thread& thread = s_thread;
    if (!thread.cache && !thread.hadCache)
        makeForThread<ThreadCache>();
    return thread.cache;
}

}   // namespace

Program programOf(std::string const& text)
{
    ProgramCache* const cache = threadCache();
    return cache ? cache->of(text).handle() : Parser::parse(text);
}

Value evaluateText(std::string const& text, DataSource const& source)
{
    ProgramCache* const cache = threadCache();
    return cache ? cache->evaluate(cache->of(text), source) : Parser::parse(text).evalPinned(source);
}

/// A running evaluation, in the thread's list of them.
class ProgramCache::Running {
public:
    Running(ProgramCache& cache, Instructions const& program) noexcept
        : m_program(program), m_before(&cache.m_running), m_next(std::exchange(cache.m_running, this))
    {
        if (m_next)
            m_next->m_before = &m_next;
    }
    ~Running()
    {
        *m_before = m_next;   // not always the first: a lookup may have switched to another stack
        if (m_next)
            m_next->m_before = m_before;
        if (m_isHeld)
            m_program.release();
    }
    Running(Running const&) = delete;
    Running& operator=(Running const&) = delete;

    /// Takes references on the programs of an evaluation and of all that began before it.
    static void holdAll(Running* running) noexcept
    {
        for (; running && !running->m_isHeld; running = running->m_next) {   // all behind a held one are held
            running->m_program.hold();
            running->m_isHeld = true;
        }
    }

private:
    Instructions const& m_program;
    bool m_isHeld = false;
    Running** m_before;
    Running* m_next;
};

Value ProgramCache::evaluate(Instructions const& program, DataSource const& source)
{
    Running const running(*this, program);
    return detail::evaluate(program, source);
}

/// Inserts a text into the young generation.
Instructions const& ProgramCache::fetch(std::string const& text, std::uint64_t hash)
{
    Instructions const* const found = m_old.find(text, hash);
    Program const program = found ? found->handle() : Parser::parse(text);   // before the old generation may be dropped
    makeRoom();
    m_young.insert(Instructions::of(program), hash);
    return Instructions::of(program);
}

void ProgramCache::makeRoom()
{
    if (m_young.size() < GENERATION)
        return;
    Running::holdAll(m_running);
    m_old.swap(m_young);   // reuses the old array
    m_young.clear();
}

}   // namespace gel::detail
