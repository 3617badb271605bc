#include "studio/data/detail/PropertyBackref.h"

namespace studio::data {

PropertyBackrefs::~PropertyBackrefs()
{
    while (PropertyBackref* const backref = first) {
        backref->unlink();
        backref->propertyGone();
    }
}

}   // namespace studio::data
