#pragma once

#include "foundation/Export.h"
#include "rook/factory/full/StdShareable.h"
#include "studio/data/PropertyValue.h"
#include "studio/data/model/ContextData.h"
#include "studio/data/model/Property.h"
#include "tarn/zero/Model.h"

#include <boost/core/noncopyable.hpp>
#include <boost/uuid/uuid.hpp>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tarn::zero {

template <class T>
class PrimitiveSequence;

}   // namespace tarn::zero

namespace studio::data {

/// One context: named properties, an ordered list of active contexts, and child contexts, which are the providers that
/// properties refer to, reached by dotted names. Its state is one element of the model that all providers share; each
/// public write is one transaction there, or joins the open one.
///
/// Owned by `std::shared_ptr`. All operations run on the thread of the shared model. A callback of a write may release
/// any provider, also the one being written to.
///
/// A provider whose element is gone, because the transaction that made it rolled back, reads as empty and ignores
/// writes.
class STUDIO_DATA_EXPORT ContextProvider : public rook::factory::full::StdShareable, private boost::noncopyable {
public:
    /// The class name: the same pointer in all modules of a process, so that pointers may be compared.
    static char const* const TypeName;
    /// The class name for scripting hosts: the same pointer in all modules of a process.
    static char const* const ROOKTypeName;

    /// Makes a new, empty context. *Notifies*: of the created element, before it returns. *Throws* what its commit
    /// throws, a listener's exception too. Then no element is left, and looking up its id throws `std::bad_weak_ptr`.
    [[nodiscard]] static std::shared_ptr<ContextProvider> create();

    /// Makes a new, empty context of that identity, for contexts that are restored: references to the identity, and the
    /// expressions and views that go along them, reach the context again. *Notifies* as `create()`; the report's
    /// listeners may look the context up. Destroys in the same transaction what the context's last provider could not
    /// destroy, for lack of memory or because its end was rolled back. *Throws* `std::invalid_argument` for the nil
    /// UUID and for one that another element of the shared model has; nothing has changed then. *Throws* what its
    /// commit throws, a listener's exception too; the context is then destroyed, unless a listener keeps it.
    [[nodiscard]] static std::shared_ptr<ContextProvider> create(boost::uuids::uuid const& id);

    /// For `create` only: a provider that no `std::shared_ptr` owns cannot be looked up. The nil UUID stands for a new
    /// one.
    explicit ContextProvider(boost::uuids::uuid const& id = {});
    /// Removes the provider from the registry, then destroys its element. Throws nothing, whatever listeners throw.
    ~ContextProvider() override;

    /// Returns the model in which all providers live. Made on first use, never destroyed.
    static tarn::zero::Model const& sharedModel();
    /// Returns the model in which this provider lives: the shared model.
    tarn::zero::Model getModel() const { return sharedModel(); }

    /// Returns the UUID of the provider's element.
    boost::uuids::uuid getId() const noexcept { return element.Uuid(); }

    // Reads. An unknown name is no error.

    /// Returns the property of exactly that name; a null handle if there is none.
    Property getProperty(std::string const& name) const;
    /// True if there is a property of exactly that name.
    bool hasProperty(std::string const& name) const;
    /// Returns the property of exactly that name, borrowed: null if there is none, valid until the context changes.
    Property::Impl* findProperty(std::string_view name) const;
    /// Returns the property whose own name is this dotted path, borrowed; null if there is none. Such a property hides
    /// what the path would reach through children. *Cost*: nothing in a context none of whose names has a dot.
    Property::Impl* findHiding(std::string_view path) const;
    /// Returns the property that `getPropertyValue` reads, borrowed: null if there is none, valid until a context on
    /// the path changes. *Cost*: one look-up per dot.
    Property::Impl* findPropertyAt(std::string_view path) const;
    /// Returns the provider that the property of exactly that name refers to; null if there is none.
    std::shared_ptr<ContextProvider> getChildContextProvider(std::string const& name) const;
    /// Returns the value of that name, following dots through children; undefined if there is none. A property whose
    /// own name is the dotted path takes precedence.
    PropertyValue getPropertyValue(std::string const& name) const;
    /// Returns the names of all properties, in ascending byte order.
    std::vector<std::string> getPropertyNames() const;
    /// Returns the names of the active contexts, in the order in which they were set.
    std::vector<std::string> getActiveContexts() const;

    // Writes. Each throws what its commit throws; after any failure but a listener's the state is unchanged.

    /// Adds a property; does nothing if there is one of that name.
    void addProperty(std::string const& name, PropertyValue const& value);
    /// Writes every existing property that matches the path: first the one at its end, then, from the inside out, each
    /// one on the way whose own name is the rest of the path. Each write is a transaction of its own. Never adds a
    /// property. *Cost*: one look-up per dot and property; allocates nothing in a steady state.
    void setPropertyValue(std::string const& name, PropertyValue const& value);
    /// Destroys the property of exactly that name, if there is one.
    void removeProperty(std::string const& name);
    /// Replaces the whole list. By design: an equal list is written, and reported, too; compare first to avoid that.
    void setActiveContexts(std::vector<std::string> const& contexts);

    char const* getTypeName() const override { return TypeName; }
    char const* getFullyQualifiedRookTypeName() const override { return ROOKTypeName; }

private:
    STUDIO_DATA_LOCAL void destroyElement() noexcept;

    ContextData element;
};

// Lists of active contexts are equal if they hold the same bytes in the same order.

STUDIO_DATA_EXPORT bool operator==(std::vector<std::string> const& left, std::vector<std::string> const& right);
STUDIO_DATA_EXPORT bool operator!=(std::vector<std::string> const& left, std::vector<std::string> const& right);
STUDIO_DATA_EXPORT bool operator==(tarn::zero::PrimitiveSequence<std::string> const& left,
                                   tarn::zero::PrimitiveSequence<std::string> const& right);
STUDIO_DATA_EXPORT bool operator!=(tarn::zero::PrimitiveSequence<std::string> const& left,
                                   tarn::zero::PrimitiveSequence<std::string> const& right);

}   // namespace studio::data
