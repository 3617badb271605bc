#pragma once

#include "tarn/zero/meta/Package.h"

#include <string>

namespace tarn::zero::meta {

/// What a package of schema elements is made with. Everything is made in the registry's model, which must be thawed;
/// in its open transaction, if there is one.
class STUDIO_DATA_EXPORT AbstractMetaPackage {
public:
    AbstractMetaPackage(AbstractMetaPackage const&) = delete;
    AbstractMetaPackage& operator=(AbstractMetaPackage const&) = delete;

protected:
    AbstractMetaPackage() = default;
    virtual ~AbstractMetaPackage();

    /// A new package of that name and URI.
    Package createPackage(std::u16string const& name, std::u16string const& uri) const;
    /// UUIDs given as text: the parser throws `std::runtime_error` for a malformed one.
    Class createClass(std::u16string const& name, std::string const& typeId, bool isAbstract, bool isFinal,
                      std::string const& uuid) const;
    /// A new property, which no class has yet.
    Property createProperty(std::u16string const& name, ValueFlags flags, bool isComposite,
                            std::string const& uuid) const;
    /// A new operation, which no class has yet.
    Operation createOperation(std::u16string const& name, boost::uuids::uuid const& uuid) const;
    /// A new argument, which no operation has yet.
    Argument createArgument(std::u16string const& name, boost::uuids::uuid const& uuid) const;
    /// Binds the number by which elements announce changes of the property. *Throws* `std::out_of_range` unless it is
    /// 1 to 63: an element's changes are the bits of one word.
    void setPropertyIndex(Property const& property, int index) const;

    /// Makes a package known by its URI; one that is known already stays.
    void registerRootPackage(Package const& package) const;
    /// The registry forgets the package with all types inside it.
    void unregisterRootPackage(std::u16string const& uri) const;

    /// The UUID of a text. *Throws* `std::runtime_error` for a malformed one.
    static boost::uuids::uuid parseUuid(std::string const& text);
};

}   // namespace tarn::zero::meta
