#pragma once

#include "tarn/zero/meta/Package.h"

#include <string>

namespace tarn::zero::meta {

/// Base of packages: creates schema elements in the registry's model, which must be thawed, in its open transaction if
/// there is one.
class STUDIO_DATA_EXPORT AbstractMetaPackage {
public:
    AbstractMetaPackage(AbstractMetaPackage const&) = delete;
    AbstractMetaPackage& operator=(AbstractMetaPackage const&) = delete;

protected:
    AbstractMetaPackage() = default;
    virtual ~AbstractMetaPackage();

    /// Creates a package with that name and URI.
    [[nodiscard]] Package createPackage(std::u16string const& name, std::u16string const& uri) const;
    /// Creates a class; `typeId` and the other UUIDs are given as text. *Throws* `std::runtime_error` for a malformed
    /// UUID.
    [[nodiscard]] Class createClass(std::u16string const& name, std::string const& typeId, bool isAbstract,
                                    bool isFinal, std::string const& uuid) const;
    /// Creates a property without an owning class.
    [[nodiscard]] Property createProperty(std::u16string const& name, ValueFlags flags, bool isComposite,
                                          std::string const& uuid) const;
    /// Creates an operation without an owning class.
    [[nodiscard]] Operation createOperation(std::u16string const& name, boost::uuids::uuid const& uuid) const;
    /// Creates an argument without an operation.
    [[nodiscard]] Argument createArgument(std::u16string const& name, boost::uuids::uuid const& uuid) const;
    /// Sets the index by which elements announce changes of the property. *Throws* `std::out_of_range` unless it is 1
    /// to 63: an element's changed bits are one word.
    void setPropertyIndex(Property const& property, int index) const;

    /// Registers a package by its URI; no effect on a registered one.
    void registerRootPackage(Package const& package) const;
    /// Unregisters the package with all types inside it.
    void unregisterRootPackage(std::u16string const& uri) const;

    /// Parses a UUID. *Throws* `std::runtime_error` for a malformed one.
    static boost::uuids::uuid parseUuid(std::string const& text);
};

}   // namespace tarn::zero::meta
