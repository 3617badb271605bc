#include "studio/host/detail/Snapshot.h"

#include "studio/data/PropertyValueJson.h"
#include "studio/host/detail/Paths.h"

#include <boost/uuid/uuid_io.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <set>
#include <stdexcept>
#include <utility>

namespace studio::host::detail {

using data::PropertyValue;
using Json = nlohmann::json;

// {"version": 1, "contexts": {"": CONTEXT, "editor": CONTEXT, "editor.document": CONTEXT}}
// CONTEXT: {"id": "a UUID", "properties": {"name": VALUE}, "activeContexts": ["name"]}
// VALUE: as PropertyValueJson.h has it; an object where that would lose the kind:
//     {"number": "NaN"}, {"text": "a text that looks like a UUID"}
//
// Written and read piece by piece: an array or object of the JSON library cannot be destroyed without memory.

namespace {

constexpr int VERSION = 1;
constexpr std::pair<char const*, double> NOT_FINITE[] = {{"NaN", std::numeric_limits<double>::quiet_NaN()},
                                                         {"Infinity", std::numeric_limits<double>::infinity()},
                                                         {"-Infinity", -std::numeric_limits<double>::infinity()}};

PropertyValue valueOf(std::string const& text)
{
    PropertyValue value;
    from_json(Json(text), value);
    return value;
}

std::string quoted(std::string const& text)
{
    return Json(text).dump();
}

std::string textOf(PropertyValue const& value)
{
    if (value.isDouble() && !std::isfinite(value.getDouble())) {
        double const number = value.getDouble();
        return std::string{R"({"number": ")"} +
               (std::isnan(number) ? "NaN"
                : number > 0       ? "Infinity"
                                   : "-Infinity") +
               "\"}";
    }
    if (value.isString() && valueOf(value.getString()).isUUID())
        return R"({"text": )" + quoted(value.getString()) + '}';
    Json json;
    to_json(json, value);
    return json.dump();
}

/// Reads a snapshot, one event of the JSON parser after the other.
class Reader final : public nlohmann::json_sax<Json> {
public:
    /// Returns what was read, and checks what makes a tree of it.
    Snapshot take()
    {
        std::sort(snapshot.begin(), snapshot.end(), [](auto const& a, auto const& b) { return a.path < b.path; });
        if (snapshot.empty() || !snapshot.front().path.empty())
            refuse("there is no root, whose path is empty");
        std::set<std::string_view> paths;
        std::set<boost::uuids::uuid> ids;
        for (SavedContext const& context : snapshot) {
            if (!context.path.empty())
                requireTreePath(context.path);
            if (paths.insert(context.path).second && !paths.contains(ownerOf(context.path)))
                refuse("there is no context that holds " + quoted(context.path));
            if (!ids.insert(context.id).second)
                refuse("the context " + quoted(context.path) + " has the identity of another one");
        }
        return std::move(snapshot);
    }

    bool null() override { return value({}); }
    bool boolean(bool logical) override { return value(logical); }
    bool number_integer(std::int64_t number) override { return value(number); }
    bool number_unsigned(std::uint64_t number) override { return value(number); }
    bool number_float(double number, std::string const&) override { return value(number); }
    bool binary(Json::binary_t&) override { refuse("bytes are no value"); }
    bool string(std::string& text) override
    {
        if (in() == Place::Active)
            snapshot.back().activeContexts.push_back(text);
        else if (in() == Place::Value)
            snapshot.back().properties.emplace(levels.rbegin()[1].name, marked(text));
        else
            value(valueOf(text));
        return true;
    }
    bool key(std::string& text) override
    {
        levels.back().name = text;
        if (!levels.back().names.insert(text).second)
            refuse("that name is there twice");
        return true;
    }
    bool start_object(std::size_t) override { return open(false); }
    bool end_object() override { return close(); }
    bool start_array(std::size_t) override { return open(true); }
    bool end_array() override { return close(); }
    bool parse_error(std::size_t, std::string const&, Json::exception const& error) override { refuse(error.what()); }

private:
    enum class Place { Outside, Whole, Contexts, Context, Properties, Value, Active };

