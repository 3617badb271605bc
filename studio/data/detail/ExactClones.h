#pragma once

#include "studio/data/ContextView.h"
#include "studio/data/model/ContextDataImpl.h"
#include "studio/data/model/PropertyImpl.h"
#include "tarn/zero/ReportData.h"

#include <cstdint>
#include <string_view>

namespace studio::data::detail {

/// The contexts whose clones are exact: the two differ by no more than what reports to come list. Of such a context, a
/// view compares the properties that a report lists, and of any other one all of them.
///
/// A clone is exact once everything has been compared in a quiet view, one where no open transaction can still roll
/// back sources or clones. It stays exact until
/// - a report comes in a view that is not quiet, or is not processed to its end;
/// - a property comes or goes without a change of the context in the same report, so that the view does not compare it;
/// - the context is created or destroyed under its id.
class ExactClones {
public:
    using Id = ContextView::Id;

    bool contains(Id const& id) const noexcept { return ids.count(id) != 0; }
    void insert(Id const& id) { ids.insert(id); }
    void erase(Id const& id) noexcept { ids.erase(id); }
    void clear() noexcept
    {
        ids.clear();
        expected = 0;
    }

    /// Takes a report into account before it is processed. A report that changes properties and contexts comes twice:
    /// `isFirstOfTwo` is true for its properties.
    void follow(tarn::zero::ReportData const& report, bool isQuiet, bool isFirstOfTwo);

private:
    ContextView::IdSet ids;
    std::uint64_t expected = 0;   // the number of the report that must come next, for its contexts; 0 for any
};

/// Calls `visit(owner, name)` for the context and name of a property before and after a transaction that created,
/// destroyed, moved or renamed it. The owner may be null.
template <class Visit>
void eachSlot(tarn::zero::ReportData::Storage const& storage, Visit const& visit)
{
    bool const isRenamed = storage.isChanged(Property::Impl::NAME);
    bool const isMoved = storage.isChanged(Property::Impl::OWNER);
    if (!isRenamed && !isMoved && !storage.wasCreated() && !storage.wasDestroyed())
        return;
    auto const& property = static_cast<Property::Impl const&>(*storage.element().get());
    auto const* const owner = static_cast<ContextData::Impl const*>(property.containerImpl());
    std::string_view const name = property.getName();
    visit(owner, name);
    if (isRenamed || isMoved)
        visit(isMoved ? static_cast<ContextData::Impl const*>(storage.oldContainer().get()) : owner,
              isRenamed ? *static_cast<std::string const*>(storage.oldSlot(Property::Impl::NAME)) : name);
}

}   // namespace studio::data::detail
