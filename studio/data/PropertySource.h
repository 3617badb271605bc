#pragma once

#include "foundation/Export.h"

#include <memory>
#include <string>
#include <type_traits>
#include <unordered_set>
#include <vector>

namespace studio::data {

/// Something that has to run again when one of the properties that it names has changed. Clients implement it and give
/// it to a `PropertyService`, which asks for the names once and then only answers with the source's address; running it
/// is the client's business.
///
/// An implementation is `final` and comes from plain `new` (or `make_unique`). It derives from this interface first:
/// its own address is then the one that services answer with. *Lifetime*: owned by a `std::unique_ptr<PropertySource>`.
// By design: the destructor is not virtual. The service runs the interface's destructor and frees the memory; that of
// the implementation never runs, so what it would release is leaked. Hosts give sources plain pointers to what they
// need.
class STUDIO_DATA_EXPORT PropertySource {
public:
    PropertySource() = default;
    PropertySource(PropertySource const&) = delete;
    PropertySource& operator=(PropertySource const&) = delete;

    /// For the client: what the source is called when people read of it. The service never calls it.
    virtual std::string getName() const { return {}; }
    /// For the client: does the work again after these properties changed. The service never calls it.
    virtual void run(std::vector<std::string> const& /*changed*/) {}
    /// The names of the properties whose change triggers the source. Asked once, while it is being added; may add and
    /// remove sources of that service, this one too, which then lives on until it has answered.
    virtual std::unordered_set<std::string> getTriggers() = 0;

protected:
    friend struct std::default_delete<PropertySource>;

    ~PropertySource() = default;
};

}   // namespace studio::data

/// Frees a source of any class through the interface: the interface's destructor, then the memory, of whatever size.
template <>
struct std::default_delete<studio::data::PropertySource> {
    constexpr default_delete() noexcept = default;
    /// Takes over from a `std::unique_ptr` to an implementation.
    template <class Source>
    requires std::is_convertible_v<Source*, studio::data::PropertySource*> default_delete(default_delete<Source> const&)
    noexcept
    {
        static_assert(alignof(Source) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__, "such memory is freed in another way");
    }

    void operator()(studio::data::PropertySource* source) const noexcept
    {
        void* const memory = dynamic_cast<void*>(source);   // of the whole object, wherever the interface stands in it
        source->studio::data::PropertySource::~PropertySource();
        ::operator delete(memory);
    }
};
