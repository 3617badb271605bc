#include "workbench/Writer.h"

#include "workbench/Json.h"

#include <cerrno>
#include <cstring>
#include <fstream>

namespace workbench {

using json = nlohmann::ordered_json;
using studio::data::PropertyValue;
using Kind = Operation::Kind;

namespace {

json toJson(PropertyValue const& value)
{
    if (value.isLogical())
        return value.getBool();
    if (value.isDouble())
        return value.getDouble();
    if (value.isString())
        return value.getString();
    return nullptr;
}

json toJson(Operation const& operation)
{
    switch (operation.kind) {
    case Kind::create: return {"new", operation.context};
    case Kind::set: return {"set", operation.context, operation.name, toJson(operation.value)};
    case Kind::remove: return {"del", operation.context, operation.name};
    case Kind::link: return {"link", operation.context, operation.name, operation.target};
    case Kind::drop: return {"drop", operation.context};
    case Kind::activate: return {"active", operation.context, operation.names};
    }
    return nullptr;
}

json toJson(std::vector<Operation> const& operations)
{
    json list = json::array();
    for (Operation const& operation : operations)
        list.push_back(toJson(operation));
    return list;
}

json toJson(std::vector<PropertyValue> const& values)
{
    json list = json::array();
    for (PropertyValue const& value : values)
        list.push_back(toJson(value));
    return list;
}

json toJson(Step const& step, bool answers)
{
    json object = json::object();
    if (!step.during.empty())
        object["during"] = step.during;
    object["ops"] = toJson(step.operations);
    if (answers) {
        json& changed = object["changed"] = json::array();
        for (Answer const& answer : step.changed)
            changed.push_back({answer.expression, toJson(answer.value)});
    }
    return object;
}

template <class Items, class ToJson>
std::string lines(Items const& items, ToJson const& toJson)
{
    std::string text = "[";
    char const* separator = "\n";
    for (auto const& item : items) {
        text += separator + toJson(item).dump();
        separator = ",\n";
    }
    return text + "\n]";
}

void write(std::string const& name, std::string const& text)
{
    std::ofstream file(name, std::ios::binary);
    file << text << std::flush;
    if (!file)
        throw DocumentError(name, "cannot be written", std::strerror(errno));
}

}   // namespace

void saveExpressions(std::string const& file, std::vector<Expression> const& expressions)
{
    std::size_t id = 0;
    write(file, R"({"format":1,"expressions":)" + lines(expressions, [&](Expression const& expression) {
                    return json{{"id", id++}, {"expression", expression.text}, {"source", expression.source}};
                }) + "}\n");
}

void saveRecording(std::string const& file, Recording const& recording)
{
    std::string text = R"({"format":1,"contexts":)" + std::to_string(recording.contexts) + ",\n\"initial\":" +
                       lines(recording.initial, [](Operation const& operation) { return toJson(operation); });
    if (recording.hasAnswers)
        text += ",\n\"initialValues\":" + toJson(recording.initialValues).dump();
    text +=
        ",\n\"steps\":" + lines(recording.steps, [&](Step const& step) { return toJson(step, recording.hasAnswers); }) +
        "}\n";
    write(file, text);
}

}   // namespace workbench
