#pragma once

#include "tarn/zero/Model.h"
#include "tarn/zero/ModelElement.h"

#include <concepts>
#include <cstddef>
#include <type_traits>

namespace tarn::zero::meta {

namespace detail {

template <class... Handles>
struct HandleList {};

/// The classes that schemas consist of, each after its superclass. The only list of them: the kernel schema, the class
/// of a handle and the making of elements follow from it.
using KernelClasses = HandleList<ModelElement, NamedElement, Type, PrimitiveType, StructuredType, OperatableType, Class,
                                 Interface, TypedElement, Property, Operation, Argument, Package>;

template <class H, class... Handles>
constexpr std::size_t positionIn(HandleList<Handles...>) noexcept
{
    std::size_t at = 0;
    static_cast<void>(((std::is_same_v<H, Handles> || (++at, false)) || ...));
    return at;
}

/// The position of handle class `H` in `KernelClasses`.
template <class H>
inline constexpr std::size_t kernelIndex = positionIn<H>(KernelClasses{});

}   // namespace detail

namespace internal {

/// The class at position `index` of `detail::KernelClasses`, borrowed; null until the registry exists.
STUDIO_DATA_EXPORT ModelElement::Impl* kernelClass(std::size_t index) noexcept;
/// As `kernelClass`, but creates the registry unless it exists. Null only while the registry is under construction.
STUDIO_DATA_EXPORT ModelElement::Impl* requireKernelClass(std::size_t index);
/// A new element of the class at position `index`, which is not abstract.
STUDIO_DATA_EXPORT ModelElement createKernelElement(std::size_t index, Model const& model,
                                                    boost::uuids::uuid const& uuid);

}   // namespace internal

namespace detail {

template <class H>
ModelElement::Impl* kernelClassOf() noexcept
{
    return internal::kernelClass(kernelIndex<H>);
}

}   // namespace detail

/// What all meta handles share. `H` is the handle class, with its fields in `H::Impl`; `Base` is the handle class of
/// its superclass. A meta handle counts its element, may be null, and gives access to it by `->`.
template <class H, class Base>
class STUDIO_DATA_EXPORT MetaHandle : public Base {
public:
    /// The handle class of the superclass.
    using Super = Base;

    MetaHandle() noexcept = default;
    /// A handle that shares the element; null makes a null one.
    template <class Impl, class Handle = H>   // a parameter: H is not complete here
    requires std::convertible_to<Impl*, typename Handle::Impl*>
    explicit MetaHandle(Impl* impl) noexcept : Base{impl} {}

    /// The class of the elements. Defined in Type.h.
    static Class metaClass();

    /// The element; null for a null handle.
    auto* operator->() const noexcept { return static_cast<typename H::Impl*>(this->get()); }
};

/// Meta handle of a class that is not abstract.
template <class H, class Base>
class STUDIO_DATA_EXPORT CreatableHandle : public MetaHandle<H, Base> {
public:
    using MetaHandle<H, Base>::MetaHandle;

    /// Creates an element in `model`, in the open transaction or in one of its own; a nil UUID requests a random one.
    [[nodiscard]] static H create(Model const& model, boost::uuids::uuid const& uuid)
    {
        ModelElement const element = internal::createKernelElement(detail::kernelIndex<H>, model, uuid);
        return H{static_cast<typename H::Impl*>(element.get())};
    }
};

}   // namespace tarn::zero::meta
