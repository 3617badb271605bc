#pragma once

#include "tarn/zero/meta/AbstractMetaPackage.h"

#include <array>
#include <atomic>
#include <functional>
#include <vector>

namespace studio::data {

/// The schema of the package studio.data: the classes ContextData and Property and the value type PropertyValue, known
/// to the meta registry from the first use of any of them until the process exits. Its names, UUIDs and indexes are
/// part of every stored model.
///
/// The element classes ask the static functions below, which are safe at any time: before the package is made (those
/// that answer a handle make it), while it makes itself (they answer what is there), and after it was destroyed at exit
/// (they answer null), so that static objects that hold contexts may go before or after it.
class STUDIO_DATA_EXPORT MetaPackageStudio_data : public tarn::zero::meta::AbstractMetaPackage {
public:
    /// The one instance, made by the first caller while others wait. *Throws* `NoSuchType` if the registry lacks the
    /// type "StdString", or whatever else stands in the way: nothing is registered then and the next call tries again.
    /// Not to be called after the instance was destroyed at exit.
    static MetaPackageStudio_data& getInstance();

    /// The meta classes, and their properties by index (null for an index that the class does not have). *Throws* like
    /// `getInstance`.
    static tarn::zero::meta::Class contextDataClass();
    /// The property of that index of contexts.
    static tarn::zero::meta::Property contextDataProperty(unsigned long index);
    /// The meta class of properties.
    static tarn::zero::meta::Class propertyClass();
    /// The property of that index of properties.
    static tarn::zero::meta::Property propertyProperty(unsigned long index);
    /// The same classes, borrowed, for class tests; null while the package is not whole. They do not make it: before
    /// it there are no elements.
    static tarn::zero::ModelElement::Impl* contextDataClassImpl() noexcept;
    /// The class of properties.
    static tarn::zero::ModelElement::Impl* propertyClassImpl() noexcept;

    /// Runs `callback` when the package is destroyed, after those added before; it still finds the package whole. One
    /// that throws ends the process.
    void addCleanup(std::function<void()> callback);

private:
    friend class MetaPackageTest;
    struct PropertyRow;
    struct ClassRow;

    /// One element class with its parts, in the order of their making.
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
    static std::atomic<tarn::zero::ModelElement::Impl*> s_contextDataClass;   // null but while the instance is whole
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
