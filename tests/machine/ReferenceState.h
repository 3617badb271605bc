#pragma once

#include "machine/Store.h"

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace machine {

/// The living providers by number, with shared owners.
class Providers {
public:
    struct Provider {
        Providers& all;
        Store::Element data;   // as made with it: a roll back may have brought back an older one of the same id
        int id = data.id;
        std::function<void(Store::Element)> ended;   // destroys the data

        Provider(Providers& owner, Store::Element const& made, std::function<void(Store::Element)> atEnd)
            : all{owner}, data{made}, ended{std::move(atEnd)}
        {}
        Provider(Provider const&) = delete;
        Provider& operator=(Provider const&) = delete;
        ~Provider()
        {
            all.living.erase(id);
            ended(data);
        }
    };
    using Owner = std::shared_ptr<Provider>;

    Owner find(Value const& value) const
    {
        auto const* const ref = std::get_if<Ref>(&value);
        auto const found = ref ? living.find(ref->number) : living.end();
        return found == living.end() ? nullptr : found->second.lock();
    }
    bool names(Value const& value) const { return find(value) != nullptr; }

    std::map<int, std::weak_ptr<Provider>> living;
};

/// The state that all listeners of the reference model read.
struct ReferenceState {
    Store store;
    Providers providers;

    /// Returns the data that the living provider of that id reads and writes; null if they are gone.
    Store::Context const* dataOf(int id) const
    {
        Providers::Owner const provider = providers.find(Ref{id});
        return provider && store.isAlive(provider->data) ? store.context(id) : nullptr;
    }
    /// Returns the value that the living provider of that id has for exactly that name; null for none.
    Value const* value(int id, std::string const& name) const { return dataOf(id) ? store.value(id, name) : nullptr; }
    /// Returns the value of a name: follows dots through children; a property whose own name is the dotted path takes
    /// precedence.
    Value read(int id, std::string const& name) const
    {
        Value result;
        if (std::size_t const dot = name.find('.'); dot != std::string::npos)
            if (Value const* const head = value(id, name.substr(0, dot)); head && providers.names(*head))
                result = read(std::get<Ref>(*head).number, name.substr(dot + 1));
        if (Value const* const own = value(id, name))
            result = *own;
        return result;
    }
};

/// What differs from a computation from scratch, each with the documented reasons.
using Stale = std::map<std::string, std::set<std::string>>;

/// A recipient of reports; recipients are called in order of registration.
class ReferenceListener {
public:
    virtual ~ReferenceListener() = default;
    virtual void process(Store::Report const& report) = 0;
    bool gone = false;
};

}   // namespace machine
