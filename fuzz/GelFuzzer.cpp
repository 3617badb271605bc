#include "Target.h"
#include "gel/Eval.h"
#include "gel/ParseError.h"
#include "gel/Program.h"
#include "gel/Tree.h"
#include "workbench/NaiveEvaluator.h"

#include <limits>
#include <set>
#include <string>

// The bytes are a text. Whatever they are, it is refused with a place inside it, or it evaluates: to the same value
// each time, which is that of the naive evaluator, asking for none but its own symbols and for none twice. Each part of
// its tree is a text of its own.

namespace {

/// Values of every kind, chosen by the spelling of the symbol.
class Source : public gel::DataSource {
public:
    gel::Value lookup(std::string const& symbol) const override
    {
        require(asked.insert(symbol).second, "a symbol is asked for once");
        switch (static_cast<unsigned char>(symbol.back()) % 10) {
        case 0: return 0;
        case 1: return -2.5;
        case 2: return std::numeric_limits<double>::quiet_NaN();
        case 3: return -std::numeric_limits<double>::infinity();
        case 4: return symbol.size() % 2 == 0;
        case 5: return "";
        case 6: return symbol;
        case 7: return "\xFF" + symbol + "\n\xC3\x28" + symbol;
        case 8: return std::string(50, 'a') + "!";
        default: return {};
        }
    }

    mutable std::set<std::string> asked;
};

}   // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string const text(data, data + size);
    try {
        gel::Program const program(text);
        std::set<std::string> const symbols = program.symbols();
        require(symbols == gel::symbols(text), "symbols are those of the program");

        Source first;
        Source second;
        gel::Value const value = program.eval(first);
        require(value == gel::eval(text, second), "a value is equal when it is computed again");
        require(first.asked == second.asked, "the same symbols are asked for again");
        for (std::string const& symbol : first.asked)
            require(symbols.count(symbol) == 1, "only symbols of the text are asked for");

        gel::Tree const tree(text);
        Source third;
        workbench::NaiveEvaluator naive([&](std::string const& symbol) { return third.lookup(symbol); });
        require(naive.evaluate(tree) == value, "the value is that of the naive evaluator");
        require(third.asked == first.asked, "which asks for the same symbols");
        require(tree.trace(Source()) == naive.values(), "and a trace finds the same value of each node");
        for (std::size_t index = 0; index < tree.nodes().size() && tree.nodes().size() < 100; ++index)
            if (gel::Tree::Node const& node = tree.nodes()[index]; node.kind != gel::Tree::Kind::Pattern) {
                gel::Tree const part(std::string(tree.textOf(node)));
                require(part.root().kind == node.kind && part.root().name == node.name, "a part is a text of its own");
            }
    } catch (gel::ParseError const& error) {
        std::string const place = std::to_string(error.line()) + ':' + std::to_string(error.column());
        require(error.what() == "gel:" + place + ": " + error.reason(), "what() is made of place and reason");
        require(error.offset() <= size && error.excerpt().find('^') != std::string::npos, "the place is in the text");
    }
    return 0;
}
