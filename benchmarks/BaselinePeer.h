#pragma once

#include "benchmarks/BaselineEngine.h"
#include "benchmarks/BaselineMirror.h"
#include "benchmarks/BaselineStore.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace benchmarks {

/// The baseline, behind the operations in which workloads are written; `LibraryPeer` has them, too.
class BaselinePeer {
public:
    using Context = std::uint32_t;

    Context makeContext() { return store.addContext(); }
    void add(Context context, std::string const& name, double value) { store.addSlot(context, name, value); }
    void add(Context context, std::string const& name) { store.addSlot(context, name, std::monostate{}); }
    void set(Context context, std::string const& name, double value) { store.set(context, name, value); }
    void refer(Context context, std::string const& name, Context target)
    {
        store.set(context, name, store.contexts[target].identity);
    }
    void clear(Context context, std::string const& name) { store.set(context, name, std::monostate{}); }
    template <class Change>
    void inTransaction(Change const& change)
    {
        store.begin();
        change();
        store.commit();
    }
    std::optional<double> value(Context context, std::string const& name) const
    {
        return number(&store.slots[slot(context, name)].value);
    }

    /// Makes a new engine on that context.
    void listen(Context root)
    {
        engine.reset();
        engine = std::make_unique<baseline::Engine>(store, root);
    }
    /// Acquires an expression; its callback stores the value in `received`.
    void subscribe(std::string const& text)
    {
        handles.push_back(engine->acquire(text, [this](std::string const&, baseline::Value const& value) {
            received = *std::get_if<double>(&value);
        }));
    }

    void mirror(Context root) { view = std::make_unique<baseline::Mirror>(store, root); }
    std::optional<double> mirrored(Context context, std::string const& name) const
    {
        return number(view->find(slot(context, name)));
    }

    double written = 0;
    double received = 0;

private:
    std::uint32_t slot(Context context, std::string const& name) const
    {
        return store.find(context, store.names.find(name));
    }
    static std::optional<double> number(baseline::Value const* value)
    {
        auto const* const found = value ? std::get_if<double>(value) : nullptr;
        return found ? std::optional{*found} : std::nullopt;
    }

    baseline::Store store;
    std::unique_ptr<baseline::Engine> engine;
    std::unique_ptr<baseline::Mirror> view;

public:
    std::vector<std::unique_ptr<baseline::Engine::Handle>> handles;
};

}   // namespace benchmarks
