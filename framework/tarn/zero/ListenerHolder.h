#pragma once

#include "tarn/zero/ChangeReport.h"
#include "tarn/zero/Listener.h"

#include <memory>
#include <typeinfo>

namespace tarn::zero {

/// A model's hold on one listener, without regard to its class.
class STUDIO_DATA_EXPORT ListenerHolderBase {
public:
    /// Only `deep` has a meaning to this model: the listener gets the report of every committed transaction. The
    /// other notifications are never sent.
    ListenerHolderBase(Listener* listener, bool validates, bool modifies, bool hearsFirstChange, bool deep,
                       bool hearsCancel, bool shallowOnly, bool persistent) noexcept;
    ListenerHolderBase(ListenerHolderBase const&) = delete;
    ListenerHolderBase& operator=(ListenerHolderBase const&) = delete;
    virtual ~ListenerHolderBase();

    /// The listener, borrowed; null once invalidated.
    Listener* listener() const noexcept { return m_listener; }
    /// True if the listener gets the reports of committed transactions.
    bool isDeep() const noexcept { return m_deep; }
    /// From now on nothing is dispatched; the listener is told through `listenerRemoved`. Throws nothing.
    void invalidate() noexcept;

    /// The name of the listener's class, for people; a static text.
    virtual char const* getTypeName() const = 0;
    /// Before a commit; never called.
    virtual void validateOnCommit(std::shared_ptr<ReportData> const& data) = 0;
    /// Before a commit; never called.
    virtual void modifyOnCommit(std::shared_ptr<ReportData> const& data) = 0;
    /// Hands a report to the listener, as the views that it asks for. *Throws* what the listener throws.
    virtual void transactionCommitted(std::shared_ptr<ReportData> const& data) = 0;
    /// After a roll back; never called.
    virtual void transactionCanceled(bool nested, std::shared_ptr<ReportData> const& data) = 0;

private:
    Listener* m_listener;
    bool m_deep;
};

/// A hold on a listener of class `T` that dispatches to its `transactionCommitted` overloads. `Owning`: the listener
/// goes with the holder.
template <class T, bool Owning>
class ListenerHolder final : public ListenerHolderBase {
public:
    /// A deep hold on that listener.
    explicit ListenerHolder(T* listener) noexcept
        : ListenerHolderBase(listener, false, false, false, true, false, false, false)
    {}
    ~ListenerHolder() override
    {
        if constexpr (Owning)
            delete static_cast<T*>(listener());
    }

    char const* getTypeName() const override { return typeid(T).name(); }
    void validateOnCommit(std::shared_ptr<ReportData> const&) override {}
    void modifyOnCommit(std::shared_ptr<ReportData> const&) override {}
    void transactionCommitted(std::shared_ptr<ReportData> const& data) override
    {
        deliverAll(data, typename T::Reports{});
    }
    void transactionCanceled(bool, std::shared_ptr<ReportData> const&) override {}

private:
    template <class... Reports>
    void deliverAll(std::shared_ptr<ReportData> const& data, ReportList<Reports...>)
    {
        (deliver<Reports>(data), ...);
    }

    template <class Report>
    void deliver(std::shared_ptr<ReportData> const& data)
    {
        // The delivery before this one may have removed or destroyed the listener.
        if (listener() && data->containsElementChanges(Report::Element::Impl::classImpl()))
            static_cast<T*>(listener())->transactionCommitted(Report{data});
    }
};

}   // namespace tarn::zero
