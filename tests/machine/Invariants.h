#pragma once

#include "tarn/zero/Model.h"

#include <boost/uuid/uuid.hpp>

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <utility>

// Invariants of the internal state between two calls. Each check returns the violations, a line each; empty if there
// are none.

namespace tarn::zero {

class Invariants {
public:
    /// Checks the table of elements, the journal with that many open transactions, the report delivery, and
    /// containment.
    static std::string of(Model const& model, std::size_t openTransactions);
};

}   // namespace tarn::zero

namespace studio::data {

class ContextData;
class ContextView;
class ExpressionEngine;

class Invariants {
public:
    using Id = boost::uuids::uuid;

    /// Checks that the registry of providers has `living`, null entries of failed constructions, and no others.
    static std::string ofRegistry(std::set<Id> const& living);
    /// Checks that the tables of symbols, leaves, expressions and handles agree.
    static std::string of(ExpressionEngine const& engine);
    /// Checks that records, clones and the graph over them agree. After a roll back the graph is rebuilt by the view's
    /// next operation; once everything was `touched`, it must be up to date.
    static std::string of(ContextView const& view, bool touched);

    /// Returns every symbol with its number of texts and its leaves: offsets and contexts.
    static std::map<std::string, std::pair<std::size_t, std::set<std::pair<std::size_t, Id>>>> bindings(
        ExpressionEngine const& engine);
    static std::map<Id, ContextData> clones(ContextView const& view);
};

}   // namespace studio::data
