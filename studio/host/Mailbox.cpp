#include "studio/host/Mailbox.h"

#include "studio/data/ContextProvider.h"
#include "studio/data/ProviderRegistry.h"
#include "studio/data/model/PropertyImpl.h"
#include "studio/host/Batch.h"
#include "studio/host/detail/Messages.h"
#include "studio/host/detail/OpenBatches.h"
#include "tarn/zero/ModelImpl.h"

#include <boost/uuid/uuid_io.hpp>

#include <exception>
#include <list>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace studio::host {

using detail::currentFailure;
using detail::inQuotes;

namespace {

/// Notes that the batch in which it is remembered was undone.
class UndoNote final : public detail::BatchChange {
public:
    explicit UndoNote(bool& noted) noexcept : flag{noted} {}
    void undo() noexcept override { flag = true; }

private:
    bool& flag;
};

/// True in a scope of the owner's thread.
class Scope {
public:
    explicit Scope(bool& marked) noexcept : flag{marked} { flag = true; }
    Scope(Scope const&) = delete;
    Scope& operator=(Scope const&) = delete;
    ~Scope() { flag = false; }

private:
    bool& flag;
};

}   // namespace

/// The queue, under a lock, and what the owner's thread needs for a drain. No function of the host is called, copied or
/// destroyed under the lock.
class Mailbox::State {
public:
    State(Wake wakeFunction, ErrorHandler handler) : wake{std::move(wakeFunction)}, errorHandler{std::move(handler)} {}

    bool post(Task task);
    bool write(boost::uuids::uuid const& context, std::string name, data::PropertyValue value);
    std::size_t drain(std::size_t limit);
    void close() noexcept;
    void end() noexcept;

private:
    struct Item {
        Task task;   // empty: a write
        boost::uuids::uuid context{};
        std::string name;
        data::PropertyValue value;
    };
    using Queue = std::list<Item>;
    struct ByProperty {
        bool operator()(Queue::const_iterator left, Queue::const_iterator right) const noexcept
        {
            return std::tie(left->context, left->name) < std::tie(right->context, right->name);
        }
    };

    void callWake();
    bool isEmpty();
    bool take(std::size_t limit, Queue& taken);
    void putBack(Queue& taken) noexcept;
    void refuse(std::size_t limit);
    static void run(Item const& item, std::vector<Failure>& failures);
    static void write(Item const& item);
    void report(std::vector<Failure> const& failures) const;

    Wake const wake;
    ErrorHandler const errorHandler;

    std::mutex mutex;   // for the fields up to isClosed
    Queue queue;
    std::set<Queue::iterator, ByProperty> replaceable;   // the writes behind the last function
    bool isWoken = false;                                // a drain is due, and `wake` is not called before it
    bool isClosed = false;

    bool isDraining = false;
    bool isEnded = false;   // the mailbox was destroyed
};

bool Mailbox::State::post(Task task)
{
    if (!task)
        throw std::invalid_argument{"an empty function is posted to a mailbox"};
    Queue posted;
    posted.push_back({std::move(task), {}, {}, {}});
    {
        std::lock_guard const lock{mutex};
        if (isClosed)
            return false;
        replaceable.clear();
        queue.splice(queue.end(), posted);
        if (std::exchange(isWoken, true))
            return true;
    }
    callWake();
    return true;
}

bool Mailbox::State::write(boost::uuids::uuid const& context, std::string name, data::PropertyValue value)
{
    Queue posted;
    posted.push_back({{}, context, std::move(name), std::move(value)});
    {
        std::lock_guard const lock{mutex};
        if (isClosed)
            return false;
        auto const [queued, isNew] = replaceable.insert(posted.begin());
        if (isNew)
            queue.splice(queue.end(), posted);
        else
            std::swap((*queued)->value, posted.front().value);
        if (std::exchange(isWoken, true))
            return true;
    }
    callWake();
    return true;
}

void Mailbox::State::callWake()
{
    if (!wake)
        return;
    try {
        wake();
    } catch (...) {
        std::lock_guard const lock{mutex};
        isWoken = false;
        throw;
    }
}

