#include "support/Elements.h"
#include "support/Printers.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tarn::zero {
namespace {

using support::ContextData;
using support::Property;
using support::PropertyValue;
using support::thrownBy;
using Strings = std::vector<std::string>;
using Id = std::size_t;   // the n-th element that was ever made
constexpr Id NONE = static_cast<Id>(-1);

/// One element as a naive model sees it.
struct Plain {
    bool isContext;
    boost::uuids::uuid uuid;
    bool isAlive = true;
    std::string name{};
    PropertyValue value{};
    Id owner = NONE;
    Strings active{};
    bool touchedActive = false;   // since the outermost transaction began
    bool touchedMembers = false;
};

/// A whole model; every open transaction keeps a copy of the one at its beginning.
struct Snapshot {
    std::map<Id, Plain> elements;
    std::map<boost::uuids::uuid, Id> index;

    bool lives(Id id) const { return elements.count(id) != 0 && elements.at(id).isAlive; }
    /// The members of a context by name.
    std::map<std::string, Id> members(Id context) const
    {
        std::map<std::string, Id> byName;
        for (auto const& [id, element] : elements)
            if (element.isAlive && !element.isContext && element.owner == context)
                byName.emplace(element.name, id);
        return byName;
    }
    Id found(boost::uuids::uuid const& uuid) const
    {
        auto const entry = index.find(uuid);
        return entry != index.end() && lives(entry->second) ? entry->second : NONE;
    }
    void create(Id id, bool isContext, boost::uuids::uuid const& uuid)
    {
        if (found(uuid) == NONE)
            index[uuid] = id;
        elements.emplace(id, Plain{isContext, uuid});
    }
    void touchMembers(Id context)
    {
        if (context != NONE)
            elements.at(context).touchedMembers = true;
    }
    void destroy(Id id)
    {
        Plain& element = elements.at(id);
        touchMembers(element.owner);
        if (element.isContext)
            for (auto const& [name, member] : members(id))
                elements.at(member).isAlive = false;
        element.isAlive = false;
    }
};

class Walk : public Listener {
public:
    using Reports = ReportList<DeepChangeReport<Property>, ShallowChangeReport<ContextData>>;

    explicit Walk(std::uint64_t seed) : m_random{seed} { m_model->addDeepListener(this); }
    ~Walk() override
    {
        while (!m_open.empty())
            m_open.pop_back();
        m_model->removeListener(this);
    }

    void transactionCommitted(DeepChangeReport<Property> const& report) { m_report = report.data(); }
    void transactionCommitted(ShallowChangeReport<ContextData> const& report) { m_report = report.data(); }

    void step()
    {
        m_report = nullptr;
        Snapshot const before = m_state;
        bool const wasIdle = m_open.empty();
        switch (m_random.below(wasIdle ? 14 : 18)) {
        case 0: return begin();
        case 1:
        case 2: create(); break;
        case 3: destroy(); break;
        case 4:
        case 5: rename(); break;
        case 6:
        case 7:
        case 8: move(); break;
        case 9: clear(); break;
        case 10:
        case 11: setValue(); break;
        case 12:
        case 13: changeActive(); break;
        case 14: return begin();
        case 15:
        case 16: return commit();
        default: return rollBack();
        }
        if (wasIdle)
            compareReport(before);
        compareState();
    }

private:
    // ---- transactions

    void begin()
    {
        if (m_open.size() == 4)
            return;
        m_open.push_back({m_state, std::make_unique<Transaction>(m_model->beginTransaction(m_random.oneIn(2)))});
    }
    void commit()
    {
        m_open.back().transaction->commit(boost::none);
        Snapshot const before = m_open.back().before;
        m_open.pop_back();
        if (m_open.empty())
            compareReport(before);
        compareState();
    }
    void rollBack()
    {
        std::size_t const level = m_random.below(m_open.size());   // with all that are open inside it
        m_state = m_open[level].before;
        m_open[level].transaction.reset();
        m_open.resize(level);
        EXPECT_EQ(m_report, nullptr);
        compareState();
    }

    // ---- changes