    /// An object or array that may be somewhere.
    struct Part {
        Place in;
        std::string_view name;   // empty where any name may be
        Place place;
        std::size_t names;   // how many it must have; 0 for any number
    };
    /// One that is open.
    struct Level {
        Place place;
        std::size_t wanted;
        std::string name;              // the last one
        std::set<std::string> names;   // all up to now
    };
    static constexpr Part PARTS[] = {{Place::Outside, "", Place::Whole, 2},
                                     {Place::Whole, "contexts", Place::Contexts, 0},
                                     {Place::Contexts, "", Place::Context, 3},
                                     {Place::Context, "properties", Place::Properties, 0},
                                     {Place::Context, "activeContexts", Place::Active, 0},
                                     {Place::Properties, "", Place::Value, 1}};

    Place in() const noexcept { return levels.back().place; }
    std::string const& name() const noexcept { return levels.back().name; }

    bool open(bool isArray)
    {
        for (Part const& part : PARTS)
            if (part.in == in() && (part.name.empty() || part.name == name()) &&
                isArray == (part.place == Place::Active)) {
                if (part.place == Place::Context)
                    snapshot.push_back({name(), {}, {}, {}});
                levels.push_back({part.place, part.names, {}, {}});
                return true;
            }
        refuse(isArray ? "an array cannot be there" : "an object cannot be there");
    }
    bool close()
    {
        if (levels.back().wanted != 0 && levels.back().names.size() != levels.back().wanted)
            refuse("a member is missing, or there is one too many");
        levels.pop_back();
        return true;
    }
    bool value(PropertyValue const& value)
    {
        if (in() == Place::Properties)
            snapshot.back().properties.emplace(name(), value);
        else if (in() == Place::Context && name() == "id" && value.isUUID() && !value.getUUID().is_nil())
            snapshot.back().id = value.getUUID();
        else if (in() != Place::Whole || name() != "version")
            refuse("that value cannot be there");
        else if (!(value == PropertyValue{VERSION}))
            refuse("that version is unknown");
        return true;
    }
    /// Returns the value of an object with one member.
    PropertyValue marked(std::string const& text) const
    {
        if (name() == "text")
            return text;
        for (auto const& [number, value] : NOT_FINITE)
            if (name() == "number" && text == number)
                return value;
        refuse("that value cannot be there");
    }
    [[noreturn]] void refuse(std::string const& reason) const
    {
        std::string place;
        for (Level const& level : levels)
            if (!level.name.empty())
                place += quoted(level.name) + ": ";
        throw std::invalid_argument{"the snapshot cannot be used: " + place + reason};
    }

    std::vector<Level> levels{{Place::Outside, 0, {}, {}}};
    Snapshot snapshot;
};

}   // namespace

std::string textOf(Snapshot const& snapshot)
{
    std::string text = "{\"version\": " + std::to_string(VERSION) + ", \"contexts\": {";
    char const* newline = "\n";
    try {
        for (SavedContext const& context : snapshot) {
            text +=
                std::exchange(newline, ",\n") + quoted(context.path) + ": {\"id\": " + quoted(to_string(context.id));
            text += ", \"properties\": {";
            char const* comma = "";
            for (auto const& [name, value] : context.properties)
                text += std::exchange(comma, ", ") + quoted(name) + ": " + textOf(value);
            text += "}, \"activeContexts\": [";
            comma = "";
            for (std::string const& name : context.activeContexts)
                text += std::exchange(comma, ", ") + quoted(name);
            text += "]}";
        }
    } catch (Json::type_error const& error) {
        throw std::invalid_argument{std::string{"a name or a text cannot be saved: "} + error.what()};
    }
    return text + "\n}}\n";
}

Snapshot snapshotOf(std::string_view text)
{
    Reader reader;
    Json::sax_parse(text, &reader);
    return reader.take();
}

}   // namespace studio::host::detail
