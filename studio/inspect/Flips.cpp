#include "studio/inspect/Flips.h"

#include "gel/Program.h"
#include "studio/inspect/Explanation.h"
#include "studio/inspect/detail/ChangedContexts.h"
#include "studio/inspect/detail/Values.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

namespace studio::inspect {

using boost::uuids::uuid;
using data::PropertyValue;
using detail::truthOf;
using gel::Tree;
using Kind = Tree::Kind;

namespace {

/// Returns the alternatives of a regular expression that contain no special characters, as plain texts.
std::vector<std::string> plainAlternatives(std::string_view pattern)
{
    std::vector<std::string> found(1);
    for (std::size_t i = 1; i < pattern.rfind('/'); ++i) {
        char const each = pattern[i];
        if (each == '|')
            found.emplace_back();
        else if (each == '\\' && pattern[i + 1] != '/')
            found.back() += pattern[++i];
        else if (std::string_view{"^$()\\"}.find(each) == std::string_view::npos)
            found.back() += each;
    }
    return found;
}

/// Searches for the smallest sets of changes: first sets of one, then of two, then of three.
class Search {
public:
    Search(std::string const& text, uuid const& root, host::ContextReader const& reader, std::size_t most)
        : limit{most},
          explanation{explain(text, root, reader)},
          changed{reader},
          source{changed, root},
          program{text},
          wanted{!truthOf(explanation.value)}
    {
        collectProperties();
        collectConditions();
    }

    std::vector<Flip> run()
    {
        constexpr std::size_t MOST_CHANGES = 3;
        for (std::size_t size = 1; size <= MOST_CHANGES && found.empty(); ++size) {
            if (size == 1)
                trySingles();
            else
                for (auto const& set : sets)
                    extend(set, size);
        }
        std::stable_sort(found.begin(), found.end(), [](Flip const& left, Flip const& right) {
            return numberOfOtherKind(left) < numberOfOtherKind(right);
        });
        return std::move(found);
    }

private:
    /// A property that the text reads, or that it would read if it were there.
    struct Property {
        std::string path;
        uuid context;
        std::string name;
        std::optional<PropertyValue> value;
        std::vector<PropertyValue> candidates{};   // the most natural first
    };
    /// A sub-condition, or the whole text if it has none.
    struct Condition {
        gel::Program program;
        bool holds;
        std::vector<std::size_t> properties;
    };
    struct Choice {
        std::size_t property;
        PropertyValue value;
    };

    void collectProperties()
    {
        using Reason = host::PathEnd::Reason;
        std::map<std::pair<uuid, std::string>, std::size_t> known;
        for (Explanation::Symbol const& symbol : explanation.symbols) {
            host::Walk const& walk = symbol.walk;
            if (walk.steps.empty())
                continue;
            host::Walk::Step const& last = walk.steps.back();
            bool const isThere = walk.reason == Reason::Found || walk.reason == Reason::Hidden;
            bool const canBeAdded =
                walk.reason == Reason::Missing && last.size != 0 && last.offset + last.size == symbol.path.size();
            if (!isThere && !canBeAdded)
                continue;   // there is no context that could have it
            std::string name = symbol.path.substr(last.offset, last.size);
            auto const [at, isNew] = known.try_emplace({last.context, name}, properties.size());
            if (isNew)
                properties.push_back(
                    {symbol.path, last.context, std::move(name), isThere ? std::optional{walk.value} : std::nullopt});
            propertyOf[symbol.path] = at->second;
        }
    }

