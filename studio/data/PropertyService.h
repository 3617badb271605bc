#pragma once

#include "foundation/Export.h"
#include "studio/data/PropertySource.h"

#include <boost/core/noncopyable.hpp>

#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace studio::data {

/// Answers which sources a change of properties triggers: an index from names of properties to the sources that named
/// them. It reads no context and runs no source. Services are found by name in one registry of the process, which is
/// built when the library is loaded and destroyed, with the services in it, when the process exits.
///
/// The registry owns its services, a service its sources. The registry and each service are used on one thread at a
/// time.
class STUDIO_DATA_EXPORT PropertyService : private boost::noncopyable {
public:
    /// A service without sources, outside of the registry.
    explicit PropertyService(std::string const& name);
    /// Frees every source, those that are being asked for their triggers when they have answered.
    virtual ~PropertyService();

    // The registry. A service's destructor may use it, also at exit.

    /// Registers a service under its name. If there is one of that name, it stays and the new one is destroyed.
    /// Ignores null. *Throws* `std::bad_alloc`: the service is destroyed then.
    static void add(std::unique_ptr<PropertyService> service);
    /// The service of that name, null if there is none. *Lifetime*: until it is removed or the process exits.
    static PropertyService* get(std::string const& name);
    /// Takes the service of that name out, then destroys it. Ignores a name that nobody has.
    static void remove(std::string const& name);

    // Sources

    /// Owns a source from now on and asks it for its triggers. Ignores null and a source that it owns already.
    /// *Throws* what `getTriggers` throws: the source stays owned, and nothing triggers it; and `std::bad_alloc`: the
    /// source is freed, or it stays owned and only some of its names trigger it.
    void addSource(std::unique_ptr<PropertySource> source);
    /// Frees a source. Ignores null and a source that the service does not own.
    // By design: the names that it had given still answer with its address, which must not be used any more. If a
    // source that is added later comes to stand at that address, those names trigger it too. Hosts rely on a removal
    // costing no look at the names, and compare the answers with the sources that they know to live.
    void removeSource(PropertySource* source);

    /// The sources that a change of these properties triggers, each once; for no names at all, every source that the
    /// service owns. Names that nobody gave trigger nothing.
    /// *Cost*: one look-up for each name, one insertion for each source.
    std::unordered_set<PropertySource*> getTriggeredSources(std::vector<std::string> const& names) const;
    /// The sources that a change of that one property triggers; an empty name is a name like any other.
    std::unordered_set<PropertySource*> getTriggeredSources(std::string const& name) const;

private:
    struct Asked;
    struct STUDIO_DATA_LOCAL Services : std::unordered_map<std::string, std::unique_ptr<PropertyService>> {
        ~Services();
    };

    STUDIO_DATA_LOCAL static Services s_services;

    std::string name;
    std::unordered_map<PropertySource*, std::unique_ptr<PropertySource>> sources;
    std::unordered_map<std::string, std::unordered_set<PropertySource*>> triggers;   // not owned
    Asked* asked = nullptr;   // the innermost source that is being asked for its triggers
};

}   // namespace studio::data
