#pragma once

#include "tarn/zero/ReportData.h"

#include <memory>
#include <utility>

namespace tarn::zero {

/// A view over a report for elements of class `T`: the lists it shows, and the old values. Copying shares the report.
template <class T, ReportFilter Filter>
class ChangeReportOf {
public:
    /// The class whose changes the report shows.
    using Element = T;

    /// A view over that report, which it keeps.
    explicit ChangeReportOf(std::shared_ptr<ReportData> data) noexcept : m_data{std::move(data)} {}

    /// The elements created, modified and destroyed, as a range of `ReportEntry`, in order of first touch.
    ReportRange created() const noexcept { return {*m_data, ReportData::Kind::Created, Filter}; }
    /// The elements that were there before and after, and changed.
    ReportRange modified() const noexcept { return {*m_data, ReportData::Kind::Modified, Filter}; }
    /// The elements that are gone. They stay readable while the report is held.
    ReportRange destroyed() const noexcept { return {*m_data, ReportData::Kind::Destroyed, Filter}; }

    /// The whole report, of all classes.
    std::shared_ptr<ReportData> const& data() const noexcept { return m_data; }

private:
    std::shared_ptr<ReportData> m_data;
};

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

/// Changes of elements of class `T` themselves.
template <class T>
class ShallowChangeReport : public ChangeReportOf<T, &detail::isOfClass<T>> {
public:
    using ChangeReportOf<T, &detail::isOfClass<T>>::ChangeReportOf;
};

/// Changes of elements of class `T` and of everything that they contain.
template <class T>
class DeepChangeReport : public ChangeReportOf<T, &detail::isInsideClass<T>> {
public:
    using ChangeReportOf<T, &detail::isInsideClass<T>>::ChangeReportOf;
};

}   // namespace tarn::zero
