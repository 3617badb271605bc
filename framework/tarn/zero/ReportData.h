#pragma once

#include "tarn/zero/ElementStorage.h"

#include <cstdint>
#include <iterator>
#include <memory>
#include <unordered_map>
#include <vector>

namespace tarn::zero {

/// What one committed transaction changed: elements created, modified and destroyed, each in one list only. Created and
/// then modified is created, modified and then destroyed is destroyed, created and then destroyed is nowhere. It is a
/// view over what the transaction remembered; nothing is copied until asked for. Whoever keeps it keeps the elements.
class STUDIO_DATA_EXPORT ReportData : public std::enable_shared_from_this<ReportData> {
public:
    /// Any element.
    using Impl = ModelElement::Impl;
    /// What a transaction remembers of one element.
    using Storage = ModelElement::Impl::Storage;
    /// In which list of a report an element stands.
    enum class Kind { Created, Modified, Destroyed };

    ReportData() = default;
    ReportData(ReportData const&) = delete;
    ReportData& operator=(ReportData const&) = delete;
    ~ReportData();

    /// True if an element of that class (or one derived from it) is in one of the lists.
    bool containsElementChanges(meta::Class const& type) const noexcept;
    bool containsElementChanges(ModelElement::Impl const* type) const noexcept
    {
        for (Impl const* const present : m_classes)
            if (Impl::conforms(present, type))
                return true;
        return false;
    }

    /// The value of `property` before the transaction; an empty value of its type if the property did not change or the
    /// element is not in the report. Throws nothing but `std::bad_alloc`.
    Value getOldValue(ModelElement const& element, meta::Property const& property) const;

    /// What changed in one element, to keep beyond the report; null for an element that is not in it.
    std::unique_ptr<Impl::Changes> createChanges(ModelElement const& element) const;

    /// The element's record, borrowed; null for an element that is not in the report.
    Storage const* storageOf(Impl const& element) const;

    /// Everything that the report tells, in order of first touch; borrowed.
    std::vector<Storage*> const& storages() const noexcept { return m_storages; }
    bool empty() const noexcept { return m_storages.empty(); }
    /// `Model::Impl::structure` as this transaction found it. Another number than the report before left says that
    /// something led elsewhere in between of which no report tells.
    std::uint64_t structureBefore() const noexcept { return m_structureBefore; }
    /// And as this transaction left it.
    std::uint64_t structure() const noexcept { return m_structure; }
    /// `Model::Impl::lastTransaction` as this transaction left it: while the model still has that number, no other one
    /// has been opened since.
    std::uint64_t lastTransaction() const noexcept { return m_lastTransaction; }
    /// The list that it stands in.
    static Kind kindOf(Storage const& storage) noexcept;

private:
    friend class Model::Impl;

    std::vector<Storage*> m_storages;     // owned, in order of first touch
    std::vector<Impl const*> m_classes;   // of the elements, each once
    std::uint64_t m_structureBefore = 0;
    std::uint64_t m_structure = 0;
    std::uint64_t m_lastTransaction = 0;
    mutable std::unordered_map<Impl const*, Storage const*> m_byElement;   // made when a long report is first asked
};

/// One entry of a report's list: the element, and what it held before.
class ReportEntry {
public:
    /// A view over what the report has of one element.
    explicit ReportEntry(ReportData::Storage const& storage) noexcept : m_storage{&storage} {}

    /// The element; one that was destroyed stays readable.
    ModelElement const& element() const noexcept { return m_storage->element(); }
    operator ModelElement const&() const noexcept { return element(); }
    /// True if property `index` changed. Of what was created, nothing did.
    bool isChanged(unsigned long index) const noexcept { return m_storage->isChanged(index); }

    /// The value of attribute `index`, of type `T`, before the transaction, borrowed; null if it did not change.
    template <class T>
    T const* peekOldValue(unsigned long index) const noexcept
    {
        return static_cast<T const*>(m_storage->oldSlot(index));
    }

private:
    ReportData::Storage const* m_storage;
};

/// Decides which entries a list shows.
using ReportFilter = bool (*)(ReportData::Storage const& storage);

/// One list of a report, in order of first touch. Borrows the report.
class ReportRange {
public:
    /// Walks over the entries that the list shows.
    class iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = ReportEntry;
        using difference_type = std::ptrdiff_t;
        using pointer = void;
        using reference = ReportEntry;

        /// At that place, or the next that is shown.
        iterator(ReportRange const* range, std::size_t at) : m_range{range}, m_at{at} { settle(); }

        /// The entry here.
        ReportEntry operator*() const { return ReportEntry{*m_range->m_report->storages()[m_at]}; }
        /// Goes on to the next one that is shown.
        iterator& operator++()
        {
            ++m_at;
            settle();
            return *this;
        }
        friend bool operator==(iterator const& left, iterator const& right) { return left.m_at == right.m_at; }

    private:
        void settle()
        {
            while (m_at != m_range->m_report->storages().size() && !m_range->shows(m_at))
                ++m_at;
        }

        ReportRange const* m_range;
        std::size_t m_at;
    };

    /// The entries of one kind that the filter shows.
    ReportRange(ReportData const& report, ReportData::Kind kind, ReportFilter filter) noexcept
        : m_report{&report}, m_kind{kind}, m_filter{filter}
    {}

    iterator begin() const { return {this, 0}; }
    iterator end() const { return {this, m_report->storages().size()}; }
    bool empty() const { return begin() == end(); }

private:
    bool shows(std::size_t at) const
    {
        ReportData::Storage const& storage = *m_report->storages()[at];
        return ReportData::kindOf(storage) == m_kind && m_filter(storage);
    }

    ReportData const* m_report;
    ReportData::Kind m_kind;
    ReportFilter m_filter;
};

}   // namespace tarn::zero
