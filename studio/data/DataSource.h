#pragma once

#include "gel/DataSource.h"
#include "studio/data/PropertyValue.h"

#include <memory>
#include <string>

namespace studio::data {

class ContextProvider;

/// Resolves the symbols of one evaluation to the properties of a provider.
class DataSource final : public gel::DataSource {
public:
    /// Reads from `provider`; with null every symbol is undefined.
    explicit DataSource(std::shared_ptr<ContextProvider> provider) noexcept;
    ~DataSource() override;

    /// Returns the property of that name, following dots through children; undefined if there is none. A UUID, such as
    /// a reference to a provider, reads as its text.
    gel::Value lookup(std::string const& name) const override;

    /// Converts an evaluation's result. By design: a text stays a text, also one that looks like a UUID; no result is
    /// ever a UUID.
    static PropertyValue toPropertyValue(gel::Value value);
    static gel::Value toGelValue(PropertyValue const& value);

private:
    std::shared_ptr<ContextProvider> provider;
};

}   // namespace studio::data
