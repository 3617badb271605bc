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
/// properties refer to, reached by dotted names. What it holds lives in one element of the model that all providers
/// share; each public write is one transaction there, or joins the open one.
///
/// Owned by `std::shared_ptr`. All operations run on the thread of the shared model. A callback of a write may release
/// any provider, also the one being written to.
///
/// A provider whose element is gone, because the transaction that it was made in rolled back, reads as empty and
/// ignores writes.
class STUDIO_DATA_EXPORT ContextProvider : public rook::factory::full::StdShareable, private boost::noncopyable {
public:
    /// The name of the class: one text for all modules of a process, so that the pointers compare equal.
    static char const* const TypeName;
    /// The name under which a scripting host knows the class; one text for all modules, too.
    static char const* const ROOKTypeName;

    /// A new, empty context. *Notifies*: of the created element, before it returns. *Throws* what its commit throws,
    /// a listener's exception too; no element is left then, and a look-up of its id throws `std::bad_weak_ptr`.
    static std::shared_ptr<ContextProvider> create();

    /// For `create`: a provider that no `std::shared_ptr` owns cannot be looked up.
    ContextProvider();
    /// Takes the provider out of the registry, then destroys its element. Lets nothing out, whatever listeners throw.
    ~ContextProvider() override;

    /// The model in which all providers live; made on first use, never destroyed.
    static tarn::zero::Model const& sharedModel();
    /// The model in which this provider lives, which is the shared one.
    tarn::zero::Model getModel() const { return sharedModel(); }

    /// The UUID of the provider's element.
    boost::uuids::uuid getId() const noexcept { return element.Uuid(); }

    // Questions. An unknown name is no error.

    /// The property of exactly that name; a null handle if there is none.
    Property getProperty(std::string const& name) const;
    /// True if there is a property of exactly that name.
    bool hasProperty(std::string const& name) const;
    /// That property, borrowed and uncounted: null if there is none, good until the context changes.
    Property::Impl* findProperty(std::string_view name) const;
    /// The property of exactly that name, which has dots, borrowed; null if there is none. Such a property hides what
    /// the dots lead to. *Cost*: in a context none of whose names has a dot, nothing.
    Property::Impl* findHiding(std::string_view path) const;
    /// The property that `getPropertyValue` reads, borrowed and uncounted: null if there is none, good until a context
    /// on the path changes. *Cost*: a look-up for each dot.
    Property::Impl* findPropertyAt(std::string_view path) const;
    /// The provider that the property of exactly that name refers to; null if there is none.
    std::shared_ptr<ContextProvider> getChildContextProvider(std::string const& name) const;
    /// The value of that name, dots leading through children; undefined if there is none. A property whose own name
    /// has the dots hides what the dots lead to.
    PropertyValue getPropertyValue(std::string const& name) const;
    /// The names of all properties, in ascending byte order.
    std::vector<std::string> getPropertyNames() const;
    /// The names of the active contexts, in the order in which they were set.
    std::vector<std::string> getActiveContexts() const;

    // Changes. Each throws what its commit throws; after a failure that is not a listener's the state is as before.

    /// Adds a property; if there is one of that name, does nothing.
    void addProperty(std::string const& name, PropertyValue const& value);
    /// Writes the existing properties of that name, the one at the end of the dots first, then every one on the way
    /// whose own name has the remaining dots, each in a transaction of its own. Never adds one.
    /// *Cost*: one look-up for each dot and each property; a steady state allocates nothing.
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

// Lists of active contexts are equal when they hold the same bytes in the same order.

STUDIO_DATA_EXPORT bool operator==(std::vector<std::string> const& left, std::vector<std::string> const& right);
STUDIO_DATA_EXPORT bool operator!=(std::vector<std::string> const& left, std::vector<std::string> const& right);
STUDIO_DATA_EXPORT bool operator==(tarn::zero::PrimitiveSequence<std::string> const& left,
                                   tarn::zero::PrimitiveSequence<std::string> const& right);
STUDIO_DATA_EXPORT bool operator!=(tarn::zero::PrimitiveSequence<std::string> const& left,
                                   tarn::zero::PrimitiveSequence<std::string> const& right);

}   // namespace studio::data
