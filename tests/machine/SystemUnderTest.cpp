#include "machine/SystemUnderTest.h"

#include "foundation/core/except/Exception.h"
#include "gel/ParseError.h"
#include "machine/Interposed.h"
#include "machine/Invariants.h"
#include "studio/data/ProviderRegistry.h"
#include "studio/data/detail/EngineState.h"
#include "studio/data/model/ContextDataImpl.h"
#include "studio/data/model/PropertyImpl.h"
#include "tarn/zero/ModelImpl.h"
#include "tarn0/messages/Messages.h"

#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <algorithm>
#include <sstream>

namespace machine {

using studio::data::ContextData;
using studio::data::ContextProvider;
using studio::data::Invariants;
using studio::data::Property;
using studio::data::PropertyValue;
using tarn::zero::ReportEntry;

namespace {

/// Calls the system under test: only allocations made there may fail.
template <class Call>
decltype(auto) inSystem(Call const& call)
{
    support::Exempt const theirs{false};
    return call();
}

}   // namespace

/// A listener on the shared model besides engines and views.
class SystemUnderTest::Foreign final : public tarn::zero::Listener {
public:
    using Reports =
        tarn::zero::ReportList<tarn::zero::ShallowChangeReport<Property>, tarn::zero::ShallowChangeReport<ContextData>>;

    Foreign(SystemUnderTest& heardBy, int number) : world{heardBy}, listener{number}
    {
        ContextProvider::sharedModel()->addDeepListener(this);
    }
    ~Foreign() override { ContextProvider::sharedModel()->removeListener(this); }

