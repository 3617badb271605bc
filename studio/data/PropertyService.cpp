#include "studio/data/PropertyService.h"

#include <utility>

// STUDIO_DATA_EARLY: marks a static object that is initialised before those of other sources.
#if defined(_MSC_VER)
#pragma warning(disable : 4073)   // for libraries only, which this is
#pragma init_seg(lib)
#define STUDIO_DATA_EARLY
#elif defined(__APPLE__)
#define STUDIO_DATA_EARLY   // Mach-O has no order beyond that of the linked files
#else
#define STUDIO_DATA_EARLY [[gnu::init_priority(1000)]]
#endif

namespace studio::data {

struct PropertyService::Index {
    std::unordered_map<PropertySource*, std::shared_ptr<PropertySource>> sources;
    std::unordered_map<std::string, std::unordered_set<PropertySource*>> triggers;   // not owned
};

// One by one, so that the registry is consistent whenever a service is destroyed.
PropertyService::Services::~Services()
{
    while (!empty())
        extract(begin());
}

PropertyService::Services& PropertyService::services()
{
    static Services s_services;
    return s_services;
}

namespace {

// Builds the registry before other statics, so that it is destroyed after them: in a program that links the archive,
// their destructors may use it.
struct RegistryBuilder {
    RegistryBuilder() { PropertyService::get({}); }
};
STUDIO_DATA_EARLY RegistryBuilder const s_builder;

}   // namespace

PropertyService::PropertyService(std::string const& name) : name{name}, index{std::make_shared<Index>()} {}

PropertyService::~PropertyService()
{
    index->sources.clear();   // a running `addSource` then finds that its source was removed
}

void PropertyService::add(std::unique_ptr<PropertyService> service)
{
    if (service)
        services().try_emplace(service->name, std::move(service));
}

PropertyService* PropertyService::get(std::string const& name)
{
    Services const& all = services();
    auto const entry = all.find(name);
    return entry == all.end() ? nullptr : entry->second.get();
}

void PropertyService::remove(std::string const& name)
{
    // Remove first: the service's destructor may use the registry.
    auto const removed = services().extract(name);
}

void PropertyService::addSource(std::unique_ptr<PropertySource> source)
{
    PropertySource* const added = source.get();
    if (!added)
        return;
    if (index->sources.count(added) != 0) {
        static_cast<void>(source.release());   // owned twice: keep the service's owner
        return;
    }
    // Both live until `getTriggers` returns, whatever it does to the source or the service.
    std::shared_ptr<Index> const kept{index};
    std::shared_ptr<PropertySource> const running{std::move(source)};
    kept->sources.emplace(added, running);
    std::unordered_set<std::string> const names = added->getTriggers();
    if (kept->sources.count(added) == 0)
        return;   // removed by itself or with the service
    for (std::string const& property : names)
        kept->triggers[property].insert(added);
}

void PropertyService::removeSource(PropertySource* source)
{
    index->sources.erase(source);
}

std::unordered_set<PropertySource*> PropertyService::getTriggeredSources(std::vector<std::string> const& names) const
{
    std::unordered_set<PropertySource*> triggered;
    if (names.empty()) {
        for (auto const& owned : index->sources)
            triggered.insert(owned.first);
        return triggered;
    }
    for (std::string const& property : names)
        if (auto const entry = index->triggers.find(property); entry != index->triggers.end())
            triggered.insert(entry->second.begin(), entry->second.end());
    return triggered;
}

std::unordered_set<PropertySource*> PropertyService::getTriggeredSources(std::string const& property) const
{
    return getTriggeredSources(std::vector<std::string>{property});
}

}   // namespace studio::data
