#include "tarn/zero/meta/MetaRegistry.h"

#include "fl/i18n/Unicode.h"
#include "foundation/NeverDestroyed.h"
#include "tarn/zero/ChangeReport.h"
#include "tarn/zero/Listener.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/meta/detail/KernelSchema.h"

#include <utility>

namespace tarn::zero::meta {

namespace {

thread_local bool t_isMakingRegistry = false;

/// Listener that unregisters types when schema elements are destroyed.
class DeadTypeListener final : public Listener {
public:
    using Reports = ReportList<ShallowChangeReport<NamedElement>>;

    explicit DeadTypeListener(MetaRegistry& registry) : m_registry{registry} {}

    void transactionCommitted(ShallowChangeReport<NamedElement> const& report)
    {
        if (!report.destroyed().empty())
            m_registry.unregisterDeadTypes();
    }

private:
    MetaRegistry& m_registry;
};

bool isInside(ModelElement const& element, ModelElement const& container) noexcept
{
    for (ModelElement::Impl const* place = element.get(); place; place = place->containerImpl())
        if (place == container.get())
            return true;
    return false;
}

}   // namespace

void detail::ensureKernelSchema()
{
    if (!t_isMakingRegistry)
        MetaRegistry::getInstance();
}

MetaRegistry& MetaRegistry::getInstance()
{
    static foundation::NeverDestroyed<MetaRegistry> s_registry;
    return *s_registry;
}

MetaRegistry::MetaRegistry() : m_model{Model::create(ModelSpec{u"meta"})}, m_freezer{m_model}
{
    t_isMakingRegistry = true;
    try {
        Model::Thawer const thawer = m_freezer.thaw();
        Transaction transaction = m_model->beginTransaction(true);
        detail::makeKernelSchema(*this);
        transaction.commit(boost::none);
        auto listener = std::make_unique<DeadTypeListener>(*this);
        m_model->addDeepListener(listener.get());
        m_deadTypeListener = std::move(listener);
    } catch (...) {
        detail::dropKernelSchema();
        t_isMakingRegistry = false;
        throw;
    }
    t_isMakingRegistry = false;
}

MetaRegistry::~MetaRegistry() = default;

Type MetaRegistry::getType(std::u16string const& name) const
{
    return typeNamed(fl::i18n::ustring_to_utf8_lossy(name));
}

PrimitiveType MetaRegistry::getPrimitiveType(std::u16string const& name) const
{
    return PrimitiveType{elementCast<PrimitiveType>(getType(name))};
}

bool MetaRegistry::isCorrectTypeForTypeId(PrimitiveType const& type, std::string const& typeId) const
{
    return type && typeNamed(typeId) == type;
}

void MetaRegistry::registerType(Type const& type, std::unique_ptr<CollectionInstantiator> instantiator,
                                ElementFactory factory)
{
    if (!type)
        reportException(tarn0::messages::InvalidValue{"a null type, to register"});
    m_types.try_emplace(type.get(), Entry{type, std::move(instantiator), std::move(factory)});
}

void MetaRegistry::registerTypeNames(Type const& type, std::string const& dotted, std::string const& scoped)
{
    if (!type)
        reportException(tarn0::messages::InvalidValue{"a null type, to be named \"" + dotted + '"'});
    for (std::string const* const name : {&dotted, &scoped})
        if (Type& present = m_names[*name]; !present)
            present = type;
}

void MetaRegistry::unregisterDeadTypes() noexcept
{
    unregister(ModelElement{});
}

CollectionInstantiator const* MetaRegistry::collectionInstantiator(Type const& type) const noexcept
{
    Entry const* const entry = find(type);
    return entry ? entry->instantiator.get() : nullptr;
}

std::type_info const* MetaRegistry::valueTypeOf(Type const& type) const noexcept
{
    CollectionInstantiator const* const instantiator = collectionInstantiator(type);
    return instantiator ? &instantiator->valueType() : nullptr;
}

ModelElement MetaRegistry::createElement(Type const& type, Model const& model, boost::uuids::uuid const& uuid) const
{
    Entry const* const entry = find(type);
    if (!entry)
        reportException(tarn0::messages::NoSuchType{type.get() ? type->getQualifiedName() : std::u16string{}});
    if (!entry->factory)
        reportException(tarn0::messages::InvalidValue{"nothing makes elements of " + type->describe()});
    return entry->factory(model, uuid);
}

void MetaRegistry::registerRootPackage(Package const& package)
{
    if (!package)
        reportException(tarn0::messages::InvalidValue{"a null package, to register"});
    if (Package& present = m_rootPackages[package->getUri()]; !present)
        present = package;
}

void MetaRegistry::unregisterRootPackage(std::u16string const& uri) noexcept
{
    auto const found = m_rootPackages.find(uri);
    if (found != m_rootPackages.end())
        unregister(Package{found->second});   // a copy: the entry is erased meanwhile
}

Package MetaRegistry::findRootPackage(std::u16string const& uri) const
{
    auto const found = m_rootPackages.find(uri);
    return found != m_rootPackages.end() && found->second ? found->second : Package{};
}

MetaRegistry::Entry const* MetaRegistry::find(Type const& type) const noexcept
{
    auto const found = m_types.find(type.get());
    return found == m_types.end() ? nullptr : &found->second;
}

Type MetaRegistry::typeNamed(std::string const& name) const
{
    auto const found = m_names.find(name);
    return found != m_names.end() && found->second ? found->second : Type{};
}

void MetaRegistry::unregister(ModelElement const& root) noexcept
{
    auto const goes = [&](ModelElement const& element) { return !element || (root && isInside(element, root)); };
    std::erase_if(m_names, [&](auto const& entry) { return goes(entry.second); });
    std::erase_if(m_types, [&](auto const& entry) { return goes(entry.second.type); });
    std::erase_if(m_rootPackages, [&](auto const& entry) { return goes(entry.second); });
}

bool internal::isEnumType(Type const& type)
{
    CollectionInstantiator const* const instantiator = MetaRegistry::getInstance().collectionInstantiator(type);
    return instantiator && instantiator->isEnum();
}

}   // namespace tarn::zero::meta
