#include "studio/inspect/detail/WatcherRecord.h"

#include "studio/data/ContextProvider.h"
#include "studio/data/model/ContextDataImpl.h"
#include "studio/data/model/PropertyImpl.h"
#include "tarn/zero/ModelImpl.h"

#include <algorithm>
#include <map>
#include <set>
#include <string_view>
#include <utility>

namespace studio::inspect {

using data::Property;
using data::PropertyValue;
using tarn::zero::ReportData;

namespace {

std::size_t bytesOf(std::string const& text) noexcept
{
    return text.capacity() <= std::string{}.capacity() ? 0 : text.capacity() + 1;
}

std::size_t bytesOf(PropertyValue const& value)
{
    return value.isString() ? bytesOf(value.getString()) : 0;
}

std::size_t bytesOf(PropertyChange const& change)
{
    return sizeof change + bytesOf(change.name) + bytesOf(change.nameBefore) +
           (change.before ? bytesOf(*change.before) : 0) + (change.after ? bytesOf(*change.after) : 0);
}

boost::uuids::uuid idOf(tarn::zero::ModelElement::Impl const* element) noexcept
{
    return element ? element->identifier() : boost::uuids::uuid{};
}

PropertyChange changeOf(Property::Impl const& property, ReportData::Storage const& storage)
{
    ReportData::Kind const kind = ReportData::kindOf(storage);
    tarn::zero::ReportEntry const entry{storage};
    PropertyChange change{
        PropertyChange::Kind::Changed, idOf(property.ownerImpl()), property.getName(), {}, {}, {}, {}};
    change.contextBefore = storage.isChanged(ReportData::Storage::OFFSET_CONTAINMENT)
                               ? idOf(storage.oldContainer().get())
                               : change.context;
    auto const* const name = entry.peekOldValue<std::string>(Property::Impl::NAME);
    change.nameBefore = name ? *name : change.name;
    auto const* const value = entry.peekOldValue<PropertyValue>(Property::Impl::VALUE);
    if (kind == ReportData::Kind::Created) {
        change.kind = PropertyChange::Kind::Created;
        change.contextBefore = change.context;
        change.nameBefore = change.name;
    } else {
        change.before = value ? *value : property.getValue();
    }
    if (kind == ReportData::Kind::Destroyed) {
        change.kind = PropertyChange::Kind::Destroyed;
        change.context = change.contextBefore;
        change.name = change.nameBefore;
    } else {
        change.after = property.getValue();
    }
    return change;
}

}   // namespace

Watcher::Record::Record(data::ExpressionEngine& watched, Limits most) : engine{&watched}, limits{most}
{
    if (watched.getRoot())
        root = watched.getRoot()->getId();
    for (data::ExpressionEngine::Entry const& entry : watched.listExpressions())
        acquired.push_back(std::hash<std::string>{}(entry.text));
    std::sort(acquired.begin(), acquired.end());
    data::ContextProvider::sharedModel()->addDeepListener(this);
    try {
        watched.addObserver(*this);
    } catch (...) {
        data::ContextProvider::sharedModel()->removeListener(this);
        throw;
    }
}

Watcher::Record::~Record()
{
    data::ContextProvider::sharedModel()->removeListener(this);
    if (engine)
        engine->removeObserver(*this);
}

Watcher::Record::Kept const* Watcher::Record::find(std::uint64_t number) const noexcept
{
    return const_cast<Record*>(this)->findMutable(number);
}

std::deque<Watcher::Record::Kept>::iterator Watcher::Record::placeOf(std::uint64_t number) noexcept
{
    if (!kept.empty() && kept.back().commit.number <= number)   // as a rule it is the newest
        return kept.back().commit.number == number ? kept.end() - 1 : kept.end();
    return std::lower_bound(kept.begin(), kept.end(), number,
                            [](Kept const& one, std::uint64_t wanted) { return one.commit.number < wanted; });
}

Watcher::Record::Kept* Watcher::Record::findMutable(std::uint64_t number) noexcept
{
    auto const found = placeOf(number);
    return found != kept.end() && found->commit.number == number ? &*found : nullptr;
}

Watcher::Record::Found Watcher::Record::lastEvaluation(std::string const& text, bool changing) const noexcept
{
    auto const lastIn = [&](Kept const& one) -> Event const* {
        auto const found = std::find_if(one.events.rbegin(), one.events.rend(), [&](Event const& event) {
            if (event.isCall)
                return false;
            Evaluation const& evaluation = one.commit.evaluations[event.index];
            return !(changing && evaluation.before == evaluation.after) && evaluation.text == text;
        });
        return found == one.events.rend() ? nullptr : &*found;
    };
    Found last;
    for (auto each = kept.rbegin(); each != kept.rend() && !last.event; ++each)
        last = {&*each, lastIn(*each)};
    if (!last.event)
        return {};
    // The outer rounds continued after that one and may have evaluated the text again.
    for (Kept const* outer = find(last.commit->commit.cause); outer; outer = find(outer->commit.cause))
        if (Event const* const event = lastIn(*outer); event && event->at > last.event->at)
            last = {outer, event};
    return last;
}

bool Watcher::Record::isWholeFrom(std::uint64_t number) const noexcept
{
    Kept const* const first = find(number);
    if (!first || kept.back().commit.number != newest)
        return false;
    auto const behind = kept.end() - const_cast<Record*>(this)->placeOf(number);
    return newest - number + 1 == static_cast<std::uint64_t>(behind);
}

bool Watcher::Record::isUpToDate() const
{
    tarn::zero::Model const& model = data::ContextProvider::sharedModel();
    return !model->isInTransaction() && (newest == 0 || newest == model->lastReport());
}

void Watcher::Record::goBack(std::size_t index, detail::ChangedContexts& contexts) const
{
    for (std::size_t later = kept.size(); --later > index;)
        detail::undo(kept[later].commit, contexts);
}

std::optional<Watcher::Record::Turn> Watcher::Record::findTurn(
    gel::Program const& program, std::size_t index, host::ContextReader const& present,
    std::function<bool(PropertyValue const&)> const& isOther) const
{
    detail::ChangedContexts contexts{present};
    goBack(index, contexts);
    detail::Reads reads;
    detail::evaluate(program, root, contexts, &reads);
    for (;; --index) {
        Commit const& commit = kept[index].commit;
        detail::undo(commit, contexts);
        if (reads.contain(commit)) {
            reads = {};
            if (isOther(detail::evaluate(program, root, contexts, &reads))) {
                detail::ChangedContexts after{present};
                goBack(index, after);
                return Turn{&kept[index], std::move(contexts), std::move(after)};
            }
        }
        if (index == 0 || kept[index - 1].commit.number + 1 != commit.number)
            return std::nullopt;
    }
}

std::vector<std::uint64_t> Watcher::Record::running() const
{
    std::vector<std::uint64_t> numbers;
    for (Round const& round : rounds)
        if (!round.isUpdate)
            numbers.push_back(round.number);
    return numbers;
}

void Watcher::Record::transactionCommitted(tarn::zero::DeepChangeReport<Property> const& report) noexcept
{
    receive(report.report());
}

void Watcher::Record::transactionCommitted(tarn::zero::ShallowChangeReport<data::ContextData> const& report) noexcept
{
    receive(report.report());
}

void Watcher::Record::receive(ReportData const& report) noexcept
{
    if (report.number() <= newest)
        return;
    newest = report.number();
    if (unseen != 0 || data::ContextProvider::sharedModel()->isInTransaction())
        return lose(newest);   // its evaluations, or the values after it, are not known
    try {
        kept.push_back(made(report));
        bytes += kept.back().bytes;
        correctLate(kept.back());
        trim();
    } catch (...) {
        lose(newest);
    }
}

Watcher::Record::Kept Watcher::Record::made(ReportData const& report) const
{
    tarn::zero::Model::Impl const& model = *data::ContextProvider::sharedModel().get();
    Kept result;
    Commit& commit = result.commit;
    commit.number = report.number();
    commit.cause = report.cause();
    commit.callback = callbackUnder(commit.cause);
    commit.began = commit.ended = now();
    commit.changes.reserve(report.storages().size());
    for (ReportData::Storage const* const storage : report.storages()) {
        tarn::zero::ModelElement const& element = storage->element();
        if (auto const* const property = tarn::zero::elementCast<Property>(element)) {
            commit.changes.push_back(changeOf(*property, *storage));
            result.sources.push_back({property->identifier(), storage->isChanged(Property::Impl::NAME),
                                      storage->isChanged(ReportData::Storage::OFFSET_CONTAINMENT),
                                      storage->isChanged(Property::Impl::VALUE)});
        } else if (ReportData::kindOf(*storage) == ReportData::Kind::Created) {
            commit.created.push_back(element.Uuid());
        } else if (ReportData::kindOf(*storage) == ReportData::Kind::Destroyed) {
            commit.destroyed.push_back(element.Uuid());
        }
    }
    joinReplaced(result);
    Kept const* const cause = find(commit.cause);
    result.depth = cause ? cause->depth + 1 : 1;
    result.origin = cause ? cause->origin : commit.number;
    result.isDeepest = result.depth >= model.nestingLimit();
    result.isLate = report.number() != model.lastReport();
    result.bytes = sizeof result + bytesOf(commit.callback) + result.sources.size() * sizeof(Source) +
                   (commit.created.size() + commit.destroyed.size()) * sizeof(boost::uuids::uuid);
    for (PropertyChange const& change : commit.changes)
        result.bytes += bytesOf(change);
    return result;
}

/// Joins the destruction of a property and the creation of another at its place into one change.
void Watcher::Record::joinReplaced(Kept& made)
{
    std::vector<PropertyChange>& changes = made.commit.changes;
    std::map<std::pair<boost::uuids::uuid, std::string_view>, std::size_t> destroyed;
    for (std::size_t i = 0; i != changes.size(); ++i)
        if (changes[i].kind == PropertyChange::Kind::Destroyed)
            destroyed.emplace(std::pair{changes[i].context, std::string_view{changes[i].name}}, i);
    if (destroyed.empty())
        return;
    std::set<std::size_t> joined;
    for (PropertyChange& change : changes) {
        auto const found = destroyed.find({change.context, change.name});
        if (change.kind == PropertyChange::Kind::Created && found != destroyed.end()) {
            change.kind = PropertyChange::Kind::Changed;
            change.before = changes[found->second].before;
            made.sources[static_cast<std::size_t>(&change - changes.data())].changesValue = true;
            joined.insert(found->second);
        }
    }
    std::size_t left = 0;
    for (std::size_t i = 0; i != changes.size(); ++i)
        if (joined.count(i) == 0 && left++ != i) {
            changes[left - 1] = std::move(changes[i]);
            made.sources[left - 1] = made.sources[i];
        }
    changes.resize(left);
    made.sources.resize(left);
}

/// Corrects the commits before `later` that were recorded after it had been made. They took their values from the
/// model; for a property that `later` changed, the correct one is the value before `later`.
void Watcher::Record::correctLate(Kept const& later)
{
    if (kept.size() < 2 || !(kept.rbegin() + 1)->isLate)
        return;
    struct Next {
        PropertyChange const* change;
        Kept const* in;
    };
    std::map<boost::uuids::uuid, Next> known;   // by element: the next later change of it
    for (std::size_t i = 0; i != later.commit.changes.size(); ++i)
        if (later.commit.changes[i].before)
            known.insert({later.sources[i].element, {&later.commit.changes[i], &later}});
    for (auto earlier = kept.rbegin() + 1; earlier != kept.rend() && earlier->isLate; ++earlier)
        for (std::size_t i = 0; i != earlier->sources.size(); ++i) {
            Source const& source = earlier->sources[i];
            auto const next = known.find(source.element);
            if (next == known.end() || next->second.in == &*earlier)
                continue;
            PropertyChange& change = earlier->commit.changes[i];
            if (change.kind == PropertyChange::Kind::Destroyed) {
                known.erase(next);   // another element with the same UUID
                continue;
            }
            PropertyChange const& after = *next->second.change;
            change.after = after.before;
            change.name = after.nameBefore;
            change.context = after.contextBefore;
            if (change.kind == PropertyChange::Kind::Created || !source.changesName)
                change.nameBefore = change.name;
            if (change.kind == PropertyChange::Kind::Created || !source.changesContext)
                change.contextBefore = change.context;
            if (change.kind == PropertyChange::Kind::Created) {
                known.erase(next);
                continue;
            }
            if (!source.changesValue)
                change.before = change.after;
            next->second = {&change, &*earlier};
        }
}

/// Returns the text whose callback was running when a commit began: the last one called in the round of its cause.
std::string Watcher::Record::callbackUnder(std::uint64_t cause) const
{
    auto const round = std::find_if(rounds.rbegin(), rounds.rend(), [cause](Round const& one) {
        return one.isUpdate ? cause <= one.number : one.number == cause;
    });
    return round == rounds.rend() ? std::string{} : round->called;
}

Watcher::Record::Kept* Watcher::Record::commitOf(Round const& round) noexcept
{
    if (round.isUpdate)   // an update reads the state after the newest commit
        return !kept.empty() && kept.back().commit.number == newest ? &kept.back() : nullptr;
    return findMutable(round.number);
}

/// Adds to the commit of the running round; `addTo(commit, round)` returns the number of bytes.
template <class Add>
void Watcher::Record::add(Add const& addTo) noexcept
{
    if (unseen != 0 || rounds.empty())
        return;   // began before the watcher, or could not be recorded
    Kept* const commit = commitOf(rounds.back());
    try {
        std::size_t const by = addTo(commit, rounds.back());
        if (commit)
            grow(*commit, by);
    } catch (...) {
        if (commit)
            lose(commit->commit.number);
    }
}

void Watcher::Record::roundBegins(ReportData const* report) noexcept
{
    if (report)
        receive(*report);
    if (unseen != 0) {
        ++unseen;
        return;
    }
    try {
        rounds.push_back({report ? report->number() : newest, !report});
    } catch (...) {
        ++unseen;
        lose(newest);
    }
}

void Watcher::Record::expressionEvaluated(std::string const& text, PropertyValue const& before,
                                          PropertyValue const& after) noexcept
{
    add([&](Kept* commit, Round const&) -> std::size_t {
        if (!commit)
            return 0;
        commit->commit.evaluations.push_back({text, before, after, now()});
        Evaluation const& added = commit->commit.evaluations.back();
        commit->events.push_back({commit->commit.evaluations.size() - 1, false, added.at,
                                  data::ContextProvider::sharedModel()->lastReport()});
        return sizeof added + sizeof(Event) + bytesOf(added.text) + bytesOf(added.before) + bytesOf(added.after);
    });
}

void Watcher::Record::handleNotified(std::string const& text, PropertyValue const&) noexcept
{
    add([&](Kept* commit, Round& round) -> std::size_t {
        round.called.clear();   // if the copy throws, no text is better than the previous one
        round.called = text;
        if (!commit)
            return 0;
        commit->commit.calls.push_back(text);
        commit->events.push_back({commit->commit.calls.size() - 1, true, now(), 0});
        return sizeof text + sizeof(Event) + bytesOf(commit->commit.calls.back());
    });
}

void Watcher::Record::roundEnds(ReportData const*) noexcept
{
    if (unseen != 0) {
        --unseen;
        return;
    }
    if (rounds.empty())
        return;   // began before the watcher
    if (Kept* const ended = rounds.back().isUpdate ? nullptr : commitOf(rounds.back()))
        ended->commit.ended = now();
    rounds.pop_back();
}

void Watcher::Record::engineEnds() noexcept
{
    while (unseen != 0 || !rounds.empty())
        roundEnds(nullptr);
    engine = nullptr;   // recording continues: a past state is computed by undoing all later commits
}

void Watcher::Record::grow(Kept& commit, std::size_t by) noexcept
{
    commit.bytes += by;
    bytes += by;
    trim();
}

/// Drops a commit that could not be recorded completely, and those before it that need its values to be corrected.
void Watcher::Record::lose(std::uint64_t number) noexcept
{
    auto which = placeOf(number);
    auto const drop = [&] {
        bytes -= which->bytes;
        which = kept.erase(which);
        ++dropped;
    };
    if (which != kept.end() && which->commit.number == number)
        drop();
    else
        ++dropped;
    while (which != kept.begin() && (which - 1)->isLate) {
        --which;
        drop();
    }
}

void Watcher::Record::trim() noexcept
{
    for (; kept.size() > 1 && (kept.size() > limits.commits || bytes > limits.bytes); ++dropped) {
        bytes -= kept.front().bytes;
        kept.pop_front();
    }
}

}   // namespace studio::inspect
