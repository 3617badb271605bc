#pragma once

#include "foundation/Export.h"
#include "tarn/zero/Fwd.h"

#include <cstdint>

namespace tarn::zero {

/// Receives the reports of committed transactions. A listener derives from this class and declares a public
/// `transactionCommitted` for each report that it takes:
///
///     void transactionCommitted(DeepChangeReport<Property> const& report);
///     void transactionCommitted(ShallowChangeReport<ContextData> const& report);
///
/// That is all: the element classes say in `reportedElements` which reports there are, and in which order they come
/// (`Property` before `ContextData`, of one class the shallow report before the deep one), however the overloads are
/// ordered. A member template may take several reports. An overload is not called for a report without a change of its
/// class. A listener that takes none of the reports does not compile.
///
/// Optionally `using Reports = ReportList<...>` narrows: only these reports are delivered. It may name reports of
/// element classes that `reportedElements` does not list; they come last, in the order in which they are named.
///
/// A listener is called on the committing thread, after the state is final and with no transaction open. It may do
/// anything: write, register and remove listeners, destroy itself. The model does not own it: remove it before it dies.
class STUDIO_DATA_EXPORT Listener {
public:
    Listener() = default;
    Listener(Listener const&) = delete;
    Listener& operator=(Listener const&) = delete;
    virtual ~Listener();

    /// Asked before the report of a commit is made that did no more than modify one element, and not what leads where:
    /// false if that report would say nothing to this listener. It is not made if it says nothing to any of them.
    /// `element` is a `ModelElement::Impl`, `changed` has a bit for each property that was touched, by meta index.
    virtual bool concerns(ElementImpl const& element, std::uint64_t changed) const noexcept;

    /// It receives no more reports.
    virtual void listenerRemoved() {}
    /// The model has begun to change. Deep listeners are not told.
    virtual void firstChangeOccurred() {}
};

/// Reports, of types that a listener may take.
template <class... Reports>
struct ReportList {};

/// Handle classes of elements.
template <class... Elements>
struct ElementList {};

/// The element classes whose reports a listener takes by declaring an overload, in the order of delivery; evaluated
/// by the compiler alone. The model layer has an overload for `Listener const*` in this namespace, in the headers of
/// its element classes. Makers of further classes declare one for a base class of their own listeners, in the namespace
/// of that class; for these listeners it replaces the list of the model layer.
constexpr ElementList<> reportedElements(void const* /*listener*/) noexcept
{
    return {};
}

}   // namespace tarn::zero