    Id anyId() { return m_elements.empty() ? NONE : m_random.below(m_elements.size()); }
    /// A living element if a few tries find one.
    Id pick(bool isContext)
    {
        for (int i = 0; i != 30; ++i)
            if (Id const id = anyId();
                id != NONE && m_state.lives(id) && m_state.elements.at(id).isContext == isContext)
                return id;
        return NONE;
    }
    Property property(Id id) const { return Property{static_cast<Property::Impl*>(m_elements[id].get())}; }
    ContextData context(Id id) const
    {
        return id == NONE ? ContextData{} : ContextData{static_cast<ContextData::Impl*>(m_elements[id].get())};
    }
    std::string someName() { return std::string(1, static_cast<char>('a' + m_random.below(5))); }

    /// Refused or not as `refusal` says; `inPlain` follows in the naive model.
    template <class Change, class InPlain>
    void expect(std::string const& refusal, Change const& change, InPlain const& inPlain)
    {
        EXPECT_EQ(thrownBy(change), refusal);
        if (refusal.empty())
            inPlain();
    }

    void create()
    {
        if (m_model->elements().size() > 14)
            return destroy();   // few enough to meet each other again at the next level
        Id const id = m_elements.size();
        boost::uuids::uuid uuid{};
        if (Id const same = anyId(); same != NONE && m_random.oneIn(4))
            uuid = m_elements[same].Uuid();
        bool const isContext = m_random.oneIn(3);
        if (isContext)
            m_elements.push_back(ContextData::create(m_model, uuid));
        else
            m_elements.push_back(Property::create(m_model, uuid));
        m_state.create(id, isContext, m_elements.back().Uuid());
    }
    void destroy()
    {
        Id const id = m_random.oneIn(4) ? anyId() : pick(m_random.oneIn(4));
        if (id == NONE)
            return;
        m_elements[id]->destroy();   // of a dead one: nothing
        if (m_state.lives(id))
            m_state.destroy(id);
    }
    void rename()
    {
        Id const id = m_random.oneIn(8) ? anyId() : pick(false);
        if (id == NONE || m_elements[id].isA(ContextData::metaClass()))
            return;
        std::string const name = someName();
        std::string refusal;
        if (!m_state.lives(id))
            refusal = "logic_error";
        else if (Plain const& it = m_state.elements.at(id);
                 it.owner != NONE && it.name != name && m_state.members(it.owner).count(name) != 0)
            refusal = "UniquenessConstraint";
        expect(
            refusal, [&] { property(id)->setName(name); },
            [&] {
                Plain& it = m_state.elements.at(id);
                if (it.name != name)
                    m_state.touchMembers(it.owner);
                it.name = name;
            });
    }
    void move()
    {
        Id const id = pick(false);
        Id const to = m_random.oneIn(4) ? NONE : pick(true);
        if (id == NONE)
            return;
        Plain& it = m_state.elements.at(id);
        bool const viaMap = m_random.oneIn(2);
        bool const stays = it.owner == to && !(viaMap && to != NONE);
        bool const isTaken = !stays && to != NONE && m_state.members(to).count(it.name) != 0;
        auto const change = [&] {
            if (!viaMap)
                property(id)->setOwner(context(to));
            else if (to != NONE)
                context(to)->getPropertiesMutable().add(property(id));
            else if (it.owner != NONE)
                context(it.owner)->getPropertiesMutable().remove(property(id));
        };
        expect(isTaken ? "UniquenessConstraint" : "", change, [&] {
            if (stays)
                return;
            m_state.touchMembers(it.owner);
            m_state.touchMembers(to);
            it.owner = to;
        });
    }
    void clear()
    {
        Id const id = pick(true);
        if (id == NONE || !m_random.oneIn(3))
            return;
        context(id)->getPropertiesMutable().clear();
        for (auto const& [name, member] : m_state.members(id)) {
            m_state.touchMembers(id);
            m_state.elements.at(member).owner = NONE;
        }
    }
    void setValue()
    {
        Id const id = pick(false);
        if (id == NONE)
            return;
        PropertyValue const value = m_random.below(3);
        property(id)->setValue(value);
        m_state.elements.at(id).value = value;
    }
    void changeActive()
    {
        Id const id = pick(true);
        if (id == NONE)
            return;
        auto& sequence = context(id)->getActiveContextsMutable();
        Strings& plain = m_state.elements.at(id).active;
        std::size_t const index = m_random.below(plain.size() + (m_random.oneIn(4) ? 3 : 1));
        auto const at = plain.begin() + static_cast<std::ptrdiff_t>(std::min(index, plain.size()));
        std::string const name = someName();
        switch (m_random.below(6)) {
        case 0:
            expect(
                index > plain.size() ? "out_of_range" : "", [&] { sequence.insert(index, name); },
                [&] { touchActive(id).insert(at, name); });
            break;
        case 1:
            expect(
                index >= plain.size() ? "out_of_range" : "", [&] { sequence.erase(index); },
                [&] { touchActive(id).erase(at); });
            break;
        case 2:
            expect(
                index >= plain.size() ? "out_of_range" : "", [&] { sequence.replace(index, name); },
                [&] { touchActive(id)[index] = name; });
            break;
        case 3:
            expect(
                "", [&] { sequence.clear(); }, [&] { touchActive(id).clear(); });
            break;
        default:
            expect(
                "", [&] { sequence.push_back(name); }, [&] { touchActive(id).push_back(name); });
        }
    }
    Strings& touchActive(Id id)
    {
        Plain& it = m_state.elements.at(id);
        it.touchedActive = true;
        return it.active;
    }

