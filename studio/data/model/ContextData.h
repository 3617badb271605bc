#pragma once

#include "studio/data/model/Property.h"
#include "tarn/zero/ModelElement.h"

#include <string>

namespace tarn::zero {

struct NameKey;
template <class Key, class E, class KeyOf>
class ElementMap;
template <class C>
class CollectionRef;

}   // namespace tarn::zero

namespace studio::data {

/// The stored data of one context: the ordered names of its active contexts, and its properties by name. A handle:
/// copying shares the element. A null handle and one whose element was destroyed convert to false and stay safe to
/// hold.
class STUDIO_DATA_EXPORT ContextData : public tarn::zero::ModelElement {
public:
    class Impl;
    class Builder;
    class Constrainables;
    /// Properties by their names.
    using PropertyMap = tarn::zero::ElementMap<std::string, Property, tarn::zero::NameKey>;

    ContextData() = default;
    explicit ContextData(Impl* impl) noexcept;

    /// Makes a new, empty context in `model`; a nil UUID stands for a fresh one. A UUID that is taken is no error: the
    /// model still finds the first element of that UUID.
    static ContextData create(tarn::zero::Model const& model, boost::uuids::uuid const& uuid);
    static tarn::zero::meta::Class metaClass();
    /// Returns the element as a context; null if it is not one.
    static ContextData from(tarn::zero::ModelElement const& element) noexcept;

    /// Returns the element's own properties, ordered by name. The result shares ownership of the element.
    tarn::zero::CollectionRef<PropertyMap> properties() const;

    Impl* operator->() const noexcept;   // complete in ContextDataImpl.h
};

}   // namespace studio::data
