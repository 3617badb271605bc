#include "gel/detail/ProgramCache.h"

#include "gel/detail/Instructions.h"
#include "gel/detail/Parser.h"

#include <utility>

namespace gel::detail {

namespace {

ProgramCache::Parsed parsed(std::string const& text)
{
    return std::make_shared<Instructions const>(Parser::parse(text));
}

// Trivially destructible, hence still readable when the thread's cache is gone.
thread_local bool s_cacheIsGone = false;

struct ThreadCache {
    ProgramCache programs;

    ~ThreadCache() { s_cacheIsGone = true; }
};

}   // namespace

Program programOf(std::string const& text)
{
    if (s_cacheIsGone)
        return Program(parsed(text));
    thread_local ThreadCache s_cache;
    return Program(s_cache.programs.of(text));
}

ProgramCache::Parsed const& ProgramCache::of(std::string const& text)
{
    if (auto const found = m_young.find(text); found != m_young.end())
        return found->second;
    if (auto const found = m_old.find(text); found != m_old.end()) {
        Generation::node_type node = m_old.extract(found);   // before the old generation can be dropped
        makeRoom();
        return m_young.insert(std::move(node)).position->second;
    }
    Parsed made = parsed(text);
    makeRoom();
    return m_young.emplace(text, std::move(made)).first->second;
}

void ProgramCache::makeRoom()
{
    if (m_young.size() < GENERATION)
        return;
    m_old = std::move(m_young);
    m_young.clear();
}

}   // namespace gel::detail
