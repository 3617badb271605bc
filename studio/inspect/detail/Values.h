#pragma once

#include "gel/DataSource.h"
#include "gel/Value.h"
#include "studio/data/PropertyValue.h"
#include "studio/host/ContextReader.h"

#include <boost/uuid/uuid.hpp>

#include <string>
#include <string_view>

namespace studio::inspect::detail {

/// Returns the value that an expression reads from a property: a UUID as its text, NaN as undefined.
gel::Value languageValue(data::PropertyValue const& value);
/// Returns the result of an expression as a property value, as an engine converts it.
data::PropertyValue propertyValue(gel::Value const& value);

/// True if a condition with that value holds: undefined, 0, `false` and the empty text are false.
bool truthOf(gel::Value const& value) noexcept;
bool truthOf(data::PropertyValue const& value);

/// Returns a value as the language writes it: texts in quotes, the shortest number. Control characters are escaped.
std::string literal(gel::Value const& value);
std::string literal(data::PropertyValue const& value);
/// Returns a JSON text in ASCII with its last control character escaped, too, so that it may be printed as it is.
std::string printableJson(std::string ascii);

/// The data source of expressions over a root context, as a reader reads it.
class ReaderSource final : public gel::DataSource {
public:
    /// *Lifetime*: refers to `reader`.
    ReaderSource(host::ContextReader const& reader, boost::uuids::uuid const& root) noexcept
        : contexts{reader}, begin{root}
    {}
    gel::Value lookup(std::string const& symbol) const override;

private:
    host::ContextReader const& contexts;
    boost::uuids::uuid begin;
};

}   // namespace studio::inspect::detail
