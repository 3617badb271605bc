#include "workbench/Document.h"

#include "gel/Eval.h"
#include "gel/ParseError.h"
#include "workbench/Json.h"
#include "workbench/Text.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

namespace workbench {

using Kind = Operation::Kind;

namespace {

struct Word {
    std::string_view spelling;
    Kind kind;
    std::size_t length;   // of the whole list, including the word
};
constexpr std::array s_words{
    Word{"new", Kind::create, 2}, Word{"set", Kind::set, 4},   Word{"del", Kind::remove, 3},
    Word{"link", Kind::link, 4},  Word{"drop", Kind::drop, 2}, Word{"active", Kind::activate, 3},
};

// Every key that an object of a file may have. Keys that are only for readers are not used, but their kind is checked.

constexpr std::array s_expressionFile{
    Member{"format", JsonKind::number, true},
    Member{"expressions", JsonKind::list, true},
    Member{"sources", JsonKind::list},
    Member{"refused", JsonKind::list},
};
constexpr std::array s_expression{
    Member{"id", JsonKind::number, true}, Member{"expression", JsonKind::text, true}, Member{"source", JsonKind::text},
    Member{"clause", JsonKind::text},     Member{"binding", JsonKind::text},          Member{"symbols", JsonKind::list},
    Member{"features", JsonKind::list},   Member{"results", JsonKind::list},          Member{"uses", JsonKind::number},
};
constexpr std::array s_sessionFile{
    Member{"format", JsonKind::number, true}, Member{"contexts", JsonKind::number, true},
    Member{"initial", JsonKind::list, true},  Member{"initialValues", JsonKind::list},
    Member{"steps", JsonKind::list, true},    Member{"expressions", JsonKind::text},
    Member{"seed", JsonKind::number},
};
constexpr std::array s_step{
    Member{"ops", JsonKind::list, true},
    Member{"changed", JsonKind::list},
    Member{"during", JsonKind::text},
};

std::string thereAre(std::size_t count, std::string const& unit)
{
    return (count == 1 ? "there is " : "there are ") + counted(count, unit);
}

void expectFormat(Node const& document)
{
    Node const format = document.member("format");
    if (format.number() != 1)
        format.fail("only format 1 is known");
}

/// Reads operations in the order in which they will happen, so that it knows which contexts exist at each.
class OperationReader {
public:
    explicit OperationReader(Node const& contexts) : declared{contexts} {}

    std::vector<Operation> read(Node const& list)
    {
        std::vector<Operation> operations(list.size());
        for (std::size_t i = 0; i < operations.size(); ++i)
            operations[i] = operation(list.item(i));
        return operations;
    }

    void expectAllMade() const
    {
        if (declared.number() != alive.size())
            declared.fail(thereAre(alive.size(), "context") + " by the end, the root included");
    }

private:
    Operation operation(Node const& node)
    {
        Node const name = node.item(0);   // named, because gcc 14 takes a temporary for part of the word
        Word const& word = wordOf(name);
        if (node.size() != word.length)
            node.fail(inQuotes(word.spelling) + " takes " + counted(word.length - 1, "argument") + ", not " +
                      counted(node.size() - 1));
        Operation result;
        result.kind = word.kind;
        result.context = word.kind == Kind::create ? fresh(node.item(1)) : living(node.item(1));
        switch (word.kind) {
        case Kind::set:
            result.name = property(node.item(2));
            result.value = node.item(3).value();
            break;
        case Kind::link:
            result.name = property(node.item(2));
            result.target = living(node.item(3));
            break;
        case Kind::remove: result.name = property(node.item(2)); break;
        case Kind::activate: result.names = names(node.item(2)); break;
        case Kind::drop: drop(node.item(1)); break;
        case Kind::create: break;
        }
        return result;
    }

    static Word const& wordOf(Node const& node)
    {
        for (Word const& word : s_words)
            if (node.text() == word.spelling)
                return word;
        node.fail("unknown operation " + inQuotes(node.text()));
    }

    std::size_t fresh(Node const& node)
    {
        if (node.number() != alive.size())
            node.fail("the next new context is number " + std::to_string(alive.size()));
        alive.push_back(true);
        return node.number();
    }

    std::size_t living(Node const& node) const
    {
        std::size_t const context = node.number();
        if (context >= alive.size())
            node.fail("context " + std::to_string(context) + " has not been made");
        if (!alive[context])
            node.fail("context " + std::to_string(context) + " has been dropped");
        return context;
    }

