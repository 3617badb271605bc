#pragma once

#include "tarn/zero/ElementStorage.h"

#include <cstdint>
#include <iterator>
#include <memory>
#include <unordered_map>
#include <vector>

namespace tarn::zero {

/// The changes of one committed transaction: elements created, modified and destroyed, each in one list only. Created
/// then modified is created; modified then destroyed is destroyed; created then destroyed is in no list. It is a view
/// over the transaction's storages; nothing is copied until requested. Keeping it keeps the elements.
class STUDIO_DATA_EXPORT ReportData : public std::enable_shared_from_this<ReportData> {
public:
    /// An element of any class.
    using Impl = ModelElement::Impl;
    /// The record of one element.
    using Storage = ModelElement::Impl::Storage;
    /// The list that an element is in.
    enum class Kind { Created, Modified, Destroyed };

    ReportData() = default;
    ReportData(ReportData const&) = delete;
    ReportData& operator=(ReportData const&) = delete;
    ~ReportData();

    /// True if a list has an element of class `type` or of a derived class.
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

    /// The changes of one element, to keep beyond the report; null for an element that is not in it.
    [[nodiscard]] std::unique_ptr<Impl::Changes> createChanges(ModelElement const& element) const;

    /// The element's record, borrowed; null for an element that is not in the report.
    Storage const* storageOf(Impl const& element) const;

    /// The records of all elements, in order of first touch; borrowed.
    std::vector<Storage*> const& storages() const noexcept { return m_storages; }
    bool empty() const noexcept { return m_storages.empty(); }
    /// The number of this report: 1 for the first that the model delivers, then 2, 3 and so on. A commit that changes
    /// nothing, or nothing that a listener is concerned with, has no report and takes no number.
    std::uint64_t number() const noexcept { return m_number; }
    /// The number of the report that a listener was being notified of when this transaction began: what this one
    /// follows from. 0 if no report was in delivery.
    std::uint64_t cause() const noexcept { return m_cause; }
    /// Structure version before this transaction. If it differs from the previous report's `structureVersion()`, the
    /// structure changed in between without a report.
    std::uint64_t structureVersionBefore() const noexcept { return m_structureVersionBefore; }
    /// Structure version after this transaction.
    std::uint64_t structureVersion() const noexcept { return m_structureVersion; }
    /// `Model::Impl::lastTransaction` after this transaction: while the model still has that number, no other
    /// transaction has been opened since.
    std::uint64_t lastTransaction() const noexcept { return m_lastTransaction; }
    /// The list that the element of `storage` is in.
    static Kind kindOf(Storage const& storage) noexcept;

private:
    friend class Model::Impl;

    std::vector<Storage*> m_storages;     // owned, in order of first touch
    std::vector<Impl const*> m_classes;   // of the elements, each once
    std::uint64_t m_number = 0;
    std::uint64_t m_cause = 0;
    std::uint64_t m_structureVersionBefore = 0;
    std::uint64_t m_structureVersion = 0;
    std::uint64_t m_lastTransaction = 0;
    mutable std::unordered_map<Impl const*, Storage const*> m_byElement;   // built by the first lookup in a long report
};

/// One entry of a report's list: an element and its old values.
class ReportEntry {
public:
    /// A view over the record of one element.
    explicit ReportEntry(ReportData::Storage const& storage) noexcept : m_storage{&storage} {}

    /// The element; readable even if it was destroyed.
    ModelElement const& element() const noexcept { return m_storage->element(); }
    operator ModelElement const&() const noexcept { return element(); }
    /// True if property `index` changed. False for every property of a created element.
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

/// Decides which entries a list contains.
using ReportFilter = bool (*)(ReportData::Storage const& storage);

/// One list of a report, in order of first touch. Borrows the report.
class ReportRange {
public:
    /// Iterates over the entries of the list.
    class iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = ReportEntry;
        using difference_type = std::ptrdiff_t;
        using pointer = void;
        using reference = ReportEntry;

        /// At position `at`, or at the next entry of the list behind it.
        iterator(ReportRange const* range, std::size_t at) : m_range{range}, m_at{at} { settle(); }

        /// The current entry.
        ReportEntry operator*() const { return ReportEntry{*m_range->m_report->storages()[m_at]}; }
        /// Advances to the next entry of the list.
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

    /// The entries of one kind that the filter accepts.
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
