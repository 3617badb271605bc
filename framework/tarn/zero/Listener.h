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
/// The element classes list their reports in `reportedElements`. Reports are delivered in that order, whatever the
/// order of the overloads: `Property` before `ContextData`, and of one class the shallow report before the deep one. A
/// member template may take several reports. An overload is not called for a report without a change of its class. A
/// listener that takes no report does not compile.
///
/// An optional `using Reports = ReportList<...>` restricts delivery to the named reports. It may name reports of
/// element classes that `reportedElements` does not list; those come last, in the order in which they are named.
///
/// A listener is called on the committing thread, after the state is final and with no transaction open. It may do
/// anything: write, add and remove listeners, destroy itself. The model does not own it: remove it before it is
/// destroyed.
class STUDIO_DATA_EXPORT Listener {
public:
    Listener() = default;
    Listener(Listener const&) = delete;
    Listener& operator=(Listener const&) = delete;
    virtual ~Listener();

    /// Called before a report is built for a commit that changed values of exactly one element and no structure
    /// (nothing created, destroyed, renamed, moved or re-referenced). Return false if this listener would ignore that
    /// report; if all listeners do, the report is not built. `element` is a `ModelElement::Impl`; bit i of `changed` is
    /// set for each touched property i.
    virtual bool concerns(ElementImpl const& element, std::uint64_t changed) const noexcept;

    /// Called when the listener was removed: no report follows.
    virtual void listenerRemoved() {}
    /// The first change of a transaction. Deep listeners are not notified.
    virtual void firstChangeOccurred() {}
};

/// A list of report types.
template <class... Reports>
struct ReportList {};

/// A list of handle classes.
template <class... Elements>
struct ElementList {};

/// The element classes whose reports a listener may take, in order of delivery; evaluated at compile time only. The
/// model layer overloads it for `Listener const*` in this namespace, in the headers of its element classes. To report
/// further element classes, overload it for a base class of your own listeners in the namespace of that class; for
/// these listeners it replaces the model layer's list.
constexpr ElementList<> reportedElements(void const* /*listener*/) noexcept
{
    return {};
}

}   // namespace tarn::zero
