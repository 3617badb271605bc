#include "studio/data/detail/PropertyWatch.h"

namespace studio::data {

// Here, because the element knows its notes only by name.
Property::Impl::~Impl()
{
    while (PropertyWatch* const watch = watches) {
        watch->unpin();
        watch->propertyGone();
    }
}

}   // namespace studio::data
