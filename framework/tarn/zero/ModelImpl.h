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

/// How `findElement` looks. 1, which finds live elements by their UUID, is the only mode in use.
using FindElementBehavior = int;

/// One model: its elements, its open transaction and its listeners.
class STUDIO_DATA_EXPORT Model::Impl final : public ElementImpl {
public:
    /// A new, empty model; see `Model::create`.
    explicit Impl(ModelSpec const& wanted);

    /// Opens a transaction; inside an open one a savepoint. Element setters pass false, whoever groups changes passes
    /// true; to the model both are the same. Throws `ModelFrozen` on a frozen model, and `std::runtime_error` inside of
    /// too many commits, see `setNestingLimit`; nothing is touched then.
    [[nodiscard]] Transaction beginTransaction(bool groupsChanges);
    /// True while changes are refused with `ModelFrozen`, in an open transaction too.
    bool isFrozen() const noexcept { return m_freezers != 0 && m_thawers == 0; }
    /// True while a transaction is open.
    bool isInTransaction() const noexcept;

    /// The live element of that UUID (of several the first that was created), else a null handle. Elements created by
    /// the open transaction are found, elements that it destroyed and placeholders are not.
    ModelElement findElement(boost::uuids::uuid const& uuid, FindElementBehavior behavior) const;
    /// Every live element that was announced, in no particular order.
    std::vector<ModelElement> elements() const;

    /// Registers `listener` for the reports that it takes; one that is registered already stays where it is. *Throws*
    /// `std::invalid_argument` for null.
    template <class T>
    void addDeepListener(T* listener)
    {
        if (!isListening(listener))
            addHolder(std::make_shared<ListenerHolder<T, false>>(listener));
    }
    /// No further report reaches `listener`, not even one that is being delivered. Ignores a listener that is not
    /// registered; throws nothing.
    void removeListener(Listener* listener) noexcept;
    /// True from its registration to its removal.
    bool isListening(Listener const* listener) const noexcept;

    /// Bounds the commits that listeners make inside each other's delivery, so that writes which answer each other for
    /// ever end in an error and not at the end of the stack. A listener that is called inside of `limit` commits can
    /// open no transaction: that throws `std::runtime_error`, whose text names what the last commits changed, as a
    /// circle where they repeat. 1 refuses every write in a listener, and so does 0. Savepoints inside an open
    /// transaction and the destruction of elements are never refused: destructors have to clean up, and elements are
    /// finite. Takes effect with the next transaction, also inside a delivery.
    ///
    /// 1,000 unless set, which callbacks of expressions reach in less than 1 MiB of an optimized build's stack; where
    /// threads have small stacks, or frames are instrumented, less may be needed.
    void setNestingLimit(std::size_t limit) noexcept;
    /// The limit in force; at least 1.
    std::size_t nestingLimit() const noexcept;

    /// A number that changes whenever an element was created, destroyed or renamed, entered or left a collection, or
    /// changed a reference, by a transaction that has ended: what was found along a path then holds for as long as the
    /// number does. Says nothing inside a transaction.
    std::uint64_t structure() const noexcept;
    /// A number that changes whenever a transaction is opened. The state is the one that a report tells of for as long
    /// as this is the report's number; see `ReportData::lastTransaction`.
    std::uint64_t lastTransaction() const noexcept;
    /// Element classes call this before a change of theirs that counts as one.
    void noteRestructuring() noexcept;
    /// Whoever changes what leads where outside of the model calls this: no report tells of it, no roll back undoes it.
    void noteUntoldRestructuring() noexcept;

    /// The name that the model was made with.
    std::u16string const& name() const noexcept { return m_name; }
    /// What the open transaction remembers; for elements.
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
    /// The one way into a transaction. Answers the number of the level.
    STUDIO_DATA_LOCAL std::uint64_t open();
    /// The same without regard to the depth of deliveries.
    STUDIO_DATA_LOCAL Transaction beginDestruction();
    STUDIO_DATA_LOCAL void commit(std::uint64_t serial);
    /// The first half of a commit: whatever throws, nothing is final yet. Answers the report, if there is somebody to
    /// tell; the model is idle then, and listeners may open transactions of their own.
    STUDIO_DATA_LOCAL std::shared_ptr<ReportData> seal(std::uint64_t serial);
    /// The second half. What a listener throws leaves it; the model may be gone then.
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
    unsigned m_freezers = 0;
    unsigned m_thawers = 0;
};

}   // namespace tarn::zero