    // ---- comparing

    void compareState() const
    {
        std::size_t living = 0;
        for (Id id = 0; id != m_elements.size(); ++id) {
            bool const lives = m_state.lives(id);
            living += lives ? 1 : 0;
            ASSERT_EQ(static_cast<bool>(m_elements[id]), lives) << id;
            if (m_state.elements.count(id) == 0)
                continue;   // its creation was undone
            Plain const& plain = m_state.elements.at(id);
            ASSERT_EQ(m_elements[id].Uuid(), plain.uuid);
            if (plain.isContext) {
                auto const& active = context(id)->getActiveContexts();
                ASSERT_EQ(Strings(active.begin(), active.end()), plain.active) << id;
                std::vector<ModelElement> members;
                for (auto const& [name, member] : m_state.members(id)) {
                    members.push_back(m_elements[member]);
                    ASSERT_EQ(context(id).properties()->find(name), m_elements[member]) << id << name;
                }
                ASSERT_TRUE(std::equal(members.begin(), members.end(), context(id).properties().begin(),
                                       context(id).properties().end()))
                    << id;
            } else {
                ASSERT_EQ(property(id).name(), plain.name) << id;
                ASSERT_EQ(property(id)->getValue(), plain.value) << id;
                ASSERT_EQ(property(id).owner(), context(plain.owner)) << id;   // of a dead one the last
            }
        }
        ASSERT_EQ(m_model->elements().size(), living);
        for (ModelElement const& element : m_elements) {
            Id const found = m_state.found(element.Uuid());
            ASSERT_EQ(m_model->findElement(element.Uuid(), 1), found == NONE ? ModelElement{} : m_elements[found]);
        }
    }

    using Lines = std::set<std::string>;

    /// What the report of a commit must tell, from the states before and after it.
    Lines expectedReport(Snapshot const& before) const
    {
        Lines lines;
        for (Id id = 0; id != m_elements.size(); ++id) {
            bool const was = before.lives(id);
            bool const is = m_state.lives(id);
            if (was != is)
                lines.insert((is ? "+" : "-") + std::to_string(id));
            if (!was || !is)
                continue;
            Plain const& old = before.elements.at(id);
            Plain const& now = m_state.elements.at(id);
            std::string text;
            if (old.isContext) {
                Lines members;
                for (auto const& [name, member] : before.members(id))
                    members.insert(property(member).name());
                if (now.touchedActive && !(old.active.empty() && now.active.empty()))
                    text += " 1:" + joined(old.active);
                if (now.touchedMembers && !looksTheSame(before, id))
                    text += " 2:" + joined(members);
            } else {
                if (old.name != now.name)
                    text += " 1:" + old.name;
                if (old.value != now.value)
                    text += " 2:" + old.value.asString();
                if (old.owner != now.owner)
                    text += " 3:" + (old.owner == NONE ? "none" : std::to_string(old.owner));
            }
            if (!text.empty())
                lines.insert("~" + std::to_string(id) + text);
        }
        return lines;
    }
    bool looksTheSame(Snapshot const& before, Id context) const
    {
        auto const old = before.members(context);
        auto const now = m_state.members(context);
        if (old.size() != now.size() || old.size() > 1)
            return false;
        return old.empty() || m_elements[old.begin()->second].Uuid() == m_elements[now.begin()->second].Uuid();
    }
    template <class List>
    static std::string joined(List const& list)
    {
        std::string text;
        for (std::string const& item : list)
            text += item + ',';
        return text;
    }

