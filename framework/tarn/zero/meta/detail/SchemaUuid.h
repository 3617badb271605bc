#pragma once

#include "fl/i18n/Unicode.h"

#include <boost/uuid/name_generator_sha1.hpp>
#include <boost/uuid/uuid.hpp>

#include <string>

namespace tarn::zero::meta::detail {

/// Default UUID of a schema element: derived from its URI, so that it is the same in every process.
inline boost::uuids::uuid schemaUuid(std::u16string const& uri)
{
    return boost::uuids::name_generator_sha1{boost::uuids::ns::url()}(fl::i18n::ustring_to_utf8_lossy(uri));
}

}   // namespace tarn::zero::meta::detail
