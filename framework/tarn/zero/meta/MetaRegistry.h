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

/// What the URI of every schema starts with. A name, not an address: nothing is fetched from there.
inline constexpr std::u16string_view SCHEMA_HOST = u"http://schema.studio-data.invalid";

/// Makes an element of one class.
using ElementFactory = std::function<ModelElement(Model const& model, boost::uuids::uuid const& uuid)>;

/// Every schema of the process: one frozen model of meta elements, the types in it by name, and what is known of the
/// C++ types behind them. It forgets a type with the death of its element, so that it never outlives its package.
/// Made on first use and never destroyed. Look-ups may run on any thread while nobody registers; packages register on
/// one thread at a time.
class STUDIO_DATA_EXPORT MetaRegistry {
public:
    /// The one registry of the process.
    static MetaRegistry& getInstance();

    MetaRegistry(MetaRegistry const&) = delete;
    MetaRegistry& operator=(MetaRegistry const&) = delete;
    ~MetaRegistry();

    /// The model of all meta elements, and what keeps it frozen.
    Model const& model() const noexcept { return m_model; }
    /// What keeps that model frozen; packages thaw it while they register.
    Model::Freezer& freezer() noexcept { return m_freezer; }
    /// The class that all element classes derive from.
    Class rootClass() const;

    /// The live type that is registered under that name, dotted or with `::`; a null handle if there is none (or, for
    /// the second, if it is not primitive).
    Type getType(std::u16string const& name) const;
    /// The same, if it is a type of plain values.
    PrimitiveType getPrimitiveType(std::u16string const& name) const;
    /// True if `typeId` is a name of `type`.
    bool isCorrectTypeForTypeId(PrimitiveType const& type, std::string const& typeId) const;

    /// Makes a live type known; one that is known already keeps what it has. Without a factory no element of it can be
    /// made by `createElement`. Throws `InvalidValue` for a dead type.
    void registerType(Type const& type, std::unique_ptr<CollectionInstantiator> instantiator,
                      ElementFactory factory = {});
    /// Gives a live type its names. A name that another live type has stays with that one.
    void registerTypeNames(Type const& type, std::string const& dotted, std::string const& scoped);
    /// Lets go of every type whose element is dead or was rolled back.
    void forgetDeadTypes() noexcept;

    /// What was registered for the type, borrowed; null for an unknown or a null one.
    CollectionInstantiator const* collectionInstantiator(Type const& type) const noexcept;
    /// The C++ type of the type's values; null likewise.
    std::type_info const* valueTypeOf(Type const& type) const noexcept;
    /// A new element of that class. Throws `NoSuchType` for a type that is not registered and `InvalidValue` for one
    /// without a factory: an abstract class or a type of plain values.
    ModelElement createElement(Type const& type, Model const& model, boost::uuids::uuid const& uuid) const;

    /// Makes a live package findable by its URI; a URI that another live one has stays with that one.
    void registerRootPackage(Package const& package);
    /// Lets go of that package and of every type inside it; ignores an unknown URI.
    void unregisterRootPackage(std::u16string const& uri) noexcept;
    /// A null handle for an unknown URI.
    Package findRootPackage(std::u16string const& uri) const;

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
    STUDIO_DATA_LOCAL void forget(ModelElement const& root) noexcept;

    Model m_model;
    Model::Freezer m_freezer;
    std::unordered_map<ModelElement::Impl const*, Entry> m_types;
    std::unordered_map<std::string, Type> m_names;
    std::unordered_map<std::u16string, Package> m_rootPackages;
    std::unique_ptr<Listener> m_undertaker;
};

namespace internal {

/// True for a type whose values are those of a C++ enumeration.
STUDIO_DATA_EXPORT bool isEnumType(Type const& type);

}   // namespace internal

}   // namespace tarn::zero::meta
