#pragma once

#include "tarn/zero/Model.h"
#include "tarn/zero/meta/CollectionInstantiator.h"
#include "tarn/zero/meta/Package.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <typeinfo>
#include <unordered_map>

namespace foundation {
template <class T>
class NeverDestroyed;
}   // namespace foundation

namespace tarn::zero {
class Listener;
}   // namespace tarn::zero

namespace tarn::zero::meta {

/// Prefix of every schema's URI. A name, not an address: nothing is fetched.
inline constexpr std::u16string_view SCHEMA_HOST = u"http://schema.studio-data.invalid";

/// Creates an element of one class.
using ElementFactory = std::function<ModelElement(Model const& model, boost::uuids::uuid const& uuid)>;

/// All schemas of the process: one frozen model of meta elements, its types by name, and the C++ types behind them. A
/// type is unregistered when its element is destroyed, so it never outlives its package. Created on first use and never
/// destroyed. Lookups may run on any thread while nothing is being registered; packages register on one thread at a
/// time.
class STUDIO_DATA_EXPORT MetaRegistry {
public:
    /// The process's only registry.
    static MetaRegistry& getInstance();

    MetaRegistry(MetaRegistry const&) = delete;
    MetaRegistry& operator=(MetaRegistry const&) = delete;
    ~MetaRegistry();

    /// The model of all meta elements.
    Model const& model() const noexcept { return m_model; }
    /// The guard that keeps the model frozen; packages thaw it while they register.
    Model::Freezer& freezer() noexcept { return m_freezer; }

    /// The live type registered under that name, with dots or with `::`; a null handle if there is none.
    Type getType(std::u16string const& name) const;
    /// The live primitive type registered under that name; a null handle if there is none or it is not primitive.
    PrimitiveType getPrimitiveType(std::u16string const& name) const;
    /// True if `typeId` is a name of `type`.
    bool isCorrectTypeForTypeId(PrimitiveType const& type, std::string const& typeId) const;

    /// Registers a live type; no effect on a registered one. Without a factory `createElement` cannot create elements
    /// of it. *Throws* `InvalidValue` for a dead type.
    void registerType(Type const& type, std::unique_ptr<CollectionInstantiator> instantiator,
                      ElementFactory factory = {});
    /// Registers the names of a live type. A name of another live type stays with that type.
    void registerTypeNames(Type const& type, std::string const& dotted, std::string const& scoped);
    /// Unregisters every type whose element is dead or was rolled back.
    void unregisterDeadTypes() noexcept;

    /// The instantiator registered for the type, borrowed; null for an unknown or null type.
    CollectionInstantiator const* collectionInstantiator(Type const& type) const noexcept;
    /// The C++ type of the type's values; null for an unknown or null type.
    std::type_info const* valueTypeOf(Type const& type) const noexcept;
    /// Creates an element of class `type`. *Throws* `NoSuchType` for an unregistered type and `InvalidValue` for one
    /// without a factory: an abstract class or a primitive type.
    [[nodiscard]] ModelElement createElement(Type const& type, Model const& model,
                                             boost::uuids::uuid const& uuid) const;

    /// Registers a live package by its URI; a URI of another live package stays with that one.
    void registerRootPackage(Package const& package);
    /// Unregisters that package with all types inside it; no effect for an unknown URI.
    void unregisterRootPackage(std::u16string const& uri) noexcept;
    /// The package with that URI; a null handle if there is none.
    [[nodiscard]] Package findRootPackage(std::u16string const& uri) const;

private:
    friend class foundation::NeverDestroyed<MetaRegistry>;
    struct Entry {
        Type type;
        std::unique_ptr<CollectionInstantiator> instantiator;
        ElementFactory factory;
    };

    STUDIO_DATA_LOCAL MetaRegistry();

    STUDIO_DATA_LOCAL Entry const* find(Type const& type) const noexcept;
    STUDIO_DATA_LOCAL Type typeNamed(std::string const& name) const;
    STUDIO_DATA_LOCAL void unregister(ModelElement const& root) noexcept;

    Model m_model;
    Model::Freezer m_freezer;
    std::unordered_map<ModelElement::Impl const*, Entry> m_types;
    std::unordered_map<std::string, Type> m_names;
    std::unordered_map<std::u16string, Package> m_rootPackages;
    std::unique_ptr<Listener> m_deadTypeListener;
};

namespace internal {

/// True if the type's values are those of a C++ enumeration.
STUDIO_DATA_EXPORT bool isEnumType(Type const& type);

}   // namespace internal

}   // namespace tarn::zero::meta
