#pragma once

#include "gel/Program.h"
#include "studio/data/PropertyValue.h"

#include <boost/core/noncopyable.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace studio::data {

class ExpressionEngine;
class ExpressionHandle;

/// The one state of a text inside an engine: its symbols, its value and who watches it. Kept alive by the engine while
/// it has handles, and by whatever call is running on it.
class Expression : public std::enable_shared_from_this<Expression>, private boost::noncopyable {
public:
    /// Registers the text's symbols with the engine and evaluates. If parsing throws, nothing is registered; if
    /// evaluating throws, the symbols stay registered until the text is acquired and released.
    Expression(std::string const& text, ExpressionEngine* engine);
    ~Expression();

    /// Computes the value anew and, if it differs, calls every handle that is there at the beginning, in order of
    /// acquisition, with what the value then is. Handles released meanwhile are skipped. *Throws* what a look-up or a
    /// callback throws: in the first case nothing has changed, in the second the later handles are not called.
    void evaluate();

    void addHandle(ExpressionHandle& handle);
    /// False if the handle is not one of this expression.
    bool removeHandle(ExpressionHandle& handle) noexcept;
    /// Detaches every handle: the engine goes.
    void detachHandles() noexcept;
    /// The engine let go: releases the symbols at once, also while a call keeps the expression.
    void retire() noexcept;
    /// The engine could not take it in: its symbols stay bound, as after a construction that failed.
    void abandon() noexcept { retired = true; }
    bool isRetired() const noexcept { return retired; }

    ExpressionEngine* engine;
    std::string text;
    std::unordered_set<std::string> symbols;
    std::unordered_set<ExpressionHandle*> handles;
    PropertyValue value{false};

private:
    friend class ExpressionEngine;
    friend class Invariants;

    void notifyHandles();
    void closeGaps() noexcept;

    gel::Program program;
    std::vector<ExpressionHandle*> inOrder;   // the handles by acquisition; null where one was released
    std::size_t gaps = 0;
    unsigned passes = 0;   // walks over inOrder that are under way
    bool retired = false;
    std::uint64_t number;      // by acquisition
    std::uint64_t stamp = 0;   // the last report that touched it
};

}   // namespace studio::data
