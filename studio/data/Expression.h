#pragma once

#include "gel/Program.h"
#include "studio/data/PropertyValue.h"

#include <boost/container/small_vector.hpp>
#include <boost/core/noncopyable.hpp>
#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace studio::data {

class ExpressionHandle;
namespace detail {
class EngineState;
struct EngineBatch;
struct ExpressionSymbol;
}   // namespace detail

/// The shared state of one expression text in an engine: symbols, value and handles. Kept alive by the engine while it
/// has handles, and by any call that is running on it. The count is not atomic: an engine lives on one thread.
class Expression : public boost::intrusive_ref_counter<Expression, boost::thread_unsafe_counter>,
                   private boost::noncopyable {
public:
    using Pin = boost::intrusive_ptr<Expression>;

    /// Registers the text's symbols with the engine and evaluates. If parsing throws, nothing is registered; if
    /// evaluating throws, the symbols stay registered until the text is acquired and released.
    Expression(std::string const& text, detail::EngineState& owner);
    ~Expression();

    /// Re-evaluates. If the value differs, calls every handle present at the start, in order of acquisition, with the
    /// value current at each call. Handles released meanwhile are skipped. *Throws* what a look-up throws: nothing has
    /// changed then. *Throws* what a callback throws: the later handles are not called.
    void evaluate();
    /// Does what `evaluate` does, and calls the engine's observers.
    void evaluateObserved();

    /// Adds a handle. *Throws* `std::bad_alloc`; the handle is not added then.
    void addHandle(ExpressionHandle& handle);
    /// Removes a handle. Returns false if it is not one of this expression.
    bool removeHandle(ExpressionHandle& handle) noexcept;
    bool hasHandles() const noexcept { return handles.size() != gaps; }
    std::size_t handleCount() const noexcept { return handles.size() - gaps; }
    /// Detaches every handle, before the engine is destroyed.
    void detachHandles() noexcept;
    /// Releases the symbols when the engine has removed the expression, even if a running call still keeps it alive.
    void retire() noexcept;
    /// Marks an expression that the engine failed to add. Its symbols stay bound, as after a failed construction.
    void abandon() noexcept { retired = true; }
    bool isRetired() const noexcept { return retired; }
    /// Returns the distinct symbols of the text in ascending order, even if the engine has no root.
    std::vector<std::string> symbolNames() const;
    /// True if the text contains that symbol of the engine.
    bool names(detail::ExpressionSymbol const& symbol) const noexcept;

private:
    friend class detail::EngineState;
    friend struct detail::EngineBatch;

    class Source;

    PropertyValue result() const;
    template <class Call>
    void forEachHandle(Call const& call);
    void closeGaps() noexcept;

    // Spans three cache lines; the last one is needed only to notify handles.
    std::uint32_t passes = 0;   // running iterations over the handles

public:
    detail::EngineState& engine;

private:
    std::uint64_t stamp = 0;   // number of the last report that affected it
    gel::Program program;
    // By symbol number of the program; empty if there is no root.
    boost::container::small_vector<detail::ExpressionSymbol*, 1> symbols;

public:
    PropertyValue value{false};

private:
    std::uint64_t number;   // ascending in order of acquisition
    std::uint32_t gaps = 0;
    bool retired = false;
    boost::container::small_vector<ExpressionHandle*, 1> handles;   // in order of acquisition; null where released

public:
    std::string const& text;   // owned by the program
};

}   // namespace studio::data
