#include "benchmarks/FloorValue.h"
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

/// The values of every symbol below. What E2 and E3 name is such that all of it is asked for.
using Symbols = std::unordered_map<std::string, floor::Value>;
Symbols const& symbols()
{
    static Symbols const values{
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
    return values;
}

/// Finds a value by name without making a text.
class ByName {
public:
    ByName() : values(symbols().begin(), symbols().end()) {}

    double number(std::string_view name) const { return std::get<double>(find(name)); }
    bool logical(std::string_view name) const { return std::get<bool>(find(name)); }
    std::string const& text(std::string_view name) const { return std::get<std::string>(find(name)); }

private:
    struct Hash : std::hash<std::string_view> {
        using is_transparent = void;
    };

    floor::Value const& find(std::string_view name) const { return values.find(name)->second; }

    std::unordered_map<std::string, floor::Value, Hash, std::equal_to<>> values;
};

class Source final : public gel::DataSource {
public:
    Source()
    {
        for (auto const& [name, value] : symbols()) {
            if (auto const* const number = std::get_if<double>(&value))
                values.emplace(name, *number);
            else if (auto const* const logical = std::get_if<bool>(&value))
                values.emplace(name, *logical);
            else
                values.emplace(name, std::get<std::string>(value));
        }
    }

    gel::Value lookup(std::string const& symbol) const override { return values.find(symbol)->second; }

private:
    std::unordered_map<std::string, gel::Value> values;
};

/// Has the compiler believe that a value is used, and that memory may have changed.
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

/// An expression, in C++ and in the language. In the text, four digits stand for `%04d`.
template <class Result>
struct Expression {
    char const* id;
    Result (*byHand)(ByName const& by);
    char const* text;
    char const* pattern;
    Result value;
};

template <class Result>
Task evaluateByHand(Expression<Result> const& expression)
{
    auto const last = std::make_shared<Result>();
    return {[=, by = ByName()](std::uint64_t times) {
                for (; times != 0; --times) {
                    *last = expression.byHand(by);
                    keep(*last);
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

/// Evaluates one text after the other, so many that none is still known when its turn comes again.
template <class Result>
Task compile(Expression<Result> const& expression)
{
    std::vector<std::string> texts;
    for (int number = 0; number < 5'000; ++number) {
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
                // The digits make a number differ a little.
                return last->isDouble() ? std::abs(last->getDouble() - expression.value) < 1
                                        : *last == gel::Value(expression.value);
            }};
}

template <class Result>
void add(std::vector<Workload>& list, Expression<Result> const& expression)
{
    using enum Workload::Kind;
    std::string const id = "W10-" + std::string(expression.id);
    list.push_back(
        {id + "-name", steady, 1, [=] { return evaluateByHand(expression); }, [=] { return evaluate(expression); }});
    list.push_back({id + "-compile", steady, 1, {}, [=] { return compile(expression); }});
}

}   // namespace

void addLanguage(std::vector<Workload>& list)
{
    add<double>(list, {"E1", e1, "(a + b) * c - d / 2", "(a + b) * c - d / 2.%04d", 7});
    add<bool>(list, {"E2", e2, "(mode == 'edit' && !readonly) || count > 3",
                     "(mode == 'edit' && !readonly) || count > 3%04d", false});
    add<bool>(list, {"E3", e3,
                     "(ed.focus && !ed.readonly && ws.open) || (sel.count > 0 && sel.kind == 'node' && !sel.locked) || "
                     "(view.zoom > 1.5 && view.mode == 'edit') || (job.running && !job.paused && user.admin) || "
                     "dbg.active",
                     "(ed.focus && !ed.readonly && ws.open) || (sel.count > 0 && sel.kind == 'node' && !sel.locked) || "
                     "(view.zoom > 1.5%04d && view.mode == 'edit') || (job.running && !job.paused && user.admin) || "
                     "dbg.active",
                     true});
}

}   // namespace benchmarks