    template <class Report>
    void transactionCommitted(Report const& report)
    {
        support::Exempt const ours;
        std::string text = "listener " + std::to_string(listener);
        std::vector<Subject> subjects;
        auto const note = [&](char const* sign, tarn::zero::ReportRange const& entries) {
            for (ReportEntry const entry : entries) {
                text += sign + world.line(entry, *report.data());
                subjects.push_back(world.subjectOf(entry.element()));
            }
        };
        note(" +", report.created());
        note(" ~", report.modified());
        note(" -", report.destroyed());
        world.runCallback(text, static_cast<std::uint64_t>(world.calls()) * 977 + static_cast<std::uint64_t>(listener),
                          0, true, subjects);
    }

private:
    SystemUnderTest& world;   // outlives the listener; the listener may be destroyed during its call
    int listener;
};

SystemUnderTest::SystemUnderTest(Script const& script, Ids& ids) : World{script}, m_ids{ids}
{
    onEvaluation() = [this](studio::data::Expression const& expression) {
        auto const engine = std::find_if(m_engines.begin(), m_engines.end(), [&](auto const& each) {
            return each && &studio::data::detail::EngineState::of(*each) == &expression.engine;
        });
        noteEvaluation(static_cast<int>(engine - m_engines.begin()), expression.text);
    };
}

SystemUnderTest::~SystemUnderTest()
{
    end();
    onEvaluation() = nullptr;
}

// ---- steps

void SystemUnderTest::create(int slot, bool restores)
{
    Slot& place = m_slots[Store::index(slot)];
    if (place.provider || m_creating.count(slot) != 0 || (restores && place.last < 0))
        return;
    int const number = restores ? place.last : nextContext();
    boost::uuids::uuid const id = restores ? realValue(Ref{number}).getUUID() : boost::uuids::uuid{};
    m_creating.insert(slot);
    Provider made;
    try {
        made = inSystem([&] { return restores ? ContextProvider::create(id) : ContextProvider::create(); });
    } catch (...) {
        m_creating.erase(slot);
        throw;
    }
    m_creating.erase(slot);
    m_numbers[made->getId()] = number;
    m_ids[number] = to_string(made->getId());
    place.last = number;
    place.provider = std::move(made);
}

void SystemUnderTest::drop(int slot)
{
    Provider last = std::move(m_slots[Store::index(slot)].provider);
    inSystem([&] { last.reset(); });
}

void SystemUnderTest::change(Op const& op)
{
    Slot const& place = m_slots[Store::index(op.slot)];
    if (!place.provider)
        return;
    ContextProvider& provider = *place.provider;   // held only by its slot: a callback may release it
    std::array<int, SLOTS> lastIn{};
    for (std::size_t i = 0; i != SLOTS; ++i)
        lastIn[i] = m_slots[i].last;
    PropertyValue const value = realValue(valueFor(op.value, lastIn));
    std::vector<std::string> const active = activeNames(op);
    Provider const& target = m_slots[Store::index(op.other % SLOTS)].provider;
    inSystem([&] {
        switch (op.kind) {
        case Kind::Set: return provider.setPropertyValue(op.name, value);
        case Kind::Add: return provider.addProperty(op.name, value);
        case Kind::Remove: return provider.removeProperty(op.name);
        case Kind::Activate: return provider.setActiveContexts(active);
        default: break;
        }
        Property& held = m_lifted[Store::index(op.other) % MOST_LIFTED];
        if (op.kind == Kind::WriteHeld)
            return held.get() ? held->setValue(value) : void();
        Property const property = op.kind == Kind::Land ? held : provider.getProperty(op.name);
        if (!property.get() || (op.kind == Kind::Move && !target))
            return;
        if (op.kind == Kind::Rename)
            return property->setName(op.newName);
        if (op.kind == Kind::Lift)
            return lift(property, held);
        if (op.kind == Kind::Bounce)
            return bounce(property);
        boost::uuids::uuid const owner = op.kind == Kind::Move ? target->getId() : provider.getId();
        if (auto const place = ContextData::from(ContextProvider::sharedModel()->findElement(owner, 1)))
            property->setOwner(place);
    });
}

void SystemUnderTest::lift(Property const& property, Property& held)
{
    Property const before = std::exchange(held, property);
    try {
        property->setOwner(ContextData{});
    } catch (std::bad_alloc const&) {
        if (property.owner())
            held = before;   // it stays where it was
        throw;
    }
}

void SystemUnderTest::bounce(Property const& property)
{
    tarn::zero::Transaction transaction = ContextProvider::sharedModel()->beginTransaction(true);
    ContextData const owner = property.owner();
    property->setOwner(ContextData{});
    property->setOwner(owner);
    transaction.commit(boost::none);
}

void SystemUnderTest::begin()
{
    m_open.reserve(m_open.size() + 1);
    m_open.push_back(inSystem([] {
        return std::make_unique<tarn::zero::Transaction>(ContextProvider::sharedModel()->beginTransaction(true));
    }));
}

void SystemUnderTest::commit()
{
    std::unique_ptr<tarn::zero::Transaction> const ended = std::move(m_open.back());
    m_open.pop_back();
    inSystem([&] { ended->commit(boost::none); });
}

void SystemUnderTest::rollBack()
{
    inSystem([&] { m_open.pop_back(); });
}

bool SystemUnderTest::acquire(int number, Text const& text, int handle)
{
    auto const& engine = m_engines[Store::index(number)];
    if (!engine)
        return false;
    studio::data::ExpressionHandle::Callback const callback = [this, handle](std::string const& told,
                                                                             PropertyValue const& value) {
        support::Exempt const inside;
        heard(handle, std::to_string(handle) + ": " + told + " = " + shown(value), true);
    };
    auto made = inSystem([&] { return engine->acquireExpression(text.text, callback); });
    m_expressionHandles[handle] = std::move(made);
    return true;
}

bool SystemUnderTest::watch(int number, int slot, int handle)
{
    auto const& view = m_views[Store::index(number)];
    if (!view)
        return false;
    boost::uuids::uuid const id = realValue(Ref{m_slots[Store::index(slot)].last}).getUUID();
    studio::data::ContextHandleImpl::Callback const callback = [this, handle](ContextData const& data) {
        support::Exempt const inside;
        heard(handle, std::to_string(handle) + (data ? " told" : " detached"), false);
    };
    auto made = inSystem([&] { return view->acquire(id, callback); });
    bool const isThere = made != nullptr;
    if (isThere)
        m_contextHandles[handle] = std::move(made);
    return isThere;
}

void SystemUnderTest::bind(int number, Binding const& binding)
{
    auto const& engine = m_engines[Store::index(number)];
    if (!engine)
        return;
    Slot const& slot = m_slots[Store::index(binding.slot)];
    Provider const provider = slot.provider;
    boost::uuids::uuid const id = realValue(Ref{slot.last}).getUUID();
    auto const offset = static_cast<unsigned long>(binding.offset);
    studio::data::ExpressionEngine::Leaf const leaf{binding.symbol, offset};
    std::string_view const rest = std::string_view{binding.symbol}.substr(offset);
    inSystem([&] {
        switch (binding.what) {
        case Binding::AcquireSymbol: return engine->acquireSymbol(binding.symbol, binding.text);
        case Binding::ReleaseSymbol: return engine->releaseSymbol(binding.symbol, binding.text);
        case Binding::MoveLeaf: engine->releaseLeaf(binding.symbol, offset); [[fallthrough]];
        case Binding::AcquireLeaf: return engine->acquireLeaf(binding.symbol, offset, provider);
        case Binding::ReleaseLeaf: return engine->releaseLeaf(binding.symbol, offset);
        case Binding::ReleaseAlong: return engine->releaseLeaf(binding.symbol, offset, provider);
        case Binding::ReleaseAlongId: return engine->releaseLeaf(binding.symbol, offset, id);
        case Binding::RemoveLeaf: return engine->removeLeaf(rest.substr(0, rest.find('.')), leaf, id);
        case Binding::CutOff: return engine->processDestroyedImpl(id, {{binding.symbol, offset}}, {binding.symbol});
        default: return engine->updateExpression(binding.text);
        }
    });
}

void SystemUnderTest::release(int handle)
{
    if (auto const found = m_expressionHandles.find(handle); found != m_expressionHandles.end()) {
        auto last = std::move(found->second);
        m_expressionHandles.erase(found);
        return inSystem([&] { last.reset(); });
    }
    auto const found = m_contextHandles.find(handle);
    auto last = std::move(found->second);
    m_contextHandles.erase(found);
    inSystem([&] {
        if (handle % 2 == 0)
            last->release();
        last.reset();
    });
}

void SystemUnderTest::detach(int handle)
{
    studio::data::ContextHandleImpl& doomed = *m_contextHandles.at(handle);   // its callback may destroy it
    inSystem([&] { doomed.detach(); });
}

void SystemUnderTest::setEngine(int number, bool present)
{
    auto& place = m_engines[Store::index(number)];
    Provider const root = m_slots[Store::index(number)].provider;
    if (present == (place != nullptr) || (present && !root))
        return;
    if (auto old = std::move(place))
        inSystem([&] { old.reset(); });
    else
        place = inSystem([&] {
            using studio::data::ReleasePolicy;
            return std::make_unique<studio::data::ExpressionEngine>(
                root, number == KEEPS_SHARED ? ReleasePolicy::KeepsShared : ReleasePolicy::UnbindsShared);
        });
}

void SystemUnderTest::setView(int number, bool present)
{
    auto& place = m_views[Store::index(number)];
    if (present == (place != nullptr))
        return;
    if (auto old = std::move(place))
        inSystem([&] { old.reset(); });
    else
        place = inSystem([] { return studio::data::ContextView::create(tarn::zero::Model{}); });
}

void SystemUnderTest::setListener(int number, bool present)
{
    auto& place = m_foreign[Store::index(number)];
    if (present == (place != nullptr))
        return;
    if (auto old = std::move(place))
        inSystem([&] { old.reset(); });
    else
        place = inSystem([&] { return std::make_unique<Foreign>(*this, number); });
}

void SystemUnderTest::touchAll()
{
    std::map<int, boost::uuids::uuid> known;
    for (auto const& [id, number] : m_numbers)
        known[number] = id;
    PropertyValue const other = realValue(touched());
    for (auto const& entry : known)
        for (std::string const& name : touchedNames()) {
            Provider const provider = studio::data::model::getContextProvider(entry.second);
            if (!provider || !ContextProvider::sharedModel()->findElement(entry.second, 1))
                continue;
            Property const property = provider->getProperty(name);
            PropertyValue const old = property ? property->getValue() : PropertyValue{};
            touches(entry.first, name, " changes");
            property ? property->setValue(other) : provider->addProperty(name, other);
            touches(entry.first, name, " is restored");
            property ? property->setValue(old) : provider->removeProperty(name);
        }
    endTouching();
    Provider const somebody = ContextProvider::create();
    for (auto const& view : m_views)   // destroying a handle destroys orphans, too
        if (view)
            static_cast<void>(view->acquire(somebody->getId(), {}));
}

std::string SystemUnderTest::present() const
{
    return marks(m_engines, 'e') + marks(m_views, 'v') + marks(m_foreign, 'l');
}

void SystemUnderTest::destroyLeftovers()
{
    destroyNameless();
    for (auto const& [id, number] : m_numbers)
        if (!studio::data::model::getContextProvider(id))
            if (auto const left = ContextProvider::sharedModel()->findElement(id, 1))
                left->destroy();
}

void SystemUnderTest::destroyNameless()
{
    for (tarn::zero::ModelElement const& element : ContextProvider::sharedModel()->elements())
        if (tarn::zero::isInstance<ContextData>(element) && m_numbers.count(element.Uuid()) == 0)
            element->destroy();
}

std::string SystemUnderTest::nameOfException() const
{
    using Refusal = foundation::core::except::Exception<tarn0::messages::UniquenessConstraint, std::exception>;
    try {
        throw;
    } catch (Planned const&) {
        return "planned";
    } catch (Refusal const&) {
        return "refused";
    } catch (gel::ParseError const&) {
        return "does not parse";
    } catch (std::logic_error const&) {
        return "refused";   // the element is destroyed
    } catch (std::bad_alloc const&) {
        return "";
    } catch (std::bad_weak_ptr const&) {
        return "";
    }
}

SystemUnderTest::Subject SystemUnderTest::subjectOf(tarn::zero::ModelElement const& element) const
{
    auto const* const property = tarn::zero::elementCast<Property>(element);
    tarn::zero::ModelElement const context = property ? property->getOwner() : element;
    auto const found = context.get() ? m_numbers.find(context.Uuid()) : m_numbers.end();
    return {found == m_numbers.end() ? -1 : found->second, property != nullptr,
            property ? property->getName() : std::string{}};
}

// ---- state as text

PropertyValue SystemUnderTest::realValue(Value const& value) const
{
    switch (value.index()) {
    case 0: return {};
    case 1: {
        int const number = std::get<Ref>(value).number;
        return boost::uuids::string_generator{}(number < 0 ? STRANGER : m_ids.at(number));
    }
    case 2: return std::get<double>(value);
    case 3: return std::get<bool>(value);
    default: return std::get<std::string>(value);
    }
}

std::string SystemUnderTest::nameOf(boost::uuids::uuid const& id) const
{
    auto const found = m_numbers.find(id);
    return found != m_numbers.end() ? '#' + std::to_string(found->second) : "#?";
}

std::string SystemUnderTest::nameOf(ContextData const& context) const
{
    return context.get() ? nameOf(context.Uuid()) : "#none";
}

std::string SystemUnderTest::shown(PropertyValue const& value) const
{
    if (value.isUUID())
        return to_string(value.getUUID()) == STRANGER ? "#stranger" : nameOf(value.getUUID());
    if (value.isDouble())
        return numberText(value.getDouble());
    return value.isString() ? '\'' + value.getString() + '\'' : value.asString();
}

std::string SystemUnderTest::line(ReportEntry const& entry, tarn::zero::ReportData const& report) const
{
    tarn::zero::ModelElement const& element = entry.element();
    auto const old = [&](unsigned long index) {
        return report.getOldValue(element, element->getPropertyByIndex(index));
    };
    bool const isModified =
        tarn::zero::ReportData::kindOf(*report.storageOf(*element.get())) == tarn::zero::ReportData::Kind::Modified;
    std::string text;
    if (auto const* const property = tarn::zero::elementCast<Property>(element)) {
        text = property->getName() + '@' + nameOf(property->getOwner());
        if (!isModified)
            return text;
        if (entry.isChanged(1))
            text += " 1:" + old(1).getValue<std::string>();
        if (entry.isChanged(2))
            text += " 2:" + shown(old(2).getValue<PropertyValue>());
        if (entry.isChanged(3))
            text += " 3:" + nameOf(*old(3).peekValue<ContextData>());
        return text;
    }
    text = nameOf(element.Uuid());
    if (isModified && entry.isChanged(1)) {
        text += " 1:";
        tarn::zero::Value const names = old(1);
        for (std::string const& name : *names.peekValue<tarn::zero::CollectionRef<ContextData::Impl::ActiveContexts>>())
            text += name + ',';
    }
    if (isModified && entry.isChanged(2)) {
        text += " 2:";
        tarn::zero::Value const map = old(2);
        for (Property const& property : *map.peekValue<tarn::zero::CollectionRef<ContextData::PropertyMap>>())
            text += property.name() + ',';
    }
    return text;
}

std::string SystemUnderTest::contents() const
{
    std::ostringstream out;
    auto const& model = ContextProvider::sharedModel();
    for (std::size_t i = 0; i != SLOTS; ++i) {
        Provider const& provider = m_slots[i].provider;
        out << "slot " << i << ' ' << (provider ? nameOf(provider->getId()) : "empty");
        if (provider) {
            for (std::string const& name : provider->getPropertyNames())
                out << ' ' << name << '=' << shown(provider->getProperty(name)->getValue());
            for (std::string const& name : provider->getActiveContexts())
                out << ' ' << name;
        }
        out << '\n';
    }
    for (Property const& property : m_lifted)
        if (property.get())
            out << (property ? "holds " + property->getName() + '@' + nameOf(property.owner()) + '=' +
                                   shown(property->getValue())
                             : "holds the dead")
                << '\n';
    std::map<int, boost::uuids::uuid> known;
    for (auto const& [id, number] : m_numbers)
        known[number] = id;
    for (auto const& [number, id] : known)
        out << '#' << number << (studio::data::model::getContextProvider(id) ? " lives" : " gone")
            << (model->findElement(id, 1) ? " data" : " none") << '\n';
    return out.str();
}

std::set<std::string> SystemUnderTest::values() const
{
    std::set<std::string> lines;
    for (auto const& [handle, isContext] : held())
        if (!isContext)
            lines.insert(std::to_string(handle) + '=' + shown(m_expressionHandles.at(handle)->getValue()));
    return lines;
}

std::string SystemUnderTest::read(int slot, std::string const& path) const
{
    Provider const& provider = m_slots[Store::index(slot)].provider;
    return provider ? shown(provider->getPropertyValue(path)) : "";
}

std::array<Bindings, ENGINES> SystemUnderTest::bindings() const
{
    std::array<Bindings, ENGINES> all;
    for (std::size_t i = 0; i != ENGINES; ++i)
        if (m_engines[i])
            for (auto const& [symbol, bound] : Invariants::bindings(*m_engines[i])) {
                Leaves leaves;
                for (auto const& [offset, context] : bound.second) {
                    auto const number = m_numbers.find(context);
                    leaves.insert({offset, number == m_numbers.end() ? -1 : number->second});
                }
                all[i][symbol] = {bound.first, leaves};
            }
    return all;
}

std::string SystemUnderTest::mirrors() const
{
    std::ostringstream out;
    for (auto const& view : m_views) {
        out << "view\n";
        if (!view)
            continue;
        std::map<std::string, ContextData> clones;
        for (auto const& [id, clone] : Invariants::clones(*view))
            if (m_showsMirrorsOfDestroyed || ContextProvider::sharedModel()->findElement(id, 1))
                clones[nameOf(id)] = clone;
        for (auto const& [name, clone] : clones) {
            out << name;
            for (Property const& copy : clone->getProperties()) {
                auto const* const source =
                    tarn::zero::elementCast<ContextData>(ContextProvider::sharedModel()->findElement(clone.Uuid(), 1));
                auto const* const named = source ? source->getProperties().findImpl(copy->getName()) : nullptr;
                out << ' ' << copy->getName() << (named && named->identifier() == copy->identifier() ? "=" : "~")
                    << shown(copy->getValue());
            }
            for (std::string const& active : clone->getActiveContexts())
                out << ' ' << active;
            out << '\n';
        }
    }
    return out.str();
}

std::string SystemUnderTest::checkInvariants(bool touched) const
{
    std::string found = tarn::zero::Invariants::of(ContextProvider::sharedModel(), m_open.size());
    std::set<boost::uuids::uuid> living;
    for (auto const& [id, number] : m_numbers)
        if (studio::data::model::getContextProvider(id))
            living.insert(id);
    found += Invariants::ofRegistry(living);
    for (auto const& engine : m_engines)
        if (engine)
            found += Invariants::of(*engine);
    for (auto const& view : m_views)
        if (view)
            found += Invariants::of(*view, touched);
    return found;
}

}   // namespace machine
