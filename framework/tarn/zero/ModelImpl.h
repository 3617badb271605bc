#pragma once

#include "tarn/zero/ListenerHolder.h"
#include "tarn/zero/Model.h"
#include "tarn/zero/ModelElement.h"
#include "tarn/zero/Transaction.h"

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
    /// true; to the model both are the same. Throws `ModelFrozen` on a frozen model.
    [[nodiscard]] Transaction beginTransaction(bool groupsChanges);
    /// True while changes are refused with `ModelFrozen`, in an open transaction too.
    bool isFrozen() const noexcept { return m_freezers != 0 && m_thawers == 0; }
    /// True while a transaction is open.
    bool isInTransaction() const noexcept;

    /// The live element of that UUID (of several the first that was created), else a null handle. Elements created by
    /// the open transaction are found, elements that it destroyed and placeholders are not.
    ModelElement findElement(boost::uuids::uuid const& uuid, FindElementBehavior behavior) const;
    /// Every live element, in no particular order.
    std::vector<ModelElement> elements() const;

    /// Registers `listener` for the reports it names; a listener that is registered already stays where it is.
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

    /// A number that changes whenever an element was created, destroyed or renamed, entered or left a collection, or
    /// changed a reference, by a transaction that has ended: what was found along a path then holds for as long as the
    /// number does. Says nothing inside a transaction.
    std::uint64_t structure() const noexcept;
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
