#pragma once

#include "gel/Program.h"
#include "studio/data/PropertyValue.h"

#include <boost/container/small_vector.hpp>
#include <boost/core/noncopyable.hpp>
#include <boost/smart_ptr/intrusive_ptr.hpp>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace studio::data {

class ExpressionEngine;
class ExpressionHandle;
class Invariants;
namespace detail {
struct ExpressionSymbol;
}

/// The one state of a text inside an engine: its symbols, its value and who watches it. Kept alive by the engine while
/// it has handles, and by whatever call is running on it. Counted without atomics: an engine lives on one thread.
class Expression : private boost::noncopyable {
public:
    using Pin = boost::intrusive_ptr<Expression>;

    /// Registers the text's symbols with the engine and evaluates. If parsing throws, nothing is registered; if
    /// evaluating throws, the symbols stay registered until the text is acquired and released.
    Expression(std::string const& text, ExpressionEngine* engine);
    ~Expression();

    /// Computes the value anew and, if it differs, calls every handle that is there at the beginning, in order of
    /// acquisition, with what the value then is. Handles released meanwhile are skipped. *Throws* what a look-up or a
    /// callback throws: in the first case nothing has changed, in the second the later handles are not called.
    void evaluate();

    /// *Throws* `std::bad_alloc`; the handle is not in then.
    void addHandle(ExpressionHandle& handle);
    /// False if the handle is not one of this expression.
    bool removeHandle(ExpressionHandle& handle) noexcept;
    bool hasHandles() const noexcept { return handles.size() != gaps; }
    /// Detaches every handle: the engine goes.
    void detachHandles() noexcept;
    /// The engine let go: releases the symbols at once, also while a call keeps the expression.
    void retire() noexcept;
    /// The engine could not take it in: its symbols stay bound, as after a construction that failed.
    void abandon() noexcept { retired = true; }
    bool isRetired() const noexcept { return retired; }
    /// The distinct names that the text names, in ascending order, also without a root.
    std::vector<std::string> symbolNames() const;
    /// True if the text names that symbol of the engine.
    bool names(detail::ExpressionSymbol const& symbol) const noexcept;

private:
    friend class ExpressionEngine;
    friend class Invariants;
    friend void intrusive_ptr_add_ref(Expression* expression) noexcept { ++expression->pins; }
    friend void intrusive_ptr_release(Expression* expression) noexcept
    {
        if (--expression->pins == 0)
            delete expression;
    }

    class Source;

    void notifyHandles();
    void closeGaps() noexcept;

    // In three cache lines, the last of which is touched only to tell the handles.
    std::uint32_t pins = 0;
    std::uint32_t passes = 0;   // walks over the handles that are under way

public:
    ExpressionEngine* const engine;

private:
    std::uint64_t stamp = 0;   // the last report that touched it
    gel::Program program;
    // By their numbers in the program; none if there is no root.
    boost::container::small_vector<detail::ExpressionSymbol*, 1> symbols;

public:
    PropertyValue value{false};

private:
    std::uint64_t number;   // by acquisition
    std::uint32_t gaps = 0;
    bool retired = false;
    boost::container::small_vector<ExpressionHandle*, 1> handles;   // by acquisition; null where one was released

public:
    std::string const& text;   // the program's
};

}   // namespace studio::data
