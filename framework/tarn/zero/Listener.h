#pragma once

#include "foundation/Export.h"
#include "tarn/zero/Fwd.h"

#include <cstdint>

namespace tarn::zero {

/// What wants to hear of committed transactions. A listener names the reports it takes, in the order in which it takes
/// them, and has a `transactionCommitted` for each:
///
///     using Reports = ReportList<DeepChangeReport<Property>, ShallowChangeReport<ContextData>>;
///     void transactionCommitted(DeepChangeReport<Property> const& report);
///     void transactionCommitted(ShallowChangeReport<ContextData> const& report);
///
/// It is called on the committing thread, after the state is final and with no transaction open. It may do anything:
/// write, register and remove listeners, destroy itself. The model does not own it: remove it before it dies.
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

/// The reports that a listener takes, in order.
template <class... Reports>
struct ReportList {};

}   // namespace tarn::zero
