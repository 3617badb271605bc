#pragma once

#include "tarn/zero/Model.h"

#include <boost/uuid/uuid.hpp>

#include <cstddef>
#include <functional>
#include <map>
#include <set>
#include <string>

// What always holds between two calls, looked up inside. Each check answers what does not hold, a line each; nothing if
// all is well.

namespace tarn::zero {

class Invariants {
public:
    /// The table of elements, the journal at that many open transactions, the delivery, and who contains whom.
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

    /// The registry of providers has `living`, dead entries of failed constructions, and no others.
    static std::string ofRegistry(std::set<Id> const& living);
    /// The tables of symbols, leaves, expressions and handles tell the same.
    static std::string of(ExpressionEngine const& engine);
    /// Records, clones and the graph over them tell the same. A roll back leaves the graph to be made anew by what the
    /// view does next; it must have been, when everything is `touched`.
    static std::string of(ContextView const& view, bool touched);

    /// Every symbol, by how many texts it is named, and its leaves in order: "`a.b`*1 0#context 2#context".
    static std::string leaves(ExpressionEngine const& engine, std::function<std::string(Id const&)> const& name);
    static std::map<Id, ContextData> clones(ContextView const& view);
};

}   // namespace studio::data
