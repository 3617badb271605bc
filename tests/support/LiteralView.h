#pragma once

#include "studio/data/ContextProvider.h"
#include "studio/data/ProviderRegistry.h"
#include "studio/data/model/ContextDataImpl.h"
#include "studio/data/model/PropertyImpl.h"
#include "support/Printers.h"
#include "tarn/zero/ModelImpl.h"

#include <boost/uuid/uuid_io.hpp>

#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace support {

/// What a context view has to show, kept by the plainest means: values in maps, and orphans by one walk over
/// everything.
class LiteralView : public tarn::zero::Listener {
public:
    using Id = boost::uuids::uuid;
    using Value = studio::data::PropertyValue;
    using Property = studio::data::Property;
    using ContextData = studio::data::ContextData;
    using Provider = std::shared_ptr<studio::data::ContextProvider>;
    using Reports =
        tarn::zero::ReportList<tarn::zero::ShallowChangeReport<Property>, tarn::zero::ShallowChangeReport<ContextData>>;

    struct Slot {
        Id id;
        Value value;
    };
    struct Clone {
        std::map<std::string, Slot> properties;
        std::vector<std::string> active;
    };

    LiteralView() { studio::data::ContextProvider::sharedModel()->addDeepListener(this); }
    ~LiteralView() override { studio::data::ContextProvider::sharedModel()->removeListener(this); }

    static Clone read(ContextData::Impl const& context)
    {
        Clone clone;
        for (Property const& property : context.getProperties())
            clone.properties[property->getName()] = {property->identifier(), property->getValue()};
        clone.active.assign(context.getActiveContexts().begin(), context.getActiveContexts().end());
        return clone;
    }
    static std::string text(Clone const& clone)
    {
        std::ostringstream out;
        for (auto const& [name, slot] : clone.properties) {
            out << name << '=' << slot.id << ' ';
            PrintTo(slot.value, &out);
            out << "; ";
        }
        for (std::string const& name : clone.active)
            out << name << ' ';
        return out.str();
    }
    static std::string text(ContextData const& data) { return data ? text(read(*data.operator->())) : "none"; }
    /// The context of that id that providers hold.
    static ContextData::Impl* source(Id const& id)
    {
        return tarn::zero::elementCast<ContextData>(studio::data::ContextProvider::sharedModel()->findElement(id, 1));
    }

    bool acquire(Id const& id)
    {
        if (records.count(id) == 0) {
            Provider const provider = studio::data::model::getContextProvider(id);
            if (!provider || !source(id))
                return false;
            Clone const copy = fresh(id);
            clones.emplace(id, copy);
            grow(copy);
            records[id].provider = provider;
        }
        ++records[id].handles;
        return true;
    }
    void release(Id const& id)
    {
        if (--records[id].handles != 0)
            return;
        Provider const last = records[id].provider;
        records.erase(id);
        discard();
    }

    void transactionCommitted(tarn::zero::ShallowChangeReport<Property> const& report)
    {
        Outcome outcome;
        for (ReportEntry const entry : report.modified()) {
            if (!entry.element())
                continue;
            auto const& property = static_cast<Property::Impl const&>(*entry.element().get());
            auto const clone = property.ownerImpl() ? clones.find(property.ownerImpl()->identifier()) : clones.end();
            Slot* const slot = clone == clones.end() ? nullptr : slotOf(clone->second, property);
            if (!slot || slot->value == property.getValue())
                continue;
            outcome.orphans |= slot->value.isContextProvider();
            slot->value = property.getValue();
            if (slot->value.isContextProvider())
                outcome.owners.insert(clone->first);
        }
        finish(outcome);
    }
    void transactionCommitted(tarn::zero::ShallowChangeReport<ContextData> const& report)
    {
        Outcome outcome;
        for (ReportEntry const entry : report.modified()) {
            auto const clone = entry.element() ? clones.find(entry.element().Uuid()) : clones.end();
            if (clone == clones.end())
                continue;
            Clone const now = read(static_cast<ContextData::Impl const&>(*entry.element().get()));
            auto& properties = clone->second.properties;
            clone->second.active = now.active;
            for (auto mine = properties.begin(); mine != properties.end();) {
                auto const theirs = now.properties.find(mine->first);
                bool const stays = theirs != now.properties.end() && theirs->second.id == mine->second.id;
                outcome.orphans |= !stays && mine->second.value.isContextProvider();
                mine = stays ? std::next(mine) : properties.erase(mine);
            }
            for (auto const& [name, slot] : now.properties)
                if (properties.emplace(name, slot).second && slot.value.isContextProvider())
                    outcome.owners.insert(clone->first);
        }
        finish(outcome);
    }

    struct Record {
        Provider provider;
        int handles = 0;
    };
    std::map<Id, Record> records;
    std::map<Id, Clone> clones;

private:
    using ReportEntry = tarn::zero::ReportEntry;
    struct Outcome {
        std::set<Id> owners;
        bool orphans = false;
    };

    static Clone fresh(Id const& id)
    {
        Clone clone = read(*source(id));
        clone.active.clear();
        return clone;
    }
    static Slot* slotOf(Clone& clone, Property::Impl const& property)
    {
        for (auto& entry : clone.properties)
            if (entry.second.id == property.identifier())
                return &entry.second;
        auto const named = clone.properties.find(property.getName());
        return named == clone.properties.end() ? nullptr : &named->second;
    }

    void grow(Clone const& clone)
    {
        for (auto const& entry : clone.properties) {
            Value const& value = entry.second.value;
            if (value.isUUID() && clones.count(value.getUUID()) == 0 && source(value.getUUID()))
                grow(clones[value.getUUID()] = fresh(value.getUUID()));
        }
    }
    void reach(Id const& id, std::set<Id>& pending) const
    {
        if (pending.erase(id) != 0)
            for (auto const& entry : clones.at(id).properties)
                if (entry.second.value.isUUID())
                    reach(entry.second.value.getUUID(), pending);
    }
    void discard()
    {
        std::set<Id> pending;
        for (auto const& entry : clones)
            pending.insert(entry.first);
        for (auto const& entry : records)
            reach(entry.first, pending);
        for (Id const& id : pending)
            clones.erase(id);
    }
    void finish(Outcome const& outcome)
    {
        for (Id const& owner : outcome.owners)
            grow(Clone(clones.at(owner)));
        if (outcome.orphans)
            discard();
    }
};

}   // namespace support
