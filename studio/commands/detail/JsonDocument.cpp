#include "studio/commands/detail/JsonDocument.h"

#include "studio/commands/detail/Quoted.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <set>
#include <stdexcept>

namespace studio::commands::detail {

using Json = nlohmann::json;
using Kind = JsonValue::Kind;

namespace {

constexpr std::size_t MOST_NESTED = 100;

[[noreturn]] void refuse(std::string_view file, std::string const& place, std::string const& reason)
{
    throw std::invalid_argument{shown(file, 1'000) + ": " + (place.empty() ? "the document" : place) + ": " + reason};
}

std::string pointerTo(std::string const& above, std::string_view name)
{
    std::string pointer = above + '/';
    for (char const letter : shown(name))
        if (letter == '~' || letter == '/')
            pointer += letter == '~' ? "~0" : "~1";
        else
            pointer += letter;
    return pointer;
}

/// Reads a document, one event of the JSON parser after the other. An array or object of the JSON library cannot be
/// destroyed without memory.
class Reader final : public nlohmann::json_sax<Json> {
public:
    Reader(std::string_view document, std::string_view name) : text{document}, file{name} {}

    JsonValue root;

    bool null() override { return add({}); }
    bool boolean(bool value) override { return add({Kind::Logical, value, 0, {}, {}, {}}); }
    bool number_integer(number_integer_t value) override
    {
        return addNumber(static_cast<double>(value), std::to_string(value));
    }
    bool number_unsigned(number_unsigned_t value) override
    {
        return addNumber(static_cast<double>(value), std::to_string(value));
    }
    bool number_float(number_float_t value, string_t const& digits) override { return addNumber(value, digits); }
    bool string(string_t& value) override { return add({Kind::Text, false, 0, std::move(value), {}, {}}); }
    bool binary(binary_t& /*value*/) override { return false; }   // JSON texts have none
    bool start_object(std::size_t /*size*/) override { return open(Kind::Object); }
    bool start_array(std::size_t /*size*/) override { return open(Kind::List); }
    bool end_object() override { return close(); }
    bool end_array() override { return close(); }

    bool key(string_t& name) override
    {
        JsonValue& object = *levels.back();
        if (!names.emplace(levels.size(), name).second)
            refuse(file, pointer(), "the member " + inQuotes(name) + " stands twice");
        object.parts.emplace_back().name = std::move(name);
        return true;
    }

    bool parse_error(std::size_t position, std::string const& token, Json::exception const& error) override
    {
        // `[json.exception.KIND] parse error at PLACE: REASON`, or for a number that no double holds
        // `[json.exception.KIND] REASON`. The position is behind the number, or behind the byte that fits nowhere.
        std::string reason = error.what();
        reason.erase(0, reason.find("] ") + 2);
        if (reason.starts_with("parse error at "))
            reason.erase(0, reason.find(": ") + 2);
        bool const isTooLarge = dynamic_cast<Json::out_of_range const*>(&error) != nullptr;
        std::size_t const size = isTooLarge ? token.size() : 1;
        std::string_view const before = text.substr(0, position - std::min(position, size));
        auto const line = std::count(before.begin(), before.end(), '\n') + 1;
        std::size_t const column = before.size() - (before.rfind('\n') + 1) + 1;   // npos + 1 is the start of the text
        refuse(file, "line " + std::to_string(line) + ", column " + std::to_string(column), shown(reason, 300));
    }

private:
    bool addNumber(double value, std::string digits)
    {
        return add({Kind::Number, false, value, std::move(digits), {}, {}});
    }

    JsonValue& place()
    {
        if (levels.empty())
            return root;
        JsonValue& above = *levels.back();
        if (above.kind == Kind::List)
            above.parts.emplace_back();
        return above.parts.back();
    }
    bool add(JsonValue value)
    {
        JsonValue& to = place();
        value.name.swap(to.name);
        to = std::move(value);
        return true;
    }
    bool open(Kind kind)
    {
        if (levels.size() == MOST_NESTED)
            refuse(file, pointer(), "nested deeper than " + std::to_string(MOST_NESTED) + " levels");
        JsonValue& opened = place();
        opened.kind = kind;
        levels.push_back(&opened);
        return true;
    }
    bool close()
    {
        names.erase(names.lower_bound({levels.size(), {}}), names.end());
        levels.pop_back();
        return true;
    }

    /// The pointer to the value that is being read.
    std::string pointer() const
    {
        std::string result;
        for (std::size_t level = 0; level + 1 < levels.size() && result.size() < 200; ++level)
            result = pointerTo(result, levels[level]->kind == Kind::Object
                                           ? levels[level]->parts.back().name
                                           : std::to_string(levels[level]->parts.size() - 1));
        return result;
    }

    std::string_view text;
    std::string_view file;
    std::vector<JsonValue*> levels;                        // those that are open
    std::set<std::pair<std::size_t, std::string>> names;   // of the members of each of them
};

void append(std::string& text, JsonValue const& value)
{
    char const* separator = "";
    switch (value.kind) {
    case Kind::Null: text += "null"; break;
    case Kind::Logical: text += value.logical ? "true" : "false"; break;
    case Kind::Number: text += value.text; break;
    case Kind::Text: text += Json(value.text).dump(); break;
    case Kind::List:
    case Kind::Object:
        text += value.kind == Kind::List ? '[' : '{';
        for (JsonValue const& part : value.parts) {
            text += std::exchange(separator, ",");
            if (value.kind == Kind::Object)
                text += Json(part.name).dump() + ':';
            append(text, part);
        }
        text += value.kind == Kind::List ? ']' : '}';
        break;
    }
}

char const* nameOf(Kind kind)
{
    switch (kind) {
    case Kind::Null: return "null";
    case Kind::Logical: return "a logical";
    case Kind::Number: return "a number";
    case Kind::Text: return "a text";
    case Kind::List: return "a list";
    case Kind::Object: break;
    }
    return "an object";
}

}   // namespace

std::string JsonValue::json() const
{
    std::string result;
    append(result, *this);
    return result;
}

JsonPlace JsonPlace::part(std::size_t index) const
{
    JsonValue const& found = value->parts[index];
    return {&found, file, pointerTo(pointer, value->kind == Kind::Object ? found.name : std::to_string(index))};
}

std::string const& JsonPlace::text() const
{
    return as(Kind::Text).value->text;
}

double JsonPlace::number() const
{
    return as(Kind::Number).value->number;
}

JsonPlace const& JsonPlace::as(JsonValue::Kind kind) const
{
    if (value->kind != kind)
        fail(std::string{"expected "} + nameOf(kind) + ", found " + nameOf(value->kind));
    return *this;
}

void JsonPlace::fail(std::string const& reason) const
{
    refuse(file, pointer, reason);
}

JsonValue parseJson(std::string_view text, std::string_view file)
{
    Reader reader{text, file};
    Json::sax_parse(text, &reader);
    return std::move(reader.root);
}

}   // namespace studio::commands::detail
