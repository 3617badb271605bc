#pragma once

#include "tarn/zero/ReportData.h"

#include <memory>
#include <utility>

namespace tarn::zero {

namespace detail {

template <class T>
bool isOfClass(ReportData::Storage const& storage)
{
    return isInstance<T>(storage.element());
}

template <class T>
bool isInsideClass(ReportData::Storage const& storage)
{
    for (ModelElement::Impl const* place = storage.element().get(); place; place = place->containerImpl())
        if (isInstance<T>(*place))
            return true;
    return false;
}

}   // namespace detail

/// View over a report for elements of class `T`: its lists and the old values. The view passed to a listener borrows
/// the report until the listener returns; a copy shares it. Naming the view requires only the handle class, reading its
/// lists requires a complete `T::Impl`.
template <class T, bool Deep>
class ChangeReportOf {
public:
    /// The class whose changes the report shows.
    using Element = T;

    /// A view that shares `data`.
    explicit ChangeReportOf(std::shared_ptr<ReportData> data) noexcept : m_report{data.get()}, m_kept{std::move(data)}
    {}
    /// A view that borrows `report`, which must be owned by a `std::shared_ptr`.
    explicit ChangeReportOf(ReportData& report) noexcept : m_report{&report} {}
    ChangeReportOf(ChangeReportOf const& other) noexcept : m_report{other.m_report}, m_kept{other.data()} {}
    ChangeReportOf& operator=(ChangeReportOf const& other) noexcept
    {
        m_kept = other.data();
        m_report = other.m_report;
        return *this;
    }
    ~ChangeReportOf() = default;

    /// The elements created, as a range of `ReportEntry` in order of first touch.
    ReportRange created() const noexcept { return {*m_report, ReportData::Kind::Created, filter()}; }
    /// The elements that existed before and after the transaction and changed.
    ReportRange modified() const noexcept { return {*m_report, ReportData::Kind::Modified, filter()}; }
    /// The elements destroyed. They stay readable while the report is held.
    ReportRange destroyed() const noexcept { return {*m_report, ReportData::Kind::Destroyed, filter()}; }

    /// The whole report, of all classes, borrowed.
    ReportData const& report() const noexcept { return *m_report; }
    /// The whole report, shared: it lives while a reference to it is held.
    std::shared_ptr<ReportData> data() const noexcept { return m_kept ? m_kept : m_report->shared_from_this(); }

private:
    static ReportFilter filter() noexcept
    {
        if constexpr (Deep)
            return &detail::isInsideClass<T>;
        else
            return &detail::isOfClass<T>;
    }

    ReportData* m_report;
    std::shared_ptr<ReportData> m_kept;   // null while borrowed
};

/// Changes of elements of class `T` themselves.
template <class T>
class ShallowChangeReport : public ChangeReportOf<T, false> {
public:
    using ChangeReportOf<T, false>::ChangeReportOf;
};

/// Changes of elements of class `T` and of everything that they contain.
template <class T>
class DeepChangeReport : public ChangeReportOf<T, true> {
public:
    using ChangeReportOf<T, true>::ChangeReportOf;
};

}   // namespace tarn::zero
