#include "tarn/zero/ModelImpl.h"

#include "fl/i18n/Unicode.h"
#include "tarn/zero/ReportData.h"
#include "tarn/zero/ReportException.h"
#include "tarn/zero/detail/Delivery.h"
#include "tarn/zero/detail/Journal.h"
#include "tarn0/messages/Messages.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace tarn::zero {

namespace {

constexpr std::size_t mostSpareReports = 8;   // nested commits beyond this allocate their report

}   // namespace

Model::Impl::Impl(ModelSpec const& wanted)
    : m_name{wanted.name},
      m_elements{std::make_unique<detail::ElementTable>()},
      m_journal{std::make_unique<detail::Journal>(*m_elements)},
      m_listeners{std::make_unique<detail::ListenerList>()},
      m_delivery{std::make_unique<detail::Delivery>()}
{}

Model::Impl::~Impl()
{
    m_listeners->clear();
    m_elements->forEach([](ModelElement::Impl& element) {
        element.invalidate();
        element.m_model = nullptr;
    });
    // Containers and contents now reference each other: release the references only when all are invalid.
    m_elements->forEach([](ModelElement::Impl& element) { element.dropReferences(); });
    m_elements->clear();
}

Transaction Model::Impl::beginTransaction(bool)
{
    std::uint64_t const serial = open();
    return Transaction{Model{this}, serial};
}

std::uint64_t Model::Impl::open()
{
    refuseFrozen();
    if (m_delivery->isFull() && !m_journal->isOpen())
        m_delivery->refuse();
    return begin();
}

std::uint64_t Model::Impl::begin()
{
    if (!m_journal->isOpen())
        m_cause = m_delivery->servedNumber();
    return m_journal->begin();
}

Transaction Model::Impl::beginDestruction()
{
    refuseFrozen();
    return Transaction{Model{this}, begin()};
}

void Model::Impl::refuseAsFrozen() const
{
    reportException(tarn0::messages::ModelFrozen{fl::i18n::ustring_to_utf8_lossy(m_name)});
}

bool Model::Impl::isInTransaction() const noexcept
{
    return m_journal->isOpen();
}

std::uint64_t Model::Impl::structureVersion() const noexcept
{
    return m_journal->structureVersion();
}

std::uint64_t Model::Impl::lastTransaction() const noexcept
{
    return m_journal->lastSerial();
}

void Model::Impl::bumpStructureVersion() noexcept
{
    m_journal->bumpStructureVersion();
}

void Model::Impl::bumpStructureVersionNow() noexcept
{
    m_journal->bumpStructureVersionNow();
}

ModelElement Model::Impl::findElement(boost::uuids::uuid const& uuid, FindElementBehavior) const
{
    return ModelElement{m_elements->find(uuid)};
}

std::vector<ModelElement> Model::Impl::elements() const
{
    std::vector<ModelElement> list;
    list.reserve(m_elements->size());
    m_elements->forEach([&](ModelElement::Impl& element) {
        if (element.isAlive() && element.isAnnounced())
            list.emplace_back(&element);
    });
    return list;
}

void Model::Impl::removeListener(Listener* listener) noexcept
{
    m_listeners->remove(listener);
}

bool Model::Impl::isListening(Listener const* listener) const noexcept
{
    return m_listeners->contains(listener);
}

void Model::Impl::setNestingLimit(std::size_t limit) noexcept
{
    m_delivery->setLimit(std::max<std::size_t>(limit, 1));
}

std::size_t Model::Impl::nestingLimit() const noexcept
{
    return m_delivery->limit();
}

void Model::Impl::addHolder(std::shared_ptr<ListenerHolderBase> holder)
{
    if (!holder->listener())
        throw std::invalid_argument{"a null listener"};
    m_listeners->add(std::move(holder));
}

void Model::Impl::commit(std::uint64_t serial)
{
    if (std::shared_ptr<ReportData> report = seal(serial))
        publish(std::move(report));
}

std::shared_ptr<ReportData> Model::Impl::seal(std::uint64_t serial)
{
    detail::Journal& journal = *m_journal;
    if (!journal.isInnermost(serial))
        throw std::logic_error{"a transaction must be committed once, after those opened inside it"};
    if (journal.isNested()) {
        journal.mergeIntoOuter();
        return nullptr;
    }
    ModelElement::Impl::Storage const* const only = m_delivery->isIdle() ? journal.onlyChange() : nullptr;
    if (m_listeners->empty() || (only && !m_listeners->isConcerned(*only->element().get(), only->changedBits()))) {
        journal.seal();
        return nullptr;
    }
    std::shared_ptr<ReportData> report = takeReport();
    journal.makeRoom(report->m_storages, report->m_classes);
    journal.revertUnchanged();
    report->m_structureVersionBefore = journal.structureVersion();
    journal.seal(report->m_storages, report->m_classes);
    report->m_structureVersion = journal.structureVersion();
    report->m_lastTransaction = journal.lastSerial();
    report->m_cause = m_cause;
    report->m_number = m_reportCount += report->empty() ? 0 : 1;
    return report;
}

void Model::Impl::publish(std::shared_ptr<ReportData> report)
{
    Model const keep{this};
    struct Return {
        Impl& model;
        std::shared_ptr<ReportData>& report;
        ~Return() { model.giveReport(std::move(report)); }
    } const giveBack{*this, report};
    if (!report->empty())
        m_delivery->deliver(report, m_listeners->snapshot());
}

void Model::Impl::rollBack(std::uint64_t serial) noexcept
{
    m_journal->rollBackTo(serial);
}

std::shared_ptr<ReportData> Model::Impl::takeReport()
{
    if (m_spareReports.empty()) {
        m_spareReports.reserve(mostSpareReports);   // so that returning it never allocates
        return std::make_shared<ReportData>();
    }
    std::shared_ptr<ReportData> report = std::move(m_spareReports.back());
    m_spareReports.pop_back();
    return report;
}

void Model::Impl::giveReport(std::shared_ptr<ReportData> report) noexcept
{
    if (report.use_count() != 1)
        return m_journal->abandon(report->m_storages);   // a listener kept it
    report->m_byElement.clear();
    report->m_classes.clear();
    m_journal->recycle(report->m_storages);
    if (m_spareReports.size() < m_spareReports.capacity())
        m_spareReports.push_back(std::move(report));
}

}   // namespace tarn::zero
