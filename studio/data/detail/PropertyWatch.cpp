#include "studio/data/detail/PropertyWatch.h"

namespace studio::data {

// Here, because the element knows its notes only by name.
Property::Impl::~Impl()
{
    while (watches)
        watches->unpin();
}

}   // namespace studio::data
