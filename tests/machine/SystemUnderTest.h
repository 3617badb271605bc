#pragma once

#include "machine/ReferenceModel.h"
#include "support/Allocations.h"

#include "studio/data/ContextHandleImpl.h"
#include "studio/data/ContextProvider.h"
#include "studio/data/ContextView.h"
#include "studio/data/ExpressionEngine.h"
#include "tarn/zero/ChangeReport.h"
#include "tarn/zero/Transaction.h"

#include <array>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace machine {

/// The system under test, through its public interface.
class SystemUnderTest final : public World {
public:
    using Provider = std::shared_ptr<studio::data::ContextProvider>;

    /// Stores the ids of its contexts in `ids`.
    SystemUnderTest(Script const& script, Ids& ids);
    ~SystemUnderTest() override;

    void touchAll() override;
    void destroyLeftovers() override;
    /// Destroys the data that failed constructions left for lack of memory.
    void destroyNameless();
    /// Returns which engines, views and listeners exist.
    std::string present() const;
    std::string contents() const;
    std::set<std::string> values() const;
    std::string read(int slot, std::string const& path) const;
    std::array<Bindings, ENGINES> bindings() const;
    std::string mirrors() const;
    /// Returns the violated invariants; empty if there are none.
    std::string checkInvariants(bool touched = false) const;

private:
    class Foreign;
    struct Slot {
        Provider provider;
        int last = -1;
    };

    void create(int slot, bool restores) override;
    void drop(int slot) override;
    void change(Op const& op) override;
    static void lift(studio::data::Property const& property, studio::data::Property& held);
    static void bounce(studio::data::Property const& property);
    void begin() override;
    void commit() override;
    void rollBack() override;
    std::size_t depth() const override { return m_open.size(); }
    bool acquire(int engine, Text const& text, int handle) override;
    bool watch(int view, int slot, int handle) override;
    void bind(int engine, Binding const& binding) override;
    void release(int handle) override;
    void detach(int handle) override;
    void setEngine(int engine, bool present) override;
    void setView(int view, bool present) override;
    void setListener(int listener, bool present) override;
    std::string nameOfException() const override;
    int slotOf(int context) const override { return slotAmong(m_slots, context); }
    Subject subjectOf(tarn::zero::ModelElement const& element) const;

    studio::data::PropertyValue realValue(Value const& value) const;
    std::string nameOf(boost::uuids::uuid const& id) const;
    std::string nameOf(studio::data::ContextData const& context) const;
    std::string shown(studio::data::PropertyValue const& value) const;
    std::string line(tarn::zero::ReportEntry const& entry, tarn::zero::ReportData const& report) const;

    Ids& m_ids;
    std::map<boost::uuids::uuid, int> m_numbers;   // contexts whose creation has returned
    std::array<Slot, SLOTS> m_slots;
    std::array<studio::data::Property, MOST_LIFTED> m_lifted;   // held properties
    std::set<int> m_creating;
    std::vector<std::unique_ptr<tarn::zero::Transaction>> m_open;
    std::array<std::unique_ptr<studio::data::ExpressionEngine>, ENGINES> m_engines;
    std::array<std::unique_ptr<studio::data::ContextView>, VIEWS> m_views;
    std::array<std::unique_ptr<Foreign>, LISTENERS> m_foreign;
    std::map<int, std::unique_ptr<studio::data::ExpressionHandle>> m_expressionHandles;
    std::map<int, std::unique_ptr<studio::data::ContextHandleImpl>> m_contextHandles;
};

}   // namespace machine
