#include "studio/data/detail/ExactClones.h"

namespace studio::data::detail {

void ExactClones::follow(tarn::zero::ReportData const& report, bool isQuiet, bool isFirstOfTwo)
{
    if (ids.empty() || !isQuiet || (expected != 0 && expected != report.lastTransaction()))
        return clear();
    expected = isFirstOfTwo ? report.lastTransaction() : 0;
    if (report.structureVersion() == report.structureVersionBefore())
        return;
    for (tarn::zero::ReportData::Storage const* const storage : report.storages()) {
        tarn::zero::ModelElement::Impl const& element = *storage->element().get();
        if (tarn::zero::isInstance<ContextData>(element)) {
            if (storage->wasCreated() || storage->wasDestroyed())
                ids.erase(element.identifier());
        } else if (tarn::zero::isInstance<Property>(element)) {
            eachSlot(*storage, [&](auto const* owner, std::string_view) {
                auto const known = owner ? ids.find(owner->identifier()) : ids.end();
                if (known == ids.end())
                    return;
                tarn::zero::ReportData::Storage const* const context = report.storageOf(*owner);
                if (!context || !context->isChanged(ContextData::Impl::PROPERTIES))
                    ids.erase(known);
            });
        }
    }
}

}   // namespace studio::data::detail
