#pragma once

#include "tarn/zero/meta/AbstractMetaPackage.h"

#include <array>
#include <atomic>
#include <functional>
#include <vector>

namespace studio::data {

/// The schema of the package studio.data: the classes ContextData and Property and the value type PropertyValue, in the
/// meta registry from the first use of any of them until the process exits. Its names, UUIDs and indexes are part of
/// every stored model.
///
/// The element classes call the static functions below, which are safe at any time. Before the package is made, those
/// that return a handle make it. While it is being made they return what there is. After it was destroyed at exit they
/// return null, so that static objects that hold contexts may be destroyed before or after it.
class STUDIO_DATA_EXPORT MetaPackageStudio_data : public tarn::zero::meta::AbstractMetaPackage {
public:
    /// Returns the one instance, made by the first caller while others wait. *Throws* `NoSuchType` if the registry
    /// lacks the type "StdString", and any other error of registration: nothing is registered then, and the next call
    /// tries again. Must not be called after the instance was destroyed at exit.
    static MetaPackageStudio_data& getInstance();

    /// Returns the meta class of contexts. *Throws* like `getInstance`, as do the three functions below.
    static tarn::zero::meta::Class contextDataClass();
    /// Returns the property of contexts with that index; null if there is none.
    static tarn::zero::meta::Property contextDataProperty(unsigned long index);
    /// Returns the meta class of properties.
    static tarn::zero::meta::Class propertyClass();
    /// Returns the property of properties with that index; null if there is none.
    static tarn::zero::meta::Property propertyProperty(unsigned long index);
    /// Returns the meta class of contexts, borrowed, for class tests; null while the package is incomplete. Does not
    /// make the package: before it there are no elements.
    static tarn::zero::ModelElement::Impl* contextDataClassImpl() noexcept;
    /// Returns the meta class of properties, borrowed; null while the package is incomplete.
    static tarn::zero::ModelElement::Impl* propertyClassImpl() noexcept;

    /// Runs `callback` when the package is destroyed, after those added before and while the package is still complete.
    /// A callback that throws ends the process.
    void addCleanup(std::function<void()> callback);

private:
    friend class MetaPackageTest;
    struct PropertyRow;
    struct ClassRow;

    /// One element class and its properties, in order of creation.
    struct ClassHandles {
        tarn::zero::meta::Class type;
        std::array<tarn::zero::meta::Property, 3> properties;   // by index, from 1; null where there is none
        tarn::zero::meta::Operation cloneTo;
        tarn::zero::meta::Argument model;
        tarn::zero::meta::Argument cloneUUID;

        STUDIO_DATA_LOCAL tarn::zero::meta::Property property(unsigned long index) const;
    };

    STUDIO_DATA_LOCAL MetaPackageStudio_data();
    STUDIO_DATA_LOCAL ~MetaPackageStudio_data() override;

    STUDIO_DATA_LOCAL void initialize();
    STUDIO_DATA_LOCAL void instantiate_studio(tarn::zero::meta::MetaRegistry* registry);
    STUDIO_DATA_LOCAL void instantiate_studio_data(tarn::zero::meta::MetaRegistry* registry);
    STUDIO_DATA_LOCAL void weave_studio(tarn::zero::meta::MetaRegistry* registry,
                                        tarn::zero::meta::PropertySerializerRegistry* serializers);
    STUDIO_DATA_LOCAL void weave_studio_data(tarn::zero::meta::MetaRegistry* registry,
                                             tarn::zero::meta::PropertySerializerRegistry* serializers);

    STUDIO_DATA_LOCAL void instantiate(ClassRow const& row, ClassHandles& handles) const;
    STUDIO_DATA_LOCAL void weave(ClassRow const& row, ClassHandles const& handles,
                                 tarn::zero::meta::MetaRegistry& registry) const;
    STUDIO_DATA_LOCAL tarn::zero::meta::Type typeOf(PropertyRow const& row,
                                                    tarn::zero::meta::MetaRegistry& registry) const;

    STUDIO_DATA_LOCAL void publish() noexcept;
    STUDIO_DATA_LOCAL void retract() noexcept;
    STUDIO_DATA_LOCAL void unregister() noexcept;
    STUDIO_DATA_LOCAL static MetaPackageStudio_data const* current();

    STUDIO_DATA_LOCAL static ClassRow const s_contextData;
    STUDIO_DATA_LOCAL static ClassRow const s_property;
    static std::atomic<tarn::zero::ModelElement::Impl*> s_contextDataClass;   // null unless the instance is complete
    static std::atomic<tarn::zero::ModelElement::Impl*> s_propertyClass;

    tarn::zero::meta::Package rootPackage;
    tarn::zero::meta::Package studioPackage;
    tarn::zero::meta::Package dataPackage;
    ClassHandles contextData;
    ClassHandles property;
    tarn::zero::meta::PrimitiveType propertyValue;
    tarn::zero::meta::PrimitiveType stdString;
    std::vector<std::function<void()>> cleanups;
};

inline tarn::zero::ModelElement::Impl* MetaPackageStudio_data::contextDataClassImpl() noexcept
{
    return s_contextDataClass.load(std::memory_order_acquire);
}

inline tarn::zero::ModelElement::Impl* MetaPackageStudio_data::propertyClassImpl() noexcept
{
    return s_propertyClass.load(std::memory_order_acquire);
}

}   // namespace studio::data