    void drop(Node const& node)
    {
        if (node.number() == 0)
            node.fail("the root stays");
        alive[node.number()] = false;
    }

    static std::string property(Node const& node)
    {
        if (node.text().find('.') != std::string::npos)
            node.fail("the name of a property has no dot: name the context and what it calls the property");
        return node.text();
    }

    static std::vector<std::string> names(Node const& node)
    {
        std::vector<std::string> result(node.size());
        for (std::size_t i = 0; i < result.size(); ++i)
            result[i] = node.item(i).text();
        return result;
    }

    Node declared;
    std::vector<bool> alive{true};
};

std::vector<Answer> readAnswers(Node const& list, std::size_t expressions)
{
    std::vector<Answer> answers(list.size());
    for (std::size_t i = 0; i < answers.size(); ++i) {
        Node const pair = list.item(i);
        if (pair.size() != 2)
            pair.fail("an answer is the number of an expression and its value; found " + counted(pair.size(), "item"));
        Node const id = pair.item(0);
        answers[i] = {id.number(), pair.item(1).value()};
        if (answers[i].expression >= expressions)
            id.fail(thereAre(expressions, "expression") + ", counted from 0");
        if (i > 0 && answers[i].expression <= answers[i - 1].expression)
            id.fail("the expressions of a step stand in ascending order");
    }
    return answers;
}

std::vector<studio::data::PropertyValue> readInitialValues(Node const& list, std::size_t expressions)
{
    if (list.size() != expressions)
        list.fail("recorded over " + counted(list.size(), "expression") + ", but " +
                  thereAre(expressions, "expression"));
    std::vector<studio::data::PropertyValue> values(expressions);
    for (std::size_t i = 0; i < expressions; ++i)
        values[i] = list.item(i).value();
    return values;
}

}   // namespace

bool Recording::hasAnswers() const
{
    return initialValues || std::any_of(steps.begin(), steps.end(), [](Step const& step) { return !!step.changed; });
}

std::vector<Expression> loadExpressions(std::string const& file)
{
    nlohmann::json const json = readJson(file);
    Node const document(file, json);
    expectFormat(document);
    document.expectMembers(s_expressionFile);
    Node const list = document.member("expressions");
    std::vector<Expression> expressions(list.size());
    for (std::size_t i = 0; i < expressions.size(); ++i) {
        Node const node = list.item(i);
        node.expectMembers(s_expression);
        if (Node const id = node.member("id"); id.number() != i)
            id.fail("expected " + std::to_string(i) + ": the expressions stand in the order of their numbers");
        Node const text = node.member("expression");
        try {
            gel::symbols(text.text());
        } catch (gel::ParseError const& error) {
            text.fail("does not parse: " + std::to_string(error.line()) + ":" + std::to_string(error.column()) + ": " +
                      error.reason());
        }
        expressions[i].text = text.text();
        if (node.has("source"))
            expressions[i].source = node.member("source").text();
    }
    return expressions;
}

namespace {

Recording load(std::string const& file, std::optional<std::size_t> expressions)
{
    nlohmann::json const json = readJson(file);
    Node const document(file, json);
    expectFormat(document);
    document.expectMembers(s_sessionFile);
    OperationReader reader(document.member("contexts"));
    Recording recording;
    recording.contexts = document.member("contexts").number();
    recording.initial = reader.read(document.member("initial"));
    if (expressions && document.has("initialValues"))
        recording.initialValues = readInitialValues(document.member("initialValues"), *expressions);
    Node const steps = document.member("steps");
    recording.steps.resize(steps.size());
    for (std::size_t i = 0; i < recording.steps.size(); ++i) {
        Node const node = steps.item(i);
        node.expectMembers(s_step);
        Step& step = recording.steps[i];
        step.operations = reader.read(node.member("ops"));
        if (node.has("during"))
            step.during = node.member("during").text();
        if (expressions && node.has("changed"))
            step.changed = readAnswers(node.member("changed"), *expressions);
    }
    reader.expectAllMade();
    return recording;
}

}   // namespace

Recording loadRecording(std::string const& file, std::size_t expressions)
{
    return load(file, expressions);
}

Recording loadOperations(std::string const& file)
{
    return load(file, {});
}

}   // namespace workbench
