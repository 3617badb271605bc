#pragma once

#include "tarn/zero/Listener.h"
#include "tarn/zero/ModelElement.h"

#include <string>

namespace studio::data {

class ContextData;
class Property;

}   // namespace studio::data

namespace tarn::zero {

/// Delivers the reports of properties before those of contexts.
constexpr ElementList<studio::data::Property, studio::data::ContextData> reportedElements(Listener const*) noexcept
{
    return {};
}

}   // namespace tarn::zero

namespace studio::data {

/// One named value of a context. A handle: copying shares the element, which lives as long as its model holds it.
/// A null handle and one whose element was destroyed both convert to false and stay safe to hold.
class STUDIO_DATA_EXPORT Property : public tarn::zero::ModelElement {
public:
    class Impl;
    class Builder;
    class BuilderWrapper;
    class Constrainables;

    Property() = default;
    explicit Property(Impl* impl) noexcept;

    /// Makes a new property in `model`, without a name, a value and an owner; a nil UUID stands for a fresh one.
    static Property create(tarn::zero::Model const& model, boost::uuids::uuid const& uuid);
    static tarn::zero::meta::Class metaClass();

    /// Returns the name; empty for a null handle, the last one for a destroyed property.
    std::string name() const;
    /// Returns the context that holds the property; null if none does, the last one for a destroyed property.
    ContextData owner() const;

    Impl* operator->() const noexcept;   // complete in PropertyImpl.h
};

}   // namespace studio::data