    void collectConditions()
    {
        Tree const& tree = explanation.tree;
        auto const nodes = tree.nodes();
        std::vector<std::uint32_t> first;   // by node: the first node of its subtree
        for (std::uint32_t node = 0; node != nodes.size(); ++node)
            first.push_back(nodes[node].parts.empty() ? node : first[nodes[node].parts.front()]);
        auto const add = [&](std::uint32_t node, bool holds) {
            Condition condition{gel::Program{std::string{tree.textOf(nodes[node])}}, holds, {}};
            std::vector<PropertyValue> constants;
            for (std::uint32_t part = first[node]; part <= node; ++part) {
                if (nodes[part].kind == Kind::Symbol) {
                    if (auto const its = propertyOf.find(std::string{nodes[part].name}); its != propertyOf.end())
                        condition.properties.push_back(its->second);
                } else {
                    addConstants(nodes[part], nodes, constants);
                }
            }
            std::sort(condition.properties.begin(), condition.properties.end());
            condition.properties.erase(std::unique(condition.properties.begin(), condition.properties.end()),
                                       condition.properties.end());
            // What the text has no constant for is compared with other properties.
            for (std::size_t const property : condition.properties)
                if (constants.size() < MOST_CONSTANTS && properties[property].value &&
                    !properties[property].value->isUUID() && !properties[property].value->isUndefined())
                    constants.push_back(*properties[property].value);
            std::vector<PropertyValue> distinct;
            for (PropertyValue& constant : constants)
                if (distinct.size() != MOST_CONSTANTS &&
                    std::find(distinct.begin(), distinct.end(), constant) == distinct.end())
                    distinct.push_back(std::move(constant));
            constants = std::move(distinct);
            for (std::size_t const property : condition.properties)
                addCandidates(properties[property], constants);
            conditions.push_back(std::move(condition));
        };
        for (Explanation::Condition const& condition : explanation.conditions) {
            Tree::Node const& node = nodes[condition.nodes.front()];
            bool const isNegated = node.kind == Kind::NotEqual || node.kind == Kind::NotIn;
            add(condition.nodes.front(), condition.holds != isNegated);
        }
        sets = explanation.deciding;
        if (conditions.empty() || !explanation.value.isLogical()) {
            sets.push_back({static_cast<std::uint32_t>(conditions.size())});
            add(static_cast<std::uint32_t>(nodes.size() - 1), truthOf(explanation.value));
        }
        for (Property& property : properties)
            sortCandidates(property);
    }

    static void addConstants(Tree::Node const& node, std::span<Tree::Node const> nodes,
                             std::vector<PropertyValue>& constants)
    {
        if (node.kind == Kind::Constant)
            constants.push_back(detail::propertyValue(node.constant));
        if (node.kind == Kind::Negate && nodes[node.parts[0]].constant.isDouble())
            constants.emplace_back(-nodes[node.parts[0]].constant.getDouble());
        if (node.kind == Kind::Pattern)
            for (std::string& each : plainAlternatives(node.name))
                constants.emplace_back(std::move(each));
    }

    static void addCandidates(Property& property, std::vector<PropertyValue> const& constants)
    {
        std::vector<PropertyValue>& all = property.candidates;
        PropertyValue const present = property.value.value_or(PropertyValue{});
        if (!present.isUUID()) {   // for a reference, only undefined is proposed
            all.insert(all.end(), constants.begin(), constants.end());
            for (double const step : {1.0, -1.0})
                for (PropertyValue const& constant : constants)
                    if (constant.isDouble())
                        all.emplace_back(constant.getDouble() + step);
            // Another truth without another kind of value.
            if (present.isDouble())
                all.insert(all.end(), {0.0, 1.0});
            if (present.isString())
                all.insert(all.end(), {"", "text"});
            all.emplace_back(true);
            all.emplace_back(false);
        }
        all.emplace_back();
    }

    static bool areOfOneKind(PropertyValue const& left, PropertyValue const& right) noexcept
    {
        return left.isString() == right.isString() && left.isDouble() == right.isDouble() &&
               left.isLogical() == right.isLogical();
    }

    /// The number of changes that replace a value by one of another kind, which are seldom meant.
    static std::ptrdiff_t numberOfOtherKind(Flip const& flip)
    {
        return std::count_if(flip.changes.begin(), flip.changes.end(), [](ProposedChange const& change) {
            return change.before && !areOfOneKind(*change.before, change.after);
        });
    }

    /// Puts values of the present kind first, and leaves out repetitions and the present value.
    static void sortCandidates(Property& property)
    {
        std::vector<PropertyValue> sorted;
        PropertyValue const present = property.value.value_or(PropertyValue{});
        for (bool const isOfThatKind : {true, false})
            for (PropertyValue const& each : property.candidates) {
                if (areOfOneKind(each, present) == isOfThatKind && each != present &&
                    std::find(sorted.begin(), sorted.end(), each) == sorted.end())
                    sorted.push_back(each);
            }
        property.candidates = std::move(sorted);
    }

