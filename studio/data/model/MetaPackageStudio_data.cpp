#include "studio/data/model/MetaPackageStudio_data.h"

#include "foundation/NeverDestroyed.h"
#include "studio/data/PropertyValueSerializer.h"
#include "studio/data/model/ContextDataImpl.h"
#include "studio/data/model/PropertyImpl.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/ReportException.h"
#include "tarn/zero/meta/MetaRegistry.h"
#include "tarn/zero/meta/PropertySerializerRegistry.h"
#include "tarn0/messages/Messages.h"

#include <mutex>
#include <string>
#include <utility>

namespace studio::data {

namespace zero = tarn::zero;
namespace meta = tarn::zero::meta;

using meta::ValueFlags;

namespace {

char const* const ROOT_UUID = "5cafa685-a2da-390e-9641-85a7523c81f7";
char const* const PROPERTY_VALUE_UUID = "ff213765-2c5d-37bc-a365-124aa1abb674";

std::u16string uriOf(std::u16string const& path)
{
    return std::u16string{meta::SCHEMA_HOST} + u"/tarn0/studio_data/1.0" + path;
}

/// Serializes registration and clean-up of all instances.
std::recursive_mutex& packageMutex()
{
    static foundation::NeverDestroyed<std::recursive_mutex> s_mutex;
    return *s_mutex;
}

// The current package. Has no destructor, so that it outlives every static object.
std::atomic<MetaPackageStudio_data const*> s_instance{nullptr};
std::atomic<bool> s_gone{false};
thread_local MetaPackageStudio_data const* t_beingMade = nullptr;

/// What a property holds: a class or type of the package, or the registry's text type.
enum class Held { Text, PropertyValue, ContextData, Property };

constexpr unsigned int REQUIRED = 1;

void setRequired(meta::TypedElement const& element, meta::Type const& type)
{
    element->setType(type);
    element->setLower(REQUIRED);
    element->setUpper(REQUIRED);
}

}   // namespace

/// A property; its position among the rows of its class is its index.
struct MetaPackageStudio_data::PropertyRow {
    char16_t const* name;   // null: the class has fewer properties
    ValueFlags flags;
    bool isComposite;
    char const* uuid;
    bool isOrdered;
    bool isUnique;
    bool saysNoDefault;
    Held held;
    unsigned long opposite;      // index in the class that it holds; 0: none
    unsigned long qualifiedBy;   // index in the class that it holds; 0: none
};

struct MetaPackageStudio_data::ClassRow {
    char16_t const* name;
    char const* typeId;
    char const* scopedName;
    char const* uuid;
    std::array<PropertyRow, 3> properties;
    char const* cloneToUuid;
    char const* modelUuid;
    char const* cloneUUIDUuid;
};

MetaPackageStudio_data::ClassRow const MetaPackageStudio_data::s_contextData{
    u"ContextData",
    "studio.data.ContextData",
    "studio::data::ContextData",
    "41062a53-2003-33ce-b973-744a819d2bf1",
    {{{u"activeContexts", ValueFlags::OrderedValues, false, "c3756432-d277-3c50-9501-1cdc00c51e2d", true, false, false,
       Held::Text, 0, 0},
      {u"properties", ValueFlags::KeyedElements, true, "855ded9b-1a58-3c34-9139-cf2b7e39e297", false, true, false,
       Held::Property, Property::Impl::OWNER, Property::Impl::NAME},
      {}}},
    "5b62344b-ac02-3efa-9d30-5ca85795de4f",
    "dd1f3c1e-8fad-3080-8dc5-511640a42d36",
    "9eb4e297-4f9a-35ec-83d9-5f6c1327ec9b"};

MetaPackageStudio_data::ClassRow const MetaPackageStudio_data::s_property{
    u"Property",
    "studio.data.Property",
    "studio::data::Property",
    "12acc4e4-a131-3f1c-a11f-18d031a04f91",
    {{{u"name", ValueFlags::Single, false, "8460da61-c9f9-369b-872c-9b0ba5ef9828", true, true, true, Held::Text, 0, 0},
      {u"value", ValueFlags::Single, false, "4d3a5145-05d2-3cc3-879e-ca60228d0628", true, true, true,
       Held::PropertyValue, 0, 0},
      {u"owner", ValueFlags::Single, false, "d92fc30d-fce4-346d-986c-7afd630033cb", true, true, false,
       Held::ContextData, ContextData::Impl::PROPERTIES, 0}}},
    "41d8e36c-79ed-3903-90ae-da0fe6ce0355",
    "59c6e654-395a-3369-bebd-5ae8b64a29ce",
    "f216201a-595e-3c5a-9a3d-49625ee020db"};

std::atomic<zero::ModelElement::Impl*> MetaPackageStudio_data::s_contextDataClass{nullptr};
std::atomic<zero::ModelElement::Impl*> MetaPackageStudio_data::s_propertyClass{nullptr};

MetaPackageStudio_data& MetaPackageStudio_data::getInstance()
{
    struct Published {
        MetaPackageStudio_data package;
        Published() { package.publish(); }
    };
    static Published s_published;
    return s_published.package;
}

meta::Class MetaPackageStudio_data::contextDataClass()
{
    MetaPackageStudio_data const* const package = current();
    return package ? package->contextData.type : meta::Class{};
}

meta::Property MetaPackageStudio_data::contextDataProperty(unsigned long index)
{
    MetaPackageStudio_data const* const package = current();
    return package ? package->contextData.property(index) : meta::Property{};
}

meta::Class MetaPackageStudio_data::propertyClass()
{
    MetaPackageStudio_data const* const package = current();
    return package ? package->property.type : meta::Class{};
}

meta::Property MetaPackageStudio_data::propertyProperty(unsigned long index)
{
    MetaPackageStudio_data const* const package = current();
    return package ? package->property.property(index) : meta::Property{};
}

void MetaPackageStudio_data::addCleanup(std::function<void()> callback)
{
    std::lock_guard const lock{packageMutex()};
    cleanups.push_back(std::move(callback));
}

meta::Property MetaPackageStudio_data::ClassHandles::property(unsigned long index) const
{
    return index >= 1 && index <= properties.size() ? properties[index - 1] : meta::Property{};
}

MetaPackageStudio_data::MetaPackageStudio_data()
{
    MetaPackageStudio_data const* const outer = std::exchange(t_beingMade, this);
    try {
        initialize();
    } catch (...) {
        t_beingMade = outer;
        unregister();
        throw;
    }
    t_beingMade = outer;
}

MetaPackageStudio_data::~MetaPackageStudio_data()
{
    for (std::size_t i = 0; i != cleanups.size(); ++i) {
        std::function<void()> const callback = std::move(cleanups[i]);   // a callback may add another one
        callback();
    }
    retract();
    unregister();
}

void MetaPackageStudio_data::initialize()
{
    meta::MetaRegistry& registry = meta::MetaRegistry::getInstance();
    std::lock_guard const lock{packageMutex()};
    meta::PropertySerializerRegistry& serializers = meta::PropertySerializerRegistry::getInstance();
    boost::uuids::uuid const rootUuid = parseUuid(ROOT_UUID);
    zero::Model const& model = registry.model();
    zero::Model::Thawer const thawer = registry.freezer().thaw();

    if (zero::ModelElement const stale = model->findElement(rootUuid, 1)) {
        zero::Transaction transaction = model->beginTransaction(true);
        unregisterRootPackage(uriOf(u""));
        stale->destroy();
        transaction.commit(boost::none);
    }

    zero::Transaction transaction = model->beginTransaction(true);
    rootPackage = meta::Package::create(model, rootUuid);
    rootPackage->setName(u"");
    rootPackage->setUri(uriOf(u""));
    auto& imported = rootPackage->getImportedPackagesMutable();
    zero::AbstractOwnedCollection::Operation operation{imported};
    meta::VersionInfo version;
    version.setFamily(u"meta");
    version.setMinVersion(u"");
    imported.push_back(version);
    operation.commit();

    instantiate_studio(&registry);
    instantiate_studio_data(&registry);
    weave_studio(&registry, &serializers);
    weave_studio_data(&registry, &serializers);
    transaction.commit(boost::none);
    registerRootPackage(rootPackage);
}

void MetaPackageStudio_data::instantiate_studio(meta::MetaRegistry*)
{
    studioPackage = createPackage(u"studio", uriOf(u"/studio"));
}

void MetaPackageStudio_data::instantiate_studio_data(meta::MetaRegistry* registry)
{
    dataPackage = createPackage(u"data", uriOf(u"/studio.data"));
    instantiate(s_contextData, contextData);
    instantiate(s_property, property);
    propertyValue = meta::PrimitiveType::create(registry->model(), parseUuid(PROPERTY_VALUE_UUID));
    stdString = registry->getPrimitiveType(u"StdString");
    if (!stdString)
        zero::reportException(tarn0::messages::NoSuchType{u"StdString"});
}

void MetaPackageStudio_data::weave_studio(meta::MetaRegistry*, meta::PropertySerializerRegistry*)
{
    studioPackage->setParentPackage(rootPackage);
}

void MetaPackageStudio_data::weave_studio_data(meta::MetaRegistry* registry,
                                               meta::PropertySerializerRegistry* serializers)
{
    dataPackage->setParentPackage(studioPackage);
    weave(s_contextData, contextData, *registry);
    weave(s_property, property, *registry);
    propertyValue->setName(u"PropertyValue");
    propertyValue->setTypeId("studio.data.PropertyValue");
    propertyValue->setOwningPackage(dataPackage);

    registry->registerType(contextData.type, std::make_unique<meta::CollectionInstantiatorOf<ContextData>>(),
                           &ContextData::create);
    registry->registerTypeNames(contextData.type, s_contextData.typeId, s_contextData.scopedName);
    registry->registerType(property.type, std::make_unique<meta::CollectionInstantiatorOf<Property>>(),
                           &Property::create);
    registry->registerTypeNames(property.type, s_property.typeId, s_property.scopedName);
    registry->registerType(propertyValue, std::make_unique<meta::CollectionInstantiatorOf<PropertyValue>>());
    registry->registerTypeNames(propertyValue, "studio.data.PropertyValue", "studio::data::PropertyValue");

    meta::PropertySerializerRegistry::LockGuard const lock{*serializers};
    serializers->registerPropertySerializer(propertyValue, std::make_unique<PropertyValueSerializer>(propertyValue));
}

void MetaPackageStudio_data::instantiate(ClassRow const& row, ClassHandles& handles) const
{
    handles.type = createClass(row.name, row.typeId, false, false, row.uuid);
    for (std::size_t i = 0; i != row.properties.size() && row.properties[i].name; ++i) {
        PropertyRow const& feature = row.properties[i];
        meta::Property const made = createProperty(feature.name, feature.flags, feature.isComposite, feature.uuid);
        made->setIsOrdered(feature.isOrdered);
        made->setIsUnique(feature.isUnique);
        if (feature.saysNoDefault)
            made->setDefaultValue(boost::optional<std::u16string>{});
        setPropertyIndex(made, static_cast<int>(i + 1));
        handles.properties[i] = made;
    }
    handles.cloneTo = createOperation(u"cloneTo", parseUuid(row.cloneToUuid));
    handles.cloneTo->setIsAbstract(false);
    handles.cloneTo->setIsStatic(false);
    handles.cloneTo->setIsPublic(true);
    handles.model = createArgument(u"model", parseUuid(row.modelUuid));
    handles.model->setIsInput(true);
    handles.cloneUUID = createArgument(u"cloneUUID", parseUuid(row.cloneUUIDUuid));
    handles.cloneUUID->setIsInput(true);
}

void MetaPackageStudio_data::weave(ClassRow const& row, ClassHandles const& handles, meta::MetaRegistry& registry) const
{
    handles.type->setOwningPackage(dataPackage);
    handles.type->setSuperclass(zero::ModelElement::metaClass());
    for (std::size_t i = 0; i != row.properties.size() && row.properties[i].name; ++i) {
        PropertyRow const& feature = row.properties[i];
        ClassHandles const& held = feature.held == Held::Property ? property : contextData;
        meta::Property const& woven = handles.properties[i];
        woven->setOwningType(handles.type);
        woven->setType(typeOf(feature, registry));
        woven->setOpposite(held.property(feature.opposite));
        woven->setQualifiedBy(held.property(feature.qualifiedBy));
        woven->setIsQualificationUnique(true);
    }
    auto& arguments = handles.cloneTo->getArgumentsMutable();
    handles.cloneTo->setOwningType(handles.type);
    arguments.reserve(2);
    setRequired(handles.model, registry.getType(u"Model"));
    arguments.add(handles.model);
    setRequired(handles.cloneUUID, registry.getType(u"Boolean"));
    arguments.add(handles.cloneUUID);
    setRequired(handles.cloneTo, handles.type);
}

meta::Type MetaPackageStudio_data::typeOf(PropertyRow const& row, meta::MetaRegistry& registry) const
{
    switch (row.held) {
    case Held::Text: return registry.getType(u"StdString");
    case Held::PropertyValue: return propertyValue;
    case Held::ContextData: return contextData.type;
    case Held::Property: return property.type;
    }
    return meta::Type{};
}

void MetaPackageStudio_data::publish() noexcept
{
    s_contextDataClass.store(contextData.type.get(), std::memory_order_release);
    s_propertyClass.store(property.type.get(), std::memory_order_release);
    s_instance.store(this, std::memory_order_release);
}

void MetaPackageStudio_data::retract() noexcept
{
    if (s_instance.load(std::memory_order_relaxed) != this)
        return;
    s_gone.store(true, std::memory_order_release);
    s_instance.store(nullptr, std::memory_order_release);
    s_contextDataClass.store(nullptr, std::memory_order_release);
    s_propertyClass.store(nullptr, std::memory_order_release);
}

/// Removes everything of this package from the registries.
void MetaPackageStudio_data::unregister() noexcept
try {
    meta::MetaRegistry& registry = meta::MetaRegistry::getInstance();
    meta::PropertySerializerRegistry& serializers = meta::PropertySerializerRegistry::getInstance();
    {
        meta::PropertySerializerRegistry::LockGuard const lock{serializers};
        serializers.unlinkPropertySerializer(propertyValue).reset();
    }
    if (rootPackage) {
        std::lock_guard const lock{packageMutex()};
        zero::Model::Thawer const thawer = registry.freezer().thaw();
        zero::Transaction transaction = registry.model()->beginTransaction(true);
        unregisterRootPackage(rootPackage->getUri());
        rootPackage->destroy();
        transaction.commit(boost::none);
    }
    registry.unregisterDeadTypes();
} catch (...) {
    // If memory is short, the registry keeps elements that can no longer be found.
}

MetaPackageStudio_data const* MetaPackageStudio_data::current()
{
    if (MetaPackageStudio_data const* const instance = s_instance.load(std::memory_order_acquire))
        return instance;
    if (t_beingMade)
        return t_beingMade;
    return s_gone.load(std::memory_order_acquire) ? nullptr : &getInstance();
}

}   // namespace studio::data
