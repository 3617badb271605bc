#pragma once

#include "tarn/zero/collections/ElementSequence.h"
#include "tarn/zero/collections/PrimitiveSequence.h"
#include "tarn/zero/meta/Type.h"

#include <string>
#include <utility>

namespace tarn::zero::meta {

/// A package required by another: a package family and its minimum version. A plain value.
class VersionInfo {
public:
    /// The family of packages.
    std::u16string const& family() const noexcept { return m_family; }
    void setFamily(std::u16string family) { m_family = std::move(family); }
    /// Sets the minimum version; empty if any version will do.
    void setMinVersion(std::u16string version) { m_minVersion = std::move(version); }

    friend bool operator==(VersionInfo const&, VersionInfo const&) = default;

private:
    std::u16string m_family;
    std::u16string m_minVersion;
};

/// A group of types and nested packages, named by a URI.
class STUDIO_DATA_EXPORT Package : public CreatableHandle<Package, NamedElement> {
public:
    class Impl;

    using CreatableHandle::CreatableHandle;
};

/// Implementation of a package.
class STUDIO_DATA_EXPORT Package::Impl : public NamedElement::Impl {
public:
    using NamedElement::Impl::Impl;

    static ModelElement::Impl* classImpl() noexcept { return detail::kernelClassOf<Package>(); }

    /// The unique name of the package; not an address.
    std::u16string const& getUri() const noexcept { return m_uri; }
    void setUri(std::u16string const& uri) { assign(URI, m_uri, uri); }
    /// The containing package; null for a root package.
    Package getParentPackage() const noexcept;
    /// Moves this package into `parent`. *Throws* `CircularContainment` if `parent` is this package or lies inside it.
    void setParentPackage(Package const& parent);
    /// The required packages.
    PrimitiveSequence<VersionInfo> const& getImportedPackages() const noexcept { return m_importedPackages; }
    PrimitiveSequence<VersionInfo>& getImportedPackagesMutable() noexcept { return m_importedPackages; }
    /// The nested packages.
    ElementSequence<Package> const& getPackages() const noexcept { return m_packages; }
    ElementSequence<Package>& getPackagesMutable() noexcept { return m_packages; }
    /// The types of the package, without those of nested packages.
    ElementSequence<Type> const& getTypes() const noexcept { return m_types; }
    ElementSequence<Type>& getTypesMutable() noexcept { return m_types; }

protected:
    ~Impl() override = default;

    static constexpr auto features();

private:
    enum : unsigned long { URI = 2, PARENT_PACKAGE, IMPORTED_PACKAGES, PACKAGES, TYPES };

    std::u16string m_uri;
    PrimitiveSequence<VersionInfo> m_importedPackages{*this, IMPORTED_PACKAGES};
    ElementSequence<Package> m_packages{*this, PACKAGES, true};
    ElementSequence<Type> m_types{*this, TYPES, true};
};

}   // namespace tarn::zero::meta
