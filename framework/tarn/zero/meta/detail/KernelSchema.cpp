#include "tarn/zero/meta/detail/KernelSchema.h"

#include "fl/i18n/Unicode.h"
#include "tarn/zero/meta/BuiltinTypes.h"
#include "tarn/zero/meta/MetaRegistry.h"
#include "tarn/zero/meta/detail/MetaElements.h"
#include "tarn/zero/meta/detail/SchemaUuid.h"

#include <array>
#include <concepts>

namespace tarn::zero::meta::detail {

namespace {

using Slot = std::atomic<ModelElement::Impl*>;

struct Row {
    Slot* type;
    Slot* superclass;   // of an earlier row; null for the root
    char const* name;
    ElementFactory factory;   // empty: abstract
    std::unique_ptr<CollectionInstantiator> (*instantiator)();
};

template <class H, class Super = void>
Row row(char const* name)
{
    Row made{&kernelClass<H>, nullptr, name, {}, [] {
                 return std::unique_ptr<CollectionInstantiator>{std::make_unique<CollectionInstantiatorOf<H>>()};
             }};
    if constexpr (!std::is_void_v<Super>)
        made.superclass = &kernelClass<Super>;
    if constexpr (requires(Model const& model, boost::uuids::uuid const& uuid) { H::create(model, uuid); })
        made.factory = [](Model const& model, boost::uuids::uuid const& uuid) { return H::create(model, uuid); };
    return made;
}

std::array<Row, 13> kernelRows()
{
    return {row<ModelElement>("ModelElement"),
            row<NamedElement, ModelElement>("NamedElement"),
            row<Type, NamedElement>("Type"),
            row<PrimitiveType, Type>("PrimitiveType"),
            row<StructuredType, Type>("StructuredType"),
            row<OperatableType, StructuredType>("OperatableType"),
            row<Class, OperatableType>("Class"),
            row<Interface, OperatableType>("Interface"),
            row<TypedElement, NamedElement>("TypedElement"),
            row<Property, TypedElement>("Property"),
            row<Operation, TypedElement>("Operation"),
            row<Argument, TypedElement>("Argument"),
            row<Package, NamedElement>("Package")};
}

Class classIn(Slot const& slot)
{
    return Class{static_cast<Class::Impl*>(slot.load(std::memory_order_relaxed))};
}

std::u16string kernelUri(std::string const& path)
{
    return std::u16string{SCHEMA_HOST} + fl::i18n::utf8_to_ustring("/tarn0/meta/1.0" + path);
}

Package makePackage(MetaRegistry& registry, std::u16string const& name, std::u16string const& uri)
{
    Package package = Package::create(registry.model(), schemaUuid(uri));
    package->setName(name);
    package->setUri(uri);
    return package;
}

}   // namespace

void makeKernelSchema(MetaRegistry& registry)
{
    auto const rows = kernelRows();
    // Create all classes first: then each element has its class, and collections can check it.
    for (Row const& row : rows) {
        Class const type = Class::create(registry.model(), schemaUuid(kernelUri(std::string{"#"} + row.name)));
        row.type->store(type.get(), std::memory_order_release);
    }
    for (Row const& row : rows)
        if (row.superclass)
            classIn(*row.type)->setSuperclass(classIn(*row.superclass));

    Package const root = makePackage(registry, u"", kernelUri(""));
    Package const metaPackage = makePackage(registry, u"meta", kernelUri("/meta"));
    metaPackage->setParentPackage(root);
    for (Row const& row : rows) {
        Class const type = classIn(*row.type);
        bool const isRoot = !row.superclass;
        std::string const dotted = (isRoot ? "" : "meta.") + std::string{row.name};
        type->setName(fl::i18n::utf8_to_ustring(row.name));
        type->setTypeId(dotted);
        type->setIsAbstract(!row.factory);
        type->setOwningPackage(isRoot ? root : metaPackage);
        registry.registerType(type, row.instantiator(), row.factory);
        registry.registerTypeNames(type, dotted,
                                   (isRoot ? "tarn::zero::" : "tarn::zero::meta::") + std::string{row.name});
    }
    registerBuiltinTypes(registry, root);
    registry.registerRootPackage(root);
}

void dropKernelSchema() noexcept
{
    for (Slot* const slot :
         {&kernelClass<ModelElement>, &kernelClass<NamedElement>, &kernelClass<Type>, &kernelClass<PrimitiveType>,
          &kernelClass<StructuredType>, &kernelClass<OperatableType>, &kernelClass<Class>, &kernelClass<Interface>,
          &kernelClass<TypedElement>, &kernelClass<Property>, &kernelClass<Operation>, &kernelClass<Argument>,
          &kernelClass<Package>})
        slot->store(nullptr, std::memory_order_release);
}

}   // namespace tarn::zero::meta::detail
