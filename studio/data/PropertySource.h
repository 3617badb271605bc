#pragma once

#include "foundation/Export.h"

#include <memory>
#include <string>
#include <type_traits>
#include <unordered_set>
#include <vector>

namespace studio::data {

/// Work that runs again when one of the properties that it names has changed. Clients implement it and add it to a
/// `PropertyService`, which reads the names once and later only returns the source's address. The client runs the
/// source.
///
/// An implementation is `final` and is created with plain `new` (or `make_unique`). This interface is its first base
/// class, so that services return the object's own address. *Lifetime*: owned by a `std::unique_ptr<PropertySource>`.
// By design: the destructor is not virtual. The service runs the interface's destructor and frees the memory; that of
// the implementation never runs, so what it would release is leaked. Hosts give sources plain pointers to what they
// need.
class STUDIO_DATA_EXPORT PropertySource {
public:
    PropertySource() = default;
    PropertySource(PropertySource const&) = delete;
    PropertySource& operator=(PropertySource const&) = delete;

    /// For the client: the source's name for messages. The service never calls it.
    virtual std::string getName() const { return {}; }
    /// For the client: repeats the work after these properties changed. The service never calls it.
    virtual void run(std::vector<std::string> const& /*changed*/) {}
    /// Returns the names of the properties whose change triggers the source. Called once, while the source is being
    /// added. It may add and remove sources of that service, this one too, which is then destroyed after the call
    /// returns.
    virtual std::unordered_set<std::string> getTriggers() = 0;

protected:
    friend struct std::default_delete<PropertySource>;

    ~PropertySource() = default;
};

}   // namespace studio::data

/// Frees a source of any class through the interface: runs the interface's destructor, then frees the memory.
template <>
struct std::default_delete<studio::data::PropertySource> {
    constexpr default_delete() noexcept = default;
    /// Converts from the deleter of a `std::unique_ptr` to an implementation.
    template <class Source>
    requires std::is_convertible_v<Source*, studio::data::PropertySource*> default_delete(default_delete<Source> const&)
    noexcept
    {
        static_assert(alignof(Source) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__, "such memory is freed in another way");
    }

    void operator()(studio::data::PropertySource* source) const noexcept
    {
        void* const memory = dynamic_cast<void*>(source);   // start of the whole object
        source->studio::data::PropertySource::~PropertySource();
        ::operator delete(memory);
    }
};
