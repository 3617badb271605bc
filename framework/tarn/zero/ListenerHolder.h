#pragma once

#include "tarn/zero/ChangeReport.h"
#include "tarn/zero/Listener.h"

#include <memory>
#include <type_traits>
#include <typeinfo>

namespace tarn::zero {

/// A model's reference to one listener of any class.
class STUDIO_DATA_EXPORT ListenerHolderBase {
public:
    /// A holder of `listener`. It receives the report of every committed transaction, whatever `deep` is;
    /// the other notifications are never sent.
    ListenerHolderBase(Listener* listener, bool validates, bool modifies, bool hearsFirstChange, bool deep,
                       bool hearsCancel, bool shallowOnly, bool persistent) noexcept;
    ListenerHolderBase(ListenerHolderBase const&) = delete;
    ListenerHolderBase& operator=(ListenerHolderBase const&) = delete;
    virtual ~ListenerHolderBase();

    /// The listener, borrowed; null once invalidated.
    Listener* listener() const noexcept { return m_listener; }
    /// Stops all dispatch and calls `listenerRemoved` of the listener. Throws nothing.
    void invalidate() noexcept;

    /// The name of the listener's class, for messages; a static text.
    virtual char const* getTypeName() const = 0;
    /// Notification before a commit; never sent.
    virtual void validateOnCommit(std::shared_ptr<ReportData> const& data) = 0;
    /// Notification before a commit, in which listeners may still write; never sent.
    virtual void modifyOnCommit(std::shared_ptr<ReportData> const& data) = 0;
    /// Passes a report to the listener, as each view that it takes. *Throws* what the listener throws.
    virtual void transactionCommitted(std::shared_ptr<ReportData> const& data) = 0;
    /// Notification after a rollback; never sent.
    virtual void transactionCanceled(bool nested, std::shared_ptr<ReportData> const& data) = 0;

private:
    Listener* m_listener;
};

namespace detail {

template <class T, class Report>
concept Takes = requires(T& listener, Report const& report)
{
    listener.transactionCommitted(report);
};

template <class Report, class List>
inline constexpr bool isIn = false;
template <class Report, class... Reports>
inline constexpr bool isIn<Report, ReportList<Reports...>> = (std::is_same_v<Report, Reports> || ...);

template <class... Lists>
struct Joined;
template <class... Reports>
struct Joined<ReportList<Reports...>> {
    using type = ReportList<Reports...>;
};
template <class... First, class... Second, class... Rest>
struct Joined<ReportList<First...>, ReportList<Second...>, Rest...> : Joined<ReportList<First..., Second...>, Rest...> {
};

template <bool Wanted, class Report>
using If = std::conditional_t<Wanted, ReportList<Report>, ReportList<>>;

template <class... Elements>
typename Joined<ReportList<>, ReportList<ShallowChangeReport<Elements>, DeepChangeReport<Elements>>...>::type reportsOf(
    ElementList<Elements...>);

/// The reports of the list that `T` takes.
template <class T, class... Reports>
typename Joined<ReportList<>, If<Takes<T, Reports>, Reports>...>::type taken(ReportList<Reports...>);
/// The reports of the first list that are in `List`. `lacking`: those that are not.
template <class List, class... Reports>
typename Joined<ReportList<>, If<isIn<Reports, List>, Reports>...>::type both(ReportList<Reports...>, List);
template <class List, class... Reports>
typename Joined<ReportList<>, If<!isIn<Reports, List>, Reports>...>::type lacking(ReportList<Reports...>, List);

template <class T, class... Reports>
constexpr bool takesAll(ReportList<Reports...>)
{
    return (Takes<T, Reports> && ...);
}

/// The reports delivered to a listener of class `T`, as a `ReportList` in order of delivery.
template <class T>
constexpr auto deliveredTo()
{
    constexpr auto elements = reportedElements(static_cast<T*>(nullptr));
    using Candidates = decltype(reportsOf(elements));
    if constexpr (requires { typename T::Reports; }) {
        using Wanted = typename T::Reports;
        static_assert(takesAll<T>(Wanted{}),
                      "the listener needs a public transactionCommitted(R const&) for each report R in its Reports");
        return
            typename Joined<decltype(both(Candidates{}, Wanted{})), decltype(lacking(Wanted{}, Candidates{}))>::type{};
    } else {
        using Delivered = decltype(taken<T>(Candidates{}));
        static_assert(
            !std::is_same_v<Delivered, ReportList<>>,
            "the listener needs a public transactionCommitted(R const&), where R is ShallowChangeReport<E> or "
            "DeepChangeReport<E> of an element class E; are the headers of the element classes included?");
        return Delivered{};
    }
}

}   // namespace detail

/// Holder of a listener of class `T` that dispatches to its `transactionCommitted` overloads. If `Owning`, the holder's
/// destructor deletes the listener.
template <class T, bool Owning>
class ListenerHolder final : public ListenerHolderBase {
public:
    /// A deep holder of `listener`.
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
        deliverAll(data, detail::deliveredTo<T>());
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
        // The previous delivery may have removed or destroyed the listener.
        if (!listener() || !data->containsElementChanges(Report::Element::Impl::classImpl()))
            return;
        Report const report{*data};
        static_cast<T*>(listener())->transactionCommitted(report);
    }
};

}   // namespace tarn::zero
