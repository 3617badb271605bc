#pragma once

#include "tarn/zero/ListenerHolder.h"
#include "tarn/zero/Model.h"
#include "tarn/zero/ModelElement.h"
#include "tarn/zero/Transaction.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace tarn::zero {

/// Mode of `findElement`. Only 1 is in use: live elements by UUID.
using FindElementBehavior = int;

/// One model: its elements, its open transaction and its listeners.
class STUDIO_DATA_EXPORT Model::Impl final : public ElementImpl {
public:
    /// A new, empty model; see `Model::create`.
    explicit Impl(ModelSpec const& wanted);

    /// Opens a transaction, or a savepoint if one is open. `groupsChanges` is false for element setters and true for
    /// callers that group changes; it has no effect. *Throws*, and changes nothing: `ModelFrozen` on a frozen model;
    /// `std::runtime_error` inside too many nested commits, see `setNestingLimit`.
    [[nodiscard]] Transaction beginTransaction(bool groupsChanges);
    /// True while changes throw `ModelFrozen`, also in an open transaction.
    bool isFrozen() const noexcept { return m_freezers != 0 && m_thawers == 0; }
    /// True while a transaction is open.
    bool isInTransaction() const noexcept;

    /// The live element of that UUID (of several the first created); a null handle if there is none. Finds elements
    /// created by the open transaction, but neither elements that it destroyed nor proxies.
    [[nodiscard]] ModelElement findElement(boost::uuids::uuid const& uuid, FindElementBehavior behavior) const;
    /// All live announced elements, in no particular order.
    std::vector<ModelElement> elements() const;

    /// Registers `listener` for the reports that it takes; no effect if it is registered. *Throws*
    /// `std::invalid_argument` for null.
    template <class T>
    void addDeepListener(T* listener)
    {
        if (!isListening(listener))
            addHolder(std::make_shared<ListenerHolder<T, false>>(listener));
    }
    /// Stops delivery to `listener`, also of a report being delivered. No effect if it is not registered. Throws
    /// nothing.
    void removeListener(Listener* listener) noexcept;
    /// True while `listener` is registered.
    bool isListening(Listener const* listener) const noexcept;

    /// Limits how deep commits made by listeners may nest, so that writes that trigger each other forever end in an
    /// error and not in a stack overflow. A listener called inside `limit` nested commits can open no transaction: that
    /// throws `std::runtime_error`, whose text names what the last commits changed, as a cycle if they repeat. 1
    /// refuses every write in a listener, and so does 0. Savepoints and the destruction of elements are never refused:
    /// destructors must clean up, and elements are finite. Takes effect with the next transaction, also during a
    /// delivery.
    ///
    /// The default is 1,000. Expression callbacks reach it in less than 1 MiB of an optimized build's stack; threads
    /// with small stacks and instrumented builds may need less.
    void setNestingLimit(std::size_t limit) noexcept;
    /// The current nesting limit; at least 1.
    std::size_t nestingLimit() const noexcept;

    /// Version of the model's structure. Grows whenever a finished transaction creates, destroys, renames or moves an
    /// element or changes a reference. A path resolved at one version stays valid while the version stays the same.
    /// Meaningless while a transaction is open.
    std::uint64_t structureVersion() const noexcept;
    /// Number of the last transaction opened. While it equals a report's `ReportData::lastTransaction`, the state is
    /// the one that the report describes.
    std::uint64_t lastTransaction() const noexcept;
    /// `ReportData::number` of the last report, which may still be in delivery; 0 before the first one. While it equals
    /// a report's number and no transaction is open, the values are those that the report left.
    std::uint64_t lastReport() const noexcept { return m_reportCount; }
    /// Announces a change of structure in the open transaction. Called by element classes before the change.
    void bumpStructureVersion() noexcept;
    /// Advances the structure version at once, also inside a transaction, for a change that no report announces.
    void bumpStructureVersionNow() noexcept;

    /// The name given at creation.
    std::u16string const& name() const noexcept { return m_name; }
    /// The undo log of the open transaction; for elements.
    detail::Journal& journal() noexcept { return *m_journal; }

private:
    friend class Freezer;
    friend class Invariants;
    friend class Thawer;
    friend class ModelElement::Impl;
    friend class Transaction;

    ~Impl() override;

    void addHolder(std::shared_ptr<ListenerHolderBase> holder);
    void refuseFrozen() const
    {
        if (isFrozen())
            refuseAsFrozen();
    }
    [[noreturn]] STUDIO_DATA_LOCAL void refuseAsFrozen() const;
    /// Opens a transaction level and returns its number. The only way into a transaction.
    STUDIO_DATA_LOCAL std::uint64_t open();
    STUDIO_DATA_LOCAL std::uint64_t begin();
    /// Opens a transaction for a destruction, which the nesting limit does not refuse.
    STUDIO_DATA_LOCAL Transaction beginDestruction();
    STUDIO_DATA_LOCAL void commit(std::uint64_t serial);
    /// First half of a commit: if it throws, nothing is final. Returns the report; null if nothing changed or nobody
    /// listens. The model is idle afterwards, so listeners may open transactions.
    STUDIO_DATA_LOCAL std::shared_ptr<ReportData> seal(std::uint64_t serial);
    /// Second half of a commit: delivers the report. *Throws* the first exception of a listener; the model may be gone
    /// then.
    STUDIO_DATA_LOCAL void publish(std::shared_ptr<ReportData> report);
    STUDIO_DATA_LOCAL void rollBack(std::uint64_t serial) noexcept;
    STUDIO_DATA_LOCAL std::shared_ptr<ReportData> takeReport();
    STUDIO_DATA_LOCAL void giveReport(std::shared_ptr<ReportData> report) noexcept;

    std::u16string m_name;
    std::unique_ptr<detail::ElementTable> m_elements;
    std::unique_ptr<detail::Journal> m_journal;
    std::unique_ptr<detail::ListenerList> m_listeners;
    std::unique_ptr<detail::Delivery> m_delivery;
    std::vector<std::shared_ptr<ReportData>> m_spareReports;
    std::uint64_t m_reportCount = 0;
    std::uint64_t m_cause = 0;   // of the open transaction: the number of the report that was being delivered
    unsigned m_freezers = 0;
    unsigned m_thawers = 0;
};

}   // namespace tarn::zero
