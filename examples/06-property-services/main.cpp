// An index from properties to what has to run when they change. The host says what changed, the service which sources
// that triggers, and the host runs them.

#include "studio/data/PropertyService.h"

#include <iostream>
#include <memory>
#include <set>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

using namespace studio::data;

// A source owns nothing that needs a destructor: the service frees its memory and runs only the interface's own.
class Panel final : public PropertySource {
public:
    Panel(char const* name, std::vector<std::string> const& properties) : name{name}, properties{properties} {}

    std::string getName() const override { return name; }
    void run(std::vector<std::string> const& changed) override
    {
        std::cout << "  " << name << " draws itself again, for " << changed.size() << " changes\n";
    }
    std::unordered_set<std::string> getTriggers() override { return {properties.begin(), properties.end()}; }

private:
    char const* name;
    std::vector<std::string> const& properties;
};

// Runs what was triggered, in the order of the names: the service returns them in none.
void changed(std::vector<std::string> const& names)
{
    PropertyService const* const panels = PropertyService::get("panels");
    std::set<std::pair<std::string, PropertySource*>> ordered;
    for (PropertySource* const source : panels->getTriggeredSources(names))
        ordered.emplace(source->getName(), source);
    std::cout << ordered.size() << " of " << panels->getTriggeredSources(std::vector<std::string>{}).size() << '\n';
    for (auto const& entry : ordered)
        entry.second->run(names);
}

int main()
{
    std::vector<std::string> const ofOutline{"file", "cursor"};
    std::vector<std::string> const ofStatus{"cursor", "encoding"};
    PropertyService::add(std::make_unique<PropertyService>("panels"));
    PropertyService* const panels = PropertyService::get("panels");
    panels->addSource(std::make_unique<Panel>("outline", ofOutline));
    panels->addSource(std::make_unique<Panel>("status", ofStatus));

    changed({"cursor"});
    changed({"file", "cursor"});   // both name it: each is run once
    changed({"theme"});

    for (PropertySource* const source : panels->getTriggeredSources("file"))
        panels->removeSource(source);   // the outline; its address is not to be used any more
    changed({"encoding"});
    PropertyService::remove("panels");
}
