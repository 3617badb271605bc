#include "workbench/Writer.h"

#include "workbench/Json.h"
#include "workbench/System.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

namespace workbench {

namespace fs = std::filesystem;
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

json toJson(Step const& step)
{
    json object = json::object();
    if (!step.during.empty())
        object["during"] = step.during;
    object["ops"] = toJson(step.operations);
    if (step.changed) {
        json& changed = object["changed"] = json::array();
        for (Answer const& answer : *step.changed)
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

[[noreturn]] void failWrite(std::string const& name, int error)
{
    throw DocumentError(name, "cannot be written", std::strerror(error));
}

/// A complete file under a temporary name, removed unless it is renamed to its final one.
class Draft {
public:
    explicit Draft(File const& file)
        : place{file.name},
          target{system::pathOf(place)},
          draft{system::pathOf(place + "." + std::to_string(system::processId()) + ".new")}
    {
        std::error_code ignored;
        if (fs::exists(target, ignored) && !fs::is_regular_file(target, ignored))
            throw DocumentError(place, "cannot be written", "it is no regular file");
        std::FILE* const stream = system::createNew(draft);
        if (stream == nullptr)
            failWrite(place, errno);
        made = true;
        bool const complete = std::fwrite(file.text.data(), 1, file.text.size(), stream) == file.text.size();
        int const error = errno;
        if (std::fclose(stream) != 0 || !complete) {
            int const reason = complete ? errno : error;
            discard();
            failWrite(place, reason);
        }
    }
    Draft(Draft&& other) noexcept
        : place{std::move(other.place)},
          target{std::move(other.target)},
          draft{std::move(other.draft)},
          made{std::exchange(other.made, false)}
    {}
    Draft& operator=(Draft&&) = delete;
    ~Draft() { discard(); }

    void moveToPlace(Existing existing)
    {
        if (!(existing == Existing::Keep ? system::moveUnlessTaken : system::moveOver)(draft, target))
            failWrite(place, errno);
        made = false;
    }

private:
    void discard() noexcept
    {
        std::error_code ignored;
        if (std::exchange(made, false))
            fs::remove(draft, ignored);
    }

    std::string place;
    fs::path target;
    fs::path draft;
    bool made = false;
};

}   // namespace

std::string expressionsText(std::vector<Expression> const& expressions)
{
    std::size_t id = 0;
    return R"({"format":1,"expressions":)" +
           lines(expressions,
                 [&](Expression const& expression) {
                     return json{{"id", id++}, {"expression", expression.text}, {"source", expression.source}};
                 }) +
           "}\n";
}

std::string recordingText(Recording const& recording)
{
    std::string text = R"({"format":1,"contexts":)" + std::to_string(recording.contexts) + ",\n\"initial\":" +
                       lines(recording.initial, [](Operation const& operation) { return toJson(operation); });
    if (recording.initialValues)
        text += ",\n\"initialValues\":" + toJson(*recording.initialValues).dump();
    return text + ",\n\"steps\":" + lines(recording.steps, [](Step const& step) { return toJson(step); }) + "}\n";
}

std::string presentAmong(std::vector<std::string> const& names)
{
    for (std::string const& name : names) {
        std::error_code ignored;
        if (fs::symlink_status(system::pathOf(name), ignored).type() > fs::file_type::not_found)
            return name;
    }
    return {};
}

void writeFiles(std::vector<File> const& files, Existing existing)
{
    std::vector<Draft> drafts;
    drafts.reserve(files.size());
    for (File const& file : files)
        drafts.emplace_back(file);
    for (Draft& draft : drafts)
        draft.moveToPlace(existing);
}

}   // namespace workbench
