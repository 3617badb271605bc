#pragma once

#include "gel/DataSource.h"
#include "studio/data/PropertyValue.h"

#include <memory>
#include <string>

namespace studio::data {

class ContextProvider;

/// Answers an evaluation from the properties of a provider; lives for one evaluation.
class DataSource final : public gel::DataSource {
public:
    /// With a null provider every symbol is undefined.
    explicit DataSource(std::shared_ptr<ContextProvider> provider) noexcept;
    ~DataSource() override;

    /// The property of that name, dots leading through children. A UUID, such as a reference to a provider, reads as
    /// its text; what is absent reads as undefined.
    gel::Value lookup(std::string const& name) const override;

    /// By design: a text stays a text, also one that looks like a UUID; no result is ever a UUID.
    static PropertyValue toPropertyValue(gel::Value value);
    static gel::Value toGelValue(PropertyValue const& value);

private:
    std::shared_ptr<ContextProvider> provider;
};

}   // namespace studio::data
