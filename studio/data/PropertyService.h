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

/// Finds the sources that a change of properties triggers: an index from property names to sources. It reads no context
/// and runs no source. Services are found by name in one registry per process, which is built when the library is
/// loaded and destroyed, with the services in it, when the process exits.
///
/// The registry owns its services, a service its sources. The registry and each service are used on one thread at a
/// time.
class STUDIO_DATA_EXPORT PropertyService : private boost::noncopyable {
public:
    /// Makes a service without sources, outside of the registry.
    explicit PropertyService(std::string const& name);
    /// Frees every source; one whose `getTriggers` is running is freed when that returns.
    virtual ~PropertyService();

    // The registry. A service's destructor may use it, also at exit.

    /// Registers a service under its name. If the name is taken, the registered service stays and the new one is
    /// destroyed. Ignores null. *Throws* `std::bad_alloc`: the service is destroyed then.
    static void add(std::unique_ptr<PropertyService> service);
    /// Returns the service of that name; null if there is none. *Lifetime*: until it is removed or the process exits.
    static PropertyService* get(std::string const& name);
    /// Removes the service of that name from the registry, then destroys it. Ignores an unknown name.
    static void remove(std::string const& name);

    // Sources

    /// Takes ownership of a source and calls its `getTriggers`. Ignores null and a source that it owns already.
    /// *Throws* what `getTriggers` throws: the source stays owned, and nothing triggers it. *Throws* `std::bad_alloc`:
    /// the source is freed, or it stays owned and only some of its names trigger it.
    void addSource(std::unique_ptr<PropertySource> source);
    /// Frees a source. Ignores null and a source that the service does not own.
    // By design: the names of a removed source still yield its address, which must not be dereferenced. If a source
    // added later has that address, those names trigger it too. Hosts rely on a removal that visits no names, and
    // compare the result with the sources that they know to live.
    void removeSource(PropertySource* source);

    /// Returns the sources that a change of these properties triggers, each once; for an empty list, every source that
    /// the service owns. Unknown names trigger nothing. *Cost*: one look-up per name, one insertion per source.
    std::unordered_set<PropertySource*> getTriggeredSources(std::vector<std::string> const& names) const;
    /// Returns the sources that a change of that one property triggers. The empty name is a name like any other.
    std::unordered_set<PropertySource*> getTriggeredSources(std::string const& name) const;

private:
    struct Index;
    struct STUDIO_DATA_LOCAL Services : std::unordered_map<std::string, std::unique_ptr<PropertyService>> {
        ~Services();
    };

    STUDIO_DATA_LOCAL static Services& services();

    std::string name;
    std::shared_ptr<Index> index;   // of sources; kept by a running `addSource`, which may destroy the service
};

}   // namespace studio::data
