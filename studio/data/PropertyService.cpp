#include "studio/data/PropertyService.h"

#include <utility>

namespace studio::data {

/// A source whose `getTriggers` is running: alive until it returns, whatever it does to itself or its service.
struct PropertyService::Asked : private boost::noncopyable {
    Asked(PropertyService& owner, PropertySource& source) : service{&owner}, source{&source}, outer{owner.asked}
    {
        owner.asked = this;
    }
    ~Asked()
    {
        if (service)
            service->asked = outer;
    }

    PropertyService* service;   // null once destroyed
    PropertySource* source;
    Asked* outer;
    std::unique_ptr<PropertySource> removed;   // the source, once the service no longer owns it
};

// One by one, so that the registry is consistent whenever a service is destroyed.
PropertyService::Services::~Services()
{
    while (!empty())
        extract(begin());
}

// Before other statics: in a program that links the archive, their constructors may register services.
[[gnu::init_priority(1000)]] PropertyService::Services PropertyService::s_services;

PropertyService::PropertyService(std::string const& name) : name{name} {}

PropertyService::~PropertyService()
{
    for (Asked* frame = asked; frame; frame = frame->outer) {
        frame->service = nullptr;
        if (auto const entry = sources.find(frame->source); entry != sources.end())
            frame->removed = std::move(entry->second);
    }
}

void PropertyService::add(std::unique_ptr<PropertyService> service)
{
    if (service)
        s_services.try_emplace(service->name, std::move(service));
}

PropertyService* PropertyService::get(std::string const& name)
{
    auto const entry = s_services.find(name);
    return entry == s_services.end() ? nullptr : entry->second.get();
}

void PropertyService::remove(std::string const& name)
{
    // Remove first: the service's destructor may use the registry.
    auto const removed = s_services.extract(name);
}

void PropertyService::addSource(std::unique_ptr<PropertySource> source)
{
    PropertySource* const added = source.get();
    if (!added)
        return;
    if (!sources.try_emplace(added, std::move(source)).second) {
        static_cast<void>(source.release());   // owned twice: keep the service's owner
        return;
    }
    Asked frame{*this, *added};
    std::unordered_set<std::string> const names = added->getTriggers();
    if (frame.removed)
        return;   // removed by itself or with the service, which may be destroyed
    for (std::string const& property : names)
        triggers[property].insert(added);
}

void PropertyService::removeSource(PropertySource* source)
{
    auto entry = sources.extract(source);
    if (!entry)
        return;
    for (Asked* frame = asked; frame; frame = frame->outer)
        if (frame->source == source)
            frame->removed = std::move(entry.mapped());
}

std::unordered_set<PropertySource*> PropertyService::getTriggeredSources(std::vector<std::string> const& names) const
{
    std::unordered_set<PropertySource*> triggered;
    if (names.empty()) {
        for (auto const& owned : sources)
            triggered.insert(owned.first);
        return triggered;
    }
    for (std::string const& property : names)
        if (auto const entry = triggers.find(property); entry != triggers.end())
            triggered.insert(entry->second.begin(), entry->second.end());
    return triggered;
}

std::unordered_set<PropertySource*> PropertyService::getTriggeredSources(std::string const& property) const
{
    return getTriggeredSources(std::vector<std::string>{property});
}

}   // namespace studio::data
