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

    /// A new, empty context in `model`; a nil UUID asks for a fresh one. A UUID that is taken is no error: the model
    /// goes on finding the first element of that UUID.
    static ContextData create(tarn::zero::Model const& model, boost::uuids::uuid const& uuid);
    static tarn::zero::meta::Class metaClass();
    /// The element as a context; null if it is none.
    static ContextData from(tarn::zero::ModelElement const& element) noexcept;

    /// The element's own properties, in order of their names, shared: the answer keeps the element.
    tarn::zero::CollectionRef<PropertyMap> properties() const;

    Impl* operator->() const noexcept;   // complete in ContextDataImpl.h
};

}   // namespace studio::data
