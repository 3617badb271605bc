#include "tarn/zero/meta/detail/KernelSchema.h"

#include "fl/i18n/Unicode.h"
#include "tarn/zero/meta/BuiltinTypes.h"
#include "tarn/zero/meta/MetaRegistry.h"
#include "tarn/zero/meta/detail/MetaElements.h"
#include "tarn/zero/meta/detail/SchemaUuid.h"

#include <boost/core/demangle.hpp>

#include <array>
#include <atomic>
#include <typeinfo>

namespace tarn::zero::meta::detail {

namespace {

using Creator = ModelElement (*)(Model const&, boost::uuids::uuid const&);

constexpr std::size_t NO_SUPERCLASS = ~std::size_t{0};

/// What makes one class of the kernel.
struct Row {
    std::string (*scopedName)();
    std::size_t superclass;   // the position of an earlier row; NO_SUPERCLASS for the root
    Creator creator;          // null: abstract
    std::unique_ptr<CollectionInstantiator> (*instantiator)();
};

/// The name of a class with its namespaces. Some compilers begin it with the keyword that declares the class.
std::string scopedNameOf(std::type_info const& type)
{
    std::string const name = boost::core::demangle(type.name());
    return name.substr(name.find(' ') + 1);
}

template <class H>
constexpr Row rowOf()
{
    Row row{[] { return scopedNameOf(typeid(H)); }, NO_SUPERCLASS, nullptr,
            [] { return std::unique_ptr<CollectionInstantiator>{std::make_unique<CollectionInstantiatorOf<H>>()}; }};
    if constexpr (requires { typename H::Super; })
        row.superclass = kernelIndex<typename H::Super>;
    if constexpr (requires { &H::create; })
        row.creator = [](Model const& model, boost::uuids::uuid const& uuid) -> ModelElement {
            return MetaElement<H>::createIn(model, uuid);
        };
    return row;
}

template <class... Handles>
constexpr auto rowsOf(HandleList<Handles...>)
{
    return std::array{rowOf<Handles>()...};
}

constexpr auto ROWS = rowsOf(KernelClasses{});

/// The classes, by position. Set once, by the registry.
constinit std::array<std::atomic<ModelElement::Impl*>, ROWS.size()> s_classes{};

Class classAt(std::size_t index)
{
    return Class{static_cast<Class::Impl*>(internal::kernelClass(index))};
}

/// The name of the class without its namespaces.
std::string nameOf(Row const& row)
{
    std::string const scoped = row.scopedName();
    return scoped.substr(scoped.rfind(':') + 1);
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
    // Create all classes first: then each element has its class, and collections can check it.
    for (std::size_t i = 0; i != ROWS.size(); ++i) {
        Class const type = Class::create(registry.model(), schemaUuid(kernelUri('#' + nameOf(ROWS[i]))));
        s_classes[i].store(type.get(), std::memory_order_release);
    }
    for (std::size_t i = 0; i != ROWS.size(); ++i)
        if (ROWS[i].superclass != NO_SUPERCLASS)
            classAt(i)->setSuperclass(classAt(ROWS[i].superclass));

    Package const root = makePackage(registry, u"", kernelUri(""));
    Package const metaPackage = makePackage(registry, u"meta", kernelUri("/meta"));
    metaPackage->setParentPackage(root);
    for (std::size_t i = 0; i != ROWS.size(); ++i) {
        Row const& row = ROWS[i];
        Class const type = classAt(i);
        bool const isRoot = row.superclass == NO_SUPERCLASS;
        std::string const dotted = (isRoot ? "" : "meta.") + nameOf(row);
        type->setName(fl::i18n::utf8_to_ustring(nameOf(row)));
        type->setTypeId(dotted);
        type->setIsAbstract(!row.creator);
        type->setOwningPackage(isRoot ? root : metaPackage);
        registry.registerType(type, row.instantiator(), row.creator);
        registry.registerTypeNames(type, dotted, row.scopedName());
    }
    registerBuiltinTypes(registry, root);
    registry.registerRootPackage(root);
}

void dropKernelSchema() noexcept
{
    for (auto& type : s_classes)
        type.store(nullptr, std::memory_order_release);
}

}   // namespace tarn::zero::meta::detail

namespace tarn::zero::meta {

ModelElement::Impl* internal::kernelClass(std::size_t index) noexcept
{
    return detail::s_classes[index].load(std::memory_order_acquire);
}

ModelElement::Impl* internal::requireKernelClass(std::size_t index)
{
    if (!kernelClass(index))
        detail::ensureKernelSchema();
    return kernelClass(index);
}

ModelElement internal::createKernelElement(std::size_t index, Model const& model, boost::uuids::uuid const& uuid)
{
    return detail::ROWS[index].creator(model, uuid);
}

}   // namespace tarn::zero::meta
