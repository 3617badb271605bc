#include "benchmarks/BaselineValue.h"
#include "benchmarks/Workload.h"
#include "gel/DataSource.h"
#include "gel/Eval.h"

#include <cmath>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

namespace benchmarks {

namespace {

/// All symbols. E2 and E3 evaluate every symbol that they name.
std::pair<char const*, baseline::Value> const s_symbols[] = {
    {"a", 1.0},
    {"b", 2.0},
    {"c", 3.0},
    {"d", 4.0},
    {"mode", "edit"},
    {"readonly", true},
    {"count", 2.0},
    {"ed.focus", true},
    {"ed.readonly", false},
    {"ws.open", false},
    {"sel.count", 2.0},
    {"sel.kind", "node"},
    {"sel.locked", true},
    {"view.zoom", 2.0},
    {"view.mode", "view"},
    {"job.running", true},
    {"job.paused", false},
    {"user.admin", false},
    {"dbg.active", true},
};

/// Values by name, found without constructing a string: the table of both peers.
template <class Value>
class Table {
public:
    void add(std::string const& name, Value value) { values.emplace(name, std::move(value)); }
    Value const& find(std::string_view name) const { return values.find(name)->second; }

private:
    /// May throw, so that the standard library stores the hash of each name beside it.
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view name) const { return std::hash<std::string_view>()(name); }
    };

    std::unordered_map<std::string, Value, Hash, std::equal_to<>> values;
};

class ByName {
public:
    ByName()
    {
        for (auto const& [name, value] : s_symbols)
            table.add(name, value);
    }

    double number(std::string_view name) const { return std::get<double>(table.find(name)); }
    bool logical(std::string_view name) const { return std::get<bool>(table.find(name)); }
    std::string const& text(std::string_view name) const { return std::get<std::string>(table.find(name)); }

private:
    Table<baseline::Value> table;
};

class Source final : public gel::DataSource {
public:
    Source()
    {
        for (auto const& [name, value] : s_symbols) {
            if (auto const* const number = std::get_if<double>(&value))
                table.add(name, *number);
            else if (auto const* const logical = std::get_if<bool>(&value))
                table.add(name, *logical);
            else
                table.add(name, std::get<std::string>(value));
        }
    }

    gel::Value lookup(std::string const& symbol) const override { return table.find(symbol); }

private:
    Table<gel::Value> table;
};

/// Makes the compiler assume that a value is used, and that memory may have changed.
template <class T>
void keep(T const& value)
{
    asm volatile("" : : "g"(&value) : "memory");
}

double e1(ByName const& by)
{
    return (by.number("a") + by.number("b")) * by.number("c") - by.number("d") / 2;
}

bool e2(ByName const& by)
{
    return (by.text("mode") == "edit" && !by.logical("readonly")) || by.number("count") > 3;
}

bool e3(ByName const& by)
{
    return (by.logical("ed.focus") && !by.logical("ed.readonly") && by.logical("ws.open")) ||
           (by.number("sel.count") > 0 && by.text("sel.kind") == "node" && !by.logical("sel.locked")) ||
           (by.number("view.zoom") > 1.5 && by.text("view.mode") == "edit") ||
           (by.logical("job.running") && !by.logical("job.paused") && by.logical("user.admin")) ||
           by.logical("dbg.active");
}

/// An expression and its value. In the pattern, `%05d` stands for five digits.
template <class Result>
struct Expression {
    char const* id;
    char const* text;
    char const* pattern;
    Result value;
};

/// Adds the peers of an expression; `byHand` is that expression in C++.
template <auto byHand, class Result>
Task evaluateByHand(Expression<Result> const& expression)
{
    auto const last = std::make_shared<Result>();
    return {[=, by = ByName()](std::uint64_t times) {
                for (; times != 0; --times) {
                    Result const result = byHand(by);
                    keep(result);
                    *last = result;
                }
            },
            [=] { return *last == expression.value; }};
}

template <class Result>
Task evaluate(Expression<Result> const& expression)
{
    auto const last = std::make_shared<gel::Value>();
    return {[=, text = std::string(expression.text), source = Source()](std::uint64_t times) {
                for (; times != 0; --times)
                    *last = gel::eval(text, source);
            },
            [=] { return *last == gel::Value(expression.value); }};
}

/// Evaluates texts one after the other, so many that none is still cached when its turn comes again.
template <class Result>
Task compile(Expression<Result> const& expression)
{
    std::vector<std::string> texts;
    for (int number = 0; number < 20'000; ++number) {
        char text[256];
        std::snprintf(text, sizeof text, expression.pattern, number);
        texts.emplace_back(text);
    }
    auto const last = std::make_shared<gel::Value>();
    return {[=, source = Source(), next = std::size_t{0}](std::uint64_t times) mutable {
                for (; times != 0; --times) {
                    *last = gel::eval(texts[next], source);
                    next = next + 1 == texts.size() ? 0 : next + 1;
                }
            },
            [=] {
                // The digits change the number slightly.
                return last->isDouble() ? std::abs(last->getDouble() - expression.value) < 1
                                        : *last == gel::Value(expression.value);
            }};
}

template <auto byHand, class Result>
void add(std::vector<Workload>& list, Expression<Result> const& expression)
{
    using enum Workload::Kind;
    std::string const id = "W10-" + std::string(expression.id);
    list.push_back({id + "-name", steady, 1, [=] { return evaluateByHand<byHand>(expression); },
                    [=] { return evaluate(expression); }});
    list.push_back({id + "-compile", steady, 1, {}, [=] { return compile(expression); }});
}

}   // namespace

void addLanguage(std::vector<Workload>& list)
{
    add<e1, double>(list, {"E1", "(a + b) * c - d / 2", "(a + b) * c - d / 2.%05d", 7});
    add<e2, bool>(list, {"E2", "(mode == 'edit' && !readonly) || count > 3",
                         "(mode == 'edit' && !readonly) || count > 3%05d", false});
    add<e3, bool>(list,
                  {"E3",
                   "(ed.focus && !ed.readonly && ws.open) || (sel.count > 0 && sel.kind == 'node' && !sel.locked) || "
                   "(view.zoom > 1.5 && view.mode == 'edit') || (job.running && !job.paused && user.admin) || "
                   "dbg.active",
                   "(ed.focus && !ed.readonly && ws.open) || (sel.count > 0 && sel.kind == 'node' && !sel.locked) || "
                   "(view.zoom > 1.5%05d && view.mode == 'edit') || (job.running && !job.paused && user.admin) || "
                   "dbg.active",
                   true});
}

}   // namespace benchmarks