std::size_t Mailbox::State::drain(std::size_t limit)
{
    refuse(limit);
    if (isEmpty())
        return 0;
    Queue taken;   // destroyed after the drain: what its functions captured may do anything then
    std::vector<Failure> failures;
    std::size_t count = 0;
    bool leavesSome = false;
    {
        Scope const draining{isDraining};
        bool isUndone = false;
        try {
            Batch batch;   // what it runs may change trees, which only a batch notifies of a rollback
            detail::OpenBatches::remember(std::make_unique<UndoNote>(isUndone));
            leavesSome = take(limit, taken);
            for (auto item = taken.cbegin(); item != taken.cend() && !isEnded; ++item, ++count)
                run(*item, failures);
            try {
                batch.commit();
            } catch (...) {
                if (isUndone)
                    throw;
                failures.push_back(currentFailure("the commit of a mailbox"));   // of a listener: the change stays
            }
        } catch (...) {
            putBack(taken);
            throw;
        }
    }
    if (leavesSome && !isEnded) {
        try {
            callWake();
        } catch (...) {
            failures.push_back(currentFailure("the wake function of a mailbox"));
        }
    }
    report(failures);
    return count;
}

/// Throws if no drain can begin. A drain that was due is not due any more then: the next post wakes.
void Mailbox::State::refuse(std::size_t limit)
{
    char const* reason = nullptr;
    if (isDraining)
        reason = "a mailbox is drained inside its own drain";
    else if (data::ContextProvider::sharedModel()->isInTransaction())
        reason = "a mailbox is drained inside an open transaction";
    if (!reason && limit != 0)
        return;
    {
        std::lock_guard const lock{mutex};
        isWoken = false;
    }
    if (reason)
        throw std::logic_error{reason};
    throw std::invalid_argument{"a mailbox is drained with a limit of 0"};
}

bool Mailbox::State::isEmpty()
{
    std::lock_guard const lock{mutex};
    return queue.empty();
}

/// Moves the first items into `taken`; returns true if some are left.
bool Mailbox::State::take(std::size_t limit, Queue& taken)
{
    std::lock_guard const lock{mutex};
    auto end = queue.begin();
    for (std::size_t count = 0; count != limit && end != queue.end(); ++count, ++end) {
        auto const found = end->task ? replaceable.end() : replaceable.find(end);
        if (found != replaceable.end() && *found == end)
            replaceable.erase(found);
    }
    taken.splice(taken.end(), queue, queue.begin(), end);
    isWoken = !queue.empty();
    return isWoken;
}

void Mailbox::State::putBack(Queue& taken) noexcept
{
    std::lock_guard const lock{mutex};
    queue.splice(queue.begin(), taken);
    isWoken = false;
}

void Mailbox::State::run(Item const& item, std::vector<Failure>& failures)
{
    try {
        Batch savepoint;
        if (item.task)
            item.task();
        else
            write(item);
        savepoint.commit();
    } catch (...) {
        std::string const text = item.task ? "a posted function" : "a posted write of " + inQuotes(item.name);
        failures.push_back(currentFailure(text, item.value));
    }
}

void Mailbox::State::write(Item const& item)
{
    std::shared_ptr<data::ContextProvider> const context = data::model::getContextProvider(item.context);
    if (!context)
        throw std::invalid_argument{"there is no context " + to_string(item.context)};
    data::Property::Impl* const property = context->findProperty(item.name);
    if (!property)
        throw std::invalid_argument{"the context " + to_string(item.context) + " has no property " +
                                    inQuotes(item.name)};
    property->setValue(item.value);
}

void Mailbox::State::report(std::vector<Failure> const& failures) const
{
    for (Failure const& failure : failures) {
        if (!errorHandler || isEnded)
            std::rethrow_exception(failure.exception);
        [&]() noexcept { errorHandler(failure); }();
    }
}

void Mailbox::State::close() noexcept
{
    std::lock_guard const lock{mutex};
    isClosed = true;
}

void Mailbox::State::end() noexcept
{
    isEnded = true;
    close();
    Queue dropped;   // destroyed outside of the lock
    std::lock_guard const lock{mutex};
    replaceable.clear();
    queue.swap(dropped);
}

Mailbox::Mailbox(Wake wake, ErrorHandler errorHandler)
    : state{std::make_shared<State>(std::move(wake), std::move(errorHandler))}
{}

Mailbox::~Mailbox()
{
    state->end();
}

bool Mailbox::post(Task task)
{
    return state->post(std::move(task));
}

bool Mailbox::write(boost::uuids::uuid const& context, std::string name, data::PropertyValue value)
{
    return state->write(context, std::move(name), std::move(value));
}

std::size_t Mailbox::drain(std::size_t limit)
{
    std::shared_ptr<State> const kept = state;
    return kept->drain(limit);
}

void Mailbox::close() noexcept
{
    state->close();
}

}   // namespace studio::host