    Lines linesOf(ReportData const& report) const
    {
        Lines lines;
        for (ReportData::Storage const* const storage : report.storages()) {
            ModelElement const element = storage->element();
            std::string text = nameOf(element);
            switch (ReportData::kindOf(*storage)) {
            case ReportData::Kind::Created: text = '+' + text; break;
            case ReportData::Kind::Destroyed: text = '-' + text; break;
            case ReportData::Kind::Modified:
                text = '~' + text;
                for (unsigned long index = 1; index <= 3; ++index)
                    if (storage->isChanged(index))
                        text += ' ' + std::to_string(index) + ':' + oldText(report, element, index);
            }
            EXPECT_TRUE(lines.insert(text).second) << text;
        }
        return lines;
    }
    std::string oldText(ReportData const& report, ModelElement const& element, unsigned long index) const
    {
        Value const value = report.getOldValue(element, element->getPropertyByIndex(index));
        if (auto const* const name = value.peekValue<std::string>())
            return *name;
        if (auto const* const any = value.peekValue<PropertyValue>())
            return any->asString();
        if (auto const* const owner = value.peekValue<ContextData>())
            return owner->get() ? nameOf(*owner) : "none";
        if (auto const* const strings = value.peekValue<CollectionRef<ContextData::Impl::ActiveContexts>>())
            return joined(Strings(strings->begin(), strings->end()));
        Lines names;
        for (Property const& property : *value.peekValue<CollectionRef<ContextData::PropertyMap>>())
            names.insert(property.name());
        return joined(names);
    }
    std::string nameOf(ModelElement const& element) const
    {
        return std::to_string(std::find(m_elements.begin(), m_elements.end(), element) - m_elements.begin());
    }

    void compareReport(Snapshot const& before)
    {
        Lines const expected = expectedReport(before);
        ASSERT_EQ(m_report == nullptr, expected.empty());
        ASSERT_EQ(m_report ? linesOf(*m_report) : Lines{}, expected);
        for (auto& entry : m_state.elements)
            entry.second.touchedActive = entry.second.touchedMembers = false;

        // Kept reports go on telling which elements a map held, by whatever names these go now.
        if (m_report && m_random.oneIn(3))
            keep(before);
        for (Kept const& kept : m_kept)
            for (auto const& [context, members] : kept.members) {
                Lines names;
                for (Id const member : members)
                    names.insert(property(member).name());
                ASSERT_EQ(oldText(*kept.report, m_elements[context], ContextData::Impl::PROPERTIES), joined(names));
            }
        if (m_kept.size() > 4)
            m_kept.erase(m_kept.begin() + static_cast<std::ptrdiff_t>(m_random.below(m_kept.size())));
    }
    void keep(Snapshot const& before)
    {
        Kept kept{m_report, {}};
        for (ReportData::Storage const* const storage : m_report->storages())
            if (storage->element().isA(ContextData::metaClass()) && storage->isChanged(ContextData::Impl::PROPERTIES)) {
                Id const id = static_cast<Id>(std::find(m_elements.begin(), m_elements.end(), storage->element()) -
                                              m_elements.begin());
                for (auto const& [name, member] : before.members(id))
                    kept.members[id].push_back(member);
            }
        m_kept.push_back(std::move(kept));
    }

    struct Level {
        Snapshot before;
        std::unique_ptr<Transaction> transaction;
    };
    struct Kept {
        std::shared_ptr<ReportData> report;
        std::map<Id, std::vector<Id>> members;
    };

    support::Random m_random;
    Model m_model = support::newModel();
    std::vector<ModelElement> m_elements;
    Snapshot m_state;
    std::vector<Level> m_open;
    std::shared_ptr<ReportData> m_report;
    std::vector<Kept> m_kept;
};

TEST(JournalWalk, AgreesWithCopiesOfTheWholeState)
{
    for (std::uint64_t const seed : support::seeds(30)) {
        SCOPED_TRACE("STUDIO_DATA_SEED=" + std::to_string(seed));
        Walk walk{seed};
        int i = 0;
        while (i != 400 && !HasFailure())
            walk.step(), ++i;
        ASSERT_FALSE(HasFailure()) << "at step " << i;
    }
}

}   // namespace
}   // namespace tarn::zero
