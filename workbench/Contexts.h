#pragma once

#include "studio/data/PropertyValue.h"
#include "workbench/Document.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace studio::data {
class ContextProvider;
}

namespace workbench {

/// Owns the live contexts of a recording, by their numbers.
class Contexts {
public:
    /// Makes room for `count` contexts, of which `root` is number 0.
    Contexts(std::size_t count, std::shared_ptr<studio::data::ContextProvider> const& root);

    /// Applies operations in one transaction of the shared model.
    void apply(std::vector<Operation> const& operations);

    std::shared_ptr<studio::data::ContextProvider> const& root() const noexcept { return contexts[0]; }

    /// The value of a property that refers to the context; still names a context that was dropped.
    studio::data::PropertyValue const& reference(std::size_t context) const { return references[context]; }

private:
    void apply(Operation const& operation);
    void write(Operation const& operation, studio::data::PropertyValue const& value);

    std::vector<std::shared_ptr<studio::data::ContextProvider>> contexts;
    std::vector<studio::data::PropertyValue> references;
};

}   // namespace workbench
