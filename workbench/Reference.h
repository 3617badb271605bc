#pragma once

#include "gel/DataSource.h"
#include "gel/Program.h"
#include "gel/Tree.h"
#include "studio/data/PropertyValue.h"
#include "workbench/Document.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace workbench {

/// A host without the library, the reference for values and for cost: contexts are maps, and every expression is
/// evaluated after every step. The values are those of the naive evaluator, the cost is that of the parsed programs.
class Reference {
public:
    /// Returns the value of a property that refers to a context, by the context's number.
    using Names = std::function<studio::data::PropertyValue(std::size_t context)>;

    Reference(std::vector<Expression> const& expressions, std::vector<Operation> const& initial, Names names);

    /// Applies a step and evaluates everything. Returns the changes in ascending order of expressions.
    std::vector<Answer> step(std::vector<Operation> const& operations);

    std::vector<studio::data::PropertyValue> const& values() const noexcept { return current; }

    /// The number of evaluations in all steps, and their time.
    std::size_t evaluations() const noexcept { return evaluated; }
    std::chrono::nanoseconds time() const noexcept { return spent; }

private:
    struct Cell {
        gel::Value value;
        std::optional<std::size_t> target;   // the context that it refers to
    };
    using Context = std::map<std::string, Cell, std::less<>>;

    class Source final : public gel::DataSource {
    public:
        explicit Source(std::map<std::size_t, Context> const& contexts) : contexts{contexts} {}
        gel::Value lookup(std::string const& symbol) const override;

    private:
        gel::Value find(std::size_t context, std::string_view path) const;

        std::map<std::size_t, Context> const& contexts;
    };

    void apply(Operation const& operation);
    void runAll();
    std::vector<studio::data::PropertyValue> evaluateAll() const;

    Names names;
    std::map<std::size_t, Context> contexts;
    std::vector<gel::Program> programs;
    std::vector<gel::Tree> trees;
    std::vector<studio::data::PropertyValue> current;
    std::size_t evaluated = 0;
    std::chrono::nanoseconds spent{};
};

}   // namespace workbench
