#pragma once

#include "foundation/Export.h"

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

    /// It receives no more reports.
    virtual void listenerRemoved() {}
    /// The model has begun to change. Deep listeners are not told.
    virtual void firstChangeOccurred() {}
};

/// The reports that a listener takes, in order.
template <class... Reports>
struct ReportList {};

}   // namespace tarn::zero
