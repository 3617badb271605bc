#include "studio/data/ContextProvider.h"

#include "studio/data/ProviderRegistry.h"
#include "studio/data/detail/ProviderTable.h"
#include "studio/data/model/ContextDataImpl.h"
#include "studio/data/model/PropertyImpl.h"

#include "foundation/NeverDestroyed.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn/zero/Transaction.h"

#include <boost/container/small_vector.hpp>

#include <boost/uuid/uuid_io.hpp>

#include <algorithm>
#include <stdexcept>

namespace studio::data {

namespace {

constexpr char SEPARATOR = '.';

template <class Change>
void inTransaction(Change const& change)
{
    tarn::zero::Transaction transaction = ContextProvider::sharedModel()->beginTransaction(true);
    change();
    transaction.commit(boost::none);
}

Property::Impl* propertyOf(ContextData const& context, std::string_view name)
{
    return context ? context->getProperties().findImpl(name) : nullptr;
}

std::shared_ptr<ContextProvider> childOf(Property::Impl const* property)
{
    if (!property || !property->getValue().isUUID())
        return nullptr;
    return model::getContextProvider(property->getValue().getUUID());
}

/// Returns the property whose own name is this dotted path.
Property::Impl* hidingIn(ContextData const& context, std::string_view path)
{
    if (!context || !context->getProperties().hasPaths())
        return nullptr;
    return context->getProperties().findImpl(path);
}

/// Returns the context of that identity that its provider could not destroy; null if there is none.
ContextData leftoverOf(boost::uuids::uuid const& id)
{
    tarn::zero::ModelElement const element = ContextProvider::sharedModel()->findElement(id, 1);
    ContextData::Impl* const context = tarn::zero::elementCast<ContextData>(element);
    return ContextData{context && context->isLeftover() ? context : nullptr};
}

/// Writes in one transaction. Does not use its arguments after listeners were called: they may be destroyed.
void write(Property::Impl* property, PropertyValue const& value)
{
    if (property)
        property->setValue(value);
}

void writeAt(ContextData const& context, std::string_view name, PropertyValue const& value)
{
    bool const hasDots = name.find(SEPARATOR) != std::string_view::npos;
    write(hasDots ? hidingIn(context, name) : propertyOf(context, name), value);
}

}   // namespace

constinit char const* const ContextProvider::TypeName = "ContextProvider";
constinit char const* const ContextProvider::ROOKTypeName = "studio.data.ContextProvider";

std::shared_ptr<ContextProvider> ContextProvider::create()
{
    return std::shared_ptr<ContextProvider>{new ContextProvider};
}

std::shared_ptr<ContextProvider> ContextProvider::create(boost::uuids::uuid const& id)
{
    if (id.is_nil())
        throw std::invalid_argument{"a context cannot have the nil UUID"};
    detail::ProviderTable& table = detail::ProviderTable::instance();
    auto const entry = table.all().find(id);
    ContextData const leftover = leftoverOf(id);
    bool const isTaken = sharedModel()->findElement(id, 1) && !leftover;
    if (isTaken || (entry != table.all().end() && entry->second))
        throw std::invalid_argument{"the UUID " + to_string(id) + " belongs to an existing context or property"};
    table.remove(id);   // that of a failed construction
    std::shared_ptr<ContextProvider> restored;
    inTransaction([&] {
        if (leftover)
            leftover->destroy();
        restored.reset(new ContextProvider{id});   // owned when reported: expressions may await it
    });
    return restored;
}

ContextProvider::ContextProvider(boost::uuids::uuid const& id)
{
    try {
        inTransaction([&] {
            element = ContextData::create(sharedModel(), id);
            detail::ProviderTable::instance().add(getId(), this);
        });
    } catch (...) {
        detail::ProviderTable::instance().abandon(getId());
        // If a listener threw, the element is committed, and nothing else would destroy it.
        destroyElement();
        throw;
    }
}

ContextProvider::~ContextProvider()
{
    detail::ProviderTable::instance().remove(getId());
    sharedModel()->bumpStructureVersionNow();
    destroyElement();
    rook::factory::full::retract(this);
}

tarn::zero::Model const& ContextProvider::sharedModel()
{
    static foundation::NeverDestroyed<tarn::zero::Model> s_model{
        tarn::zero::Model::create(tarn::zero::ModelConstellation{})};
    return *s_model;
}

Property ContextProvider::getProperty(std::string const& name) const
{
    return Property{findProperty(name)};
}

bool ContextProvider::hasProperty(std::string const& name) const
{
    return findProperty(name) != nullptr;
}

Property::Impl* ContextProvider::findProperty(std::string_view name) const
{
    return propertyOf(element, name);
}

Property::Impl* ContextProvider::findHiding(std::string_view path) const
{
    return hidingIn(element, path);
}

std::shared_ptr<ContextProvider> ContextProvider::getChildContextProvider(std::string const& name) const
{
    return childOf(findProperty(name));
}

PropertyValue ContextProvider::getPropertyValue(std::string const& name) const
{
    Property::Impl const* const found = findPropertyAt(name);
    return found ? found->getValue() : PropertyValue{};
}

Property::Impl* ContextProvider::findPropertyAt(std::string_view path) const
{
    // The dots are followed to their end even when the value is known: a provider under destruction anywhere on the
    // path is an error.
    Property::Impl* hiding = nullptr;
    std::shared_ptr<ContextProvider> child;
    ContextProvider const* provider = this;
    for (std::string_view rest = path;;) {
        std::size_t const dot = rest.find(SEPARATOR);
        if (dot == std::string_view::npos)
            return hiding ? hiding : provider->findProperty(rest);
        if (!hiding)
            hiding = provider->findHiding(rest);
        std::shared_ptr<ContextProvider> next = childOf(provider->findProperty(rest.substr(0, dot)));
        if (!next)
            return hiding;
        child = std::move(next);
        provider = child.get();
        rest.remove_prefix(dot + 1);
    }
}

std::vector<std::string> ContextProvider::getPropertyNames() const
{
    std::vector<std::string> names;
    if (element) {
        auto const& properties = element->getProperties();
        names.reserve(properties.size());
        for (Property const& property : properties)
            names.push_back(property->getName());
    }
    return names;
}

std::vector<std::string> ContextProvider::getActiveContexts() const
{
    if (!element)
        return {};
    auto const& contexts = element->getActiveContexts();
    return {contexts.begin(), contexts.end()};
}

void ContextProvider::addProperty(std::string const& name, PropertyValue const& value)
{
    if (!element || findProperty(name))
        return;
    element->addProperty(name, value);
}

void ContextProvider::setPropertyValue(std::string const& name, PropertyValue const& value)
{
    std::string_view rest = name;
    std::size_t dot = rest.find(SEPARATOR);
    if (dot == std::string_view::npos)
        return write(propertyOf(element, name), value);

    // Look up the whole path before the first write, and hold it: the callbacks of a write may release any provider on
    // it, this one too.
    struct Child {
        std::shared_ptr<ContextProvider> provider;
        std::string_view rest;
    };
    ContextData const own = element;
    boost::container::small_vector<Child, 16> children;
    for (ContextProvider const* provider = this; dot != std::string_view::npos; dot = rest.find(SEPARATOR)) {
        std::shared_ptr<ContextProvider> child = childOf(provider->findProperty(rest.substr(0, dot)));
        if (!child)
            break;
        provider = child.get();
        rest.remove_prefix(dot + 1);
        children.push_back({std::move(child), rest});
    }
    for (; !children.empty(); children.pop_back())
        writeAt(children.back().provider->element, children.back().rest, value);
    writeAt(own, name, value);
}

void ContextProvider::removeProperty(std::string const& name)
{
    if (Property::Impl* const property = findProperty(name))
        property->destroy();
}

void ContextProvider::setActiveContexts(std::vector<std::string> const& contexts)
{
    if (!element)
        return;
    inTransaction([&] {
        auto& sequence = element->getActiveContextsMutable();
        sequence.clear();
        for (std::string const& context : contexts)
            sequence.push_back(context);
    });
}

void ContextProvider::destroyElement() noexcept
{
    if (!element)
        return;
    element->markAsLeftover();
    try {
        element->destroy();   // possible at any depth of transactions
    } catch (...) {
        // If a listener threw, the element is gone. If there was no memory for a transaction, it stays as a leftover.
    }
}

bool operator==(std::vector<std::string> const& left, std::vector<std::string> const& right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end());
}

bool operator!=(std::vector<std::string> const& left, std::vector<std::string> const& right)
{
    return !(left == right);
}

bool operator==(tarn::zero::PrimitiveSequence<std::string> const& left,
                tarn::zero::PrimitiveSequence<std::string> const& right)
{
    return left.size() == right.size() && std::equal(left.begin(), left.end(), right.begin(), right.end());
}

bool operator!=(tarn::zero::PrimitiveSequence<std::string> const& left,
                tarn::zero::PrimitiveSequence<std::string> const& right)
{
    return !(left == right);
}

}   // namespace studio::data
