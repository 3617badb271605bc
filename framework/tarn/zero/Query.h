#pragma once

#include "tarn/zero/Model.h"
#include "tarn/zero/ModelElement.h"

#include <functional>
#include <utility>
#include <vector>

namespace tarn::zero {

/// Which classes a search matches.
enum class SearchClassMatchMode {
    ExactClass,          ///< elements of the class itself
    ClassAndSubclasses   ///< elements of the class and of the classes derived from it
};

/// A condition on elements.
class STUDIO_DATA_EXPORT QueryConstraint {
public:
    /// A condition decided by `matches`.
    explicit QueryConstraint(std::function<bool(ModelElement const&)> matches) : m_matches{std::move(matches)} {}

    /// True if `element` satisfies the condition. *Throws* what the function throws.
    bool matches(ModelElement const& element) const { return m_matches(element); }

private:
    std::function<bool(ModelElement const&)> m_matches;
};

/// A search over the live elements of one model.
class STUDIO_DATA_EXPORT AbstractQuery {
public:
    /// A search in `model`, which it keeps alive.
    explicit AbstractQuery(Model model) : m_model{std::move(model)} {}
    virtual ~AbstractQuery();

    /// The searched model.
    Model const& model() const noexcept { return m_model; }
    /// All live elements that match, in no particular order. *Cost*: a walk over the model.
    [[nodiscard]] std::vector<ModelElement> find(QueryConstraint const& constraint) const;

private:
    Model m_model;
};

/// The conditions available on elements of class `C`.
template <class C>
class ConstrainablesOf {
public:
    /// `type` is the class to search for.
    ConstrainablesOf(AbstractQuery const& query, ModelElement const& type, SearchClassMatchMode mode)
        : m_query{&query}, m_type{type}, m_mode{mode}
    {}

    /// The search that the conditions belong to.
    AbstractQuery const& query() const noexcept { return *m_query; }

    /// Matches exactly this element.
    QueryConstraint operator==(C const& element) const
    {
        return constraint([element](ModelElement const& candidate) { return candidate == element; });
    }
    /// Matches every element of the class.
    QueryConstraint any() const
    {
        return constraint([](ModelElement const&) { return true; });
    }

private:
    template <class Condition>
    QueryConstraint constraint(Condition condition) const;

    AbstractQuery const* m_query;
    ModelElement m_type;
    SearchClassMatchMode m_mode;
};

/// True if the element's class matches `type` by `mode`.
STUDIO_DATA_EXPORT bool isOfClass(ModelElement const& element, ModelElement const& type,
                                  SearchClassMatchMode mode) noexcept;

template <class C>
template <class Condition>
QueryConstraint ConstrainablesOf<C>::constraint(Condition condition) const
{
    return QueryConstraint{[type = m_type, mode = m_mode, condition](ModelElement const& candidate) {
        return isOfClass(candidate, type, mode) && condition(candidate);
    }};
}

}   // namespace tarn::zero
