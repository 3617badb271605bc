#include "studio/data/detail/PropertyWatch.h"

namespace studio::data {

// Defined here because PropertyImpl.h only declares PropertyWatch.
Property::Impl::~Impl()
{
    while (PropertyWatch* const watch = watches) {
        watch->unpin();
        watch->propertyGone();
    }
}

}   // namespace studio::data