    void trySingles()
    {
        for (std::size_t property = 0; property != properties.size(); ++property)
            tryEach(property, [&] { return accept(); });
    }

    /// Adds changes, up to `size`, that give the conditions of a deciding set their opposite truths.
    bool extend(std::vector<std::uint32_t> const& set, std::size_t size)
    {
        if (chosen.size() == size)
            return accept();
        auto const next = std::find_if(set.begin(), set.end(), [&](std::uint32_t number) {
            return truth(conditions[number].program) == conditions[number].holds;
        });
        if (next == set.end())
            return false;
        for (std::size_t const property : conditions[*next].properties)
            tryEach(property, [&] { return extend(set, size) && chosen.size() == size; });
        return false;
    }

    /// Makes each change of a property that is not changed yet, one at a time, until `isDone` is true.
    template <class IsDone>
    void tryEach(std::size_t property, IsDone const& isDone)
    {
        Property const& its = properties[property];
        if (std::any_of(chosen.begin(), chosen.end(),
                        [&](Choice const& choice) { return choice.property == property; }))
            return;
        for (PropertyValue const& value : its.candidates) {
            if (evaluations >= MOST_EVALUATIONS || found.size() == limit)
                return;
            chosen.push_back({property, value});
            changed.set(its.context, its.name, value);
            bool const done = isDone();
            changed.unset(its.context, its.name);
            chosen.pop_back();
            if (done)
                return;
        }
    }

    /// Keeps the chosen changes if they flip the truth. One set of values for each set of properties is enough.
    bool accept()
    {
        std::set<std::size_t> which;
        for (Choice const& choice : chosen)
            which.insert(choice.property);
        if (noted.contains(which))
            return true;
        ++evaluations;
        gel::Value result = program.eval(source);
        if (truthOf(result) != wanted)
            return false;
        noted.insert(which);
        Flip flip{{}, std::move(result)};
        for (std::size_t const property : which) {
            Property const& its = properties[property];
            auto const choice = std::find_if(chosen.begin(), chosen.end(),
                                             [&](Choice const& each) { return each.property == property; });
            flip.changes.push_back({its.path, its.context, its.name, its.value, choice->value});
        }
        found.push_back(std::move(flip));
        return true;
    }

    bool truth(gel::Program const& condition)
    {
        ++evaluations;
        return truthOf(condition.eval(source));
    }

    static constexpr std::size_t MOST_EVALUATIONS = 20'000;
    static constexpr std::size_t MOST_CONSTANTS = 64;   // of one sub-condition

    std::size_t const limit;
    Explanation const explanation;
    detail::ChangedContexts changed;
    detail::ReaderSource const source;
    gel::Program const program;
    bool const wanted;
    std::vector<Property> properties;
    std::map<std::string, std::size_t> propertyOf;   // by path
    std::vector<Condition> conditions;
    std::vector<std::vector<std::uint32_t>> sets;   // of conditions that decide
    std::vector<Choice> chosen;
    std::set<std::set<std::size_t>> noted;
    std::size_t evaluations = 0;
    std::vector<Flip> found;
};

}   // namespace

std::vector<Flip> flipsOf(std::string const& text, std::shared_ptr<data::ContextProvider> const& root, std::size_t most)
{
    return flipsOf(text, root ? root->getId() : uuid{}, host::ContextReader{}, most);
}

std::vector<Flip> flipsOf(std::string const& text, uuid const& root, host::ContextReader const& reader,
                          std::size_t most)
{
    return Search{text, root, reader, most}.run();
}

std::string describe(Flip const& flip)
{
    std::string text;
    for (ProposedChange const& change : flip.changes) {
        text += text.empty() ? "" : ", ";
        if (change.before)
            text += printable(change.path) + ": " + detail::literal(*change.before) + " -> ";
        else
            text += "add property " + printable(change.path) + " = ";
        text += detail::literal(change.after);
    }
    return text;
}

}   // namespace studio::inspect
