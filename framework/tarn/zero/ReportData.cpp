#include "tarn/zero/ReportData.h"

#include "tarn/zero/Value.h"
#include "tarn/zero/meta/Type.h"

#include <algorithm>

namespace tarn::zero {

namespace {

constexpr std::size_t shortReport = 16;   // up to this size a linear search is faster than a table

}   // namespace

ReportData::~ReportData()
{
    for (Storage* const storage : m_storages)
        delete storage;
}

bool ReportData::containsElementChanges(meta::Class const& type) const noexcept
{
    return containsElementChanges(type.get());
}

Value ReportData::getOldValue(ModelElement const& element, meta::Property const& property) const
{
    Storage const* const storage = element.get() ? storageOf(*element.get()) : nullptr;
    if (storage)
        return storage->getOldValue(property, Impl::PUBLIC_ACCESS);
    return property ? Value{ValueMeta{property}} : Value{};
}

std::unique_ptr<ModelElement::Impl::Changes> ReportData::createChanges(ModelElement const& element) const
{
    Storage const* const storage = element.get() ? storageOf(*element.get()) : nullptr;
    if (!storage)
        return nullptr;
    std::unique_ptr<Impl::Changes> changes = element->createChanges();
    changes->assign(*storage);
    return changes;
}

ReportData::Storage const* ReportData::storageOf(Impl const& element) const
{
    if (m_storages.size() <= shortReport) {
        auto const found = std::find_if(m_storages.begin(), m_storages.end(),
                                        [&](Storage const* storage) { return storage->element().get() == &element; });
        return found == m_storages.end() ? nullptr : *found;
    }
    if (m_byElement.empty()) {
        std::unordered_map<Impl const*, Storage const*> whole;   // complete or none: a partial table misses elements
        whole.reserve(m_storages.size());
        for (Storage const* const storage : m_storages)
            whole.emplace(storage->element().get(), storage);
        m_byElement.swap(whole);
    }
    auto const found = m_byElement.find(&element);
    return found == m_byElement.end() ? nullptr : found->second;
}

ReportData::Kind ReportData::kindOf(Storage const& storage) noexcept
{
    if (storage.wasCreated())
        return Kind::Created;
    return storage.wasDestroyed() ? Kind::Destroyed : Kind::Modified;
}

}   // namespace tarn::zero
