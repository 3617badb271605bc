#pragma once

#include "support/ReferenceStore.h"

#include "gel/Eval.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace support {

/// An engine that looks at every leaf of every symbol, and walks every path again from its root.
class ReferenceEngine {
public:
    using Uuid = ReferenceStore::Uuid;
    using Value = ReferenceStore::Value;
    using Heard = std::function<void(int handle, std::string const& text, Value const& value)>;

    ReferenceEngine(ReferenceStore const& store, Uuid const& root, Heard heard)
        : m_store{store}, m_root{root}, m_heard{std::move(heard)}
    {}

    bool isGone() const { return m_gone; }
    void end()
    {
        m_gone = true;
        for (auto const& [text, expression] : std::exchange(m_expressions, {}))
            expression->handles.assign(expression->handles.size(), 0);
    }

    void acquire(std::string const& text, int handle)
    {
        std::shared_ptr<Expression> expression = m_expressions.count(text) != 0 ? m_expressions[text] : nullptr;
        if (!expression) {
            expression = std::make_shared<Expression>(Expression{text, ++m_made, gel::symbols(text), false, {}, false});
            for (std::string const& symbol : expression->symbols) {
                m_symbols[symbol].users.insert(text);
                m_symbols[symbol].leaves.merge(m_store.walk(m_root, symbol));   // beside those of before, if any
            }
            expression->value = evaluate(text);
            m_expressions[text] = expression;
        }
        expression->handles.push_back(handle);
        try {
            m_heard(handle, text, expression->value);
        } catch (...) {
            release(handle);
            throw;
        }
    }
    void release(int handle)
    {
        std::shared_ptr<Expression> const expression = expressionOf(handle);
        if (!expression)
            return;
        std::replace(expression->handles.begin(), expression->handles.end(), handle, 0);
        if (std::count(expression->handles.begin(), expression->handles.end(), 0) == std::ssize(expression->handles))
            retire(*expression);
    }
    /// Undefined for a handle that is none of this engine's.
    Value valueOf(int handle) const
    {
        std::shared_ptr<Expression> const expression = expressionOf(handle);
        return expression ? expression->value : Value{};
    }

    void process(ReferenceStore::Changes const& changes)
    {
        std::set<std::string> affected;
        for (auto const& [symbol, use] : m_symbols)
            for (ReferenceStore::Change const& change : changes)
                for (ReferenceStore::Step const& leaf : use.leaves)
                    if (touches(change, leaf))
                        affected.insert(symbol);
        for (std::string const& symbol : affected)
            m_symbols[symbol].leaves = m_store.walk(m_root, symbol);
        std::map<int, std::shared_ptr<Expression>> reading;
        for (auto const& [text, expression] : m_expressions)
            for (std::string const& symbol : expression->symbols)
                if (affected.count(symbol) != 0)
                    reading[expression->number] = expression;
        for (auto const& [number, expression] : reading)
            if (!m_gone && !expression->retired)
                update(*expression);
    }

private:
    struct Expression {
        std::string text;
        int number;
        std::set<std::string> symbols;
        Value value;
        std::vector<int> handles;   // in order of acquisition, 0 where one was released
        bool retired;
    };
    struct Symbol {
        std::set<std::string> users;
        std::set<ReferenceStore::Step> leaves;
    };

    std::shared_ptr<Expression> expressionOf(int handle) const
    {
        for (auto const& [text, expression] : m_expressions)
            if (std::count(expression->handles.begin(), expression->handles.end(), handle) != 0)
                return expression;
        return nullptr;
    }
    bool touches(ReferenceStore::Change const& change, ReferenceStore::Step const& leaf) const
    {
        bool const gone = change.kind == ReferenceStore::Kind::Destroyed;
        if (change.property) {
            ReferenceStore::Property const& now = m_store.state().properties[*change.property];
            return (gone || now.alive) && leaf == ReferenceStore::Step{now.owner, now.name};
        }
        return change.kind != ReferenceStore::Kind::Modified && change.context == leaf.first &&
               (gone || m_store.state().contexts.at(change.context).alive);
    }
    void update(Expression& expression)
    {
        Value const value = evaluate(expression.text);
        if (value == expression.value)
            return;
        expression.value = value;
        std::size_t const count = expression.handles.size();
        for (std::size_t i = 0; i != count; ++i)
            if (expression.handles[i] != 0)
                m_heard(expression.handles[i], expression.text, expression.value);
    }
    void retire(Expression& expression)
    {
        expression.retired = true;
        for (std::string const& symbol : expression.symbols) {
            m_symbols[symbol].leaves.clear();   // also for the others that read it
            m_symbols[symbol].users.erase(expression.text);
            if (m_symbols[symbol].users.empty())
                m_symbols.erase(symbol);
        }
        m_expressions.erase(std::string{expression.text});
    }
    Value evaluate(std::string const& text) const
    {
        struct Source final : gel::DataSource {
            Source(ReferenceStore const& read, Uuid const& from) : store{read}, root{from} {}
            gel::Value lookup(std::string const& symbol) const override
            {
                Value const value = store.read(root, symbol);
                if (value.isDouble())
                    return value.getDouble();
                if (value.isLogical())
                    return value.getBool();
                return value.isUndefined() ? gel::Value{} : gel::Value{value.asString()};
            }
            ReferenceStore const& store;
            Uuid root;
        };
        gel::Value const value = gel::eval(text, Source{m_store, m_root});
        if (value.isDouble())
            return value.getDouble();
        if (value.isLogical())
            return value.getBool();
        return value.isString() ? Value{value.getString()} : Value{};
    }

    ReferenceStore const& m_store;
    Uuid m_root;
    Heard m_heard;
    std::map<std::string, Symbol> m_symbols;
    std::map<std::string, std::shared_ptr<Expression>> m_expressions;
    int m_made = 0;
    bool m_gone = false;
};

}   // namespace support
