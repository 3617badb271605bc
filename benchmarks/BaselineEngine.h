#pragma once

#include "benchmarks/BaselineProgram.h"
#include "benchmarks/BaselineStore.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace benchmarks::baseline {

/// Evaluates expressions over slots reached along paths from one root context: once after each commit that touches one
/// of them. Calls their handles if the value differs.
class Engine final : public Store::Listener {
public:
    using Callback = std::function<void(std::string const& text, Value const& value)>;
    struct Expression;

    class Handle {
    public:
        Handle(Engine& engine, Expression& expression, Callback callback);
        Handle(Handle const&) = delete;
        Handle& operator=(Handle const&) = delete;
        ~Handle();

    private:
        friend class Engine;

        Engine& engine;
        Expression& expression;
        Callback callback;
        std::size_t position;
    };

    Engine(Store& store, std::uint32_t root);
    Engine(Engine const&) = delete;
    Engine& operator=(Engine const&) = delete;
    ~Engine() override;

    /// Subscribes: calls back with the present value, and after each change of it.
    std::unique_ptr<Handle> acquire(std::string const& text, Callback callback);

    void committed(Store::Report const& report) override;

private:
    struct Symbol {
        std::vector<std::uint32_t> names;   // of the parts of its path
        std::vector<std::uint32_t> slots;   // the slots along the path, as far as it can be followed
        std::vector<Expression*> readers;
    };
    struct Use {
        std::uint32_t symbol;
        std::uint32_t depth;
    };

    std::uint32_t symbolOf(std::string_view text);
    void bind(std::uint32_t symbol, std::uint32_t depth);
    void unbind(std::uint32_t symbol, std::uint32_t depth);
    void evaluate(Expression& expression);
    void release(Expression& expression);

    Store& store;
    std::uint32_t root;
    std::unordered_map<std::string, std::uint32_t> symbolsByText;
    std::vector<Symbol> symbols;
    std::unordered_map<std::string, std::unique_ptr<Expression>> expressions;
    std::vector<std::vector<Use>> uses;   // by slot
    std::vector<Expression*> touched;
    std::uint32_t stamp = 0;
};

struct Engine::Expression {
    std::string text;
    Program program;
    std::vector<std::uint32_t> symbols;   // by the number that the program has for them
    Value value;
    std::vector<Handle*> handles;
    std::uint32_t stamp = 0;   // number of the last report that touched it
};

}   // namespace benchmarks::baseline
