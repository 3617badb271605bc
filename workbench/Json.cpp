#include "workbench/Json.h"

#include "workbench/System.h"
#include "workbench/Text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

namespace workbench {

using nlohmann::json;
using studio::data::PropertyValue;

namespace {

constexpr std::size_t LARGEST_FILE = std::size_t{256} << 20U;
constexpr std::size_t PATH_WIDTH = 200;
constexpr std::size_t REASON_WIDTH = 300;

std::string readFile(std::string const& name)
{
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> const file(system::openToRead(system::pathOf(name)), &std::fclose);
    if (!file)
        throw DocumentError(name, "cannot be opened", std::strerror(errno));
    std::string text;
    std::array<char, 65536> piece;
    while (std::size_t const read = std::fread(piece.data(), 1, piece.size(), file.get())) {
        text.append(piece.data(), read);
        if (text.size() > LARGEST_FILE)   // a device may have no end
            throw DocumentError(name, "cannot be read", "larger than 256 MiB");
    }
    if (std::ferror(file.get()))
        throw DocumentError(name, "cannot be read", std::strerror(errno));
    return text;
}

std::string lineAndColumn(std::string_view before)
{
    std::size_t const lineStart = before.rfind('\n') + 1;   // npos + 1 is the start of the text
    return "line " + std::to_string(std::count(before.begin(), before.end(), '\n') + 1) + ", column " +
           std::to_string(before.size() - lineStart + 1);
}

std::string pathOf(std::string const& parent, std::string const& key)
{
    return parent.empty() ? key : parent + "." + key;
}

std::string pathOf(std::string const& parent, std::size_t index)
{
    return parent + "[" + std::to_string(index) + "]";
}

/// Builds a document from the events of the parser, without recursion. The library's own builder keeps the last of
/// several equal keys; this one rejects them.
class Builder : public nlohmann::json_sax<json> {
public:
    Builder(std::string const& file, std::string const& text) : file{file}, text{text} {}

    json take() { return std::move(root); }

    bool null() override { return put(nullptr); }
    bool boolean(bool value) override { return put(value); }
    bool number_integer(number_integer_t value) override { return put(value); }
    bool number_unsigned(number_unsigned_t value) override { return put(value); }
    bool number_float(number_float_t value, string_t const& /*digits*/) override { return put(value); }
    bool string(string_t& value) override { return put(std::move(value)); }
    bool binary(binary_t& /*value*/) override { return false; }   // JSON texts have none

    bool start_object(std::size_t /*size*/) override { return open(json::object()); }
    bool start_array(std::size_t /*size*/) override { return open(json::array()); }
    bool end_object() override { return close(); }
    bool end_array() override { return close(); }

    bool key(string_t& name) override
    {
        if (levels.back().container->contains(name))
            throw DocumentError(file, path(levels.size() - 1), "the key " + inQuotes(name) + " stands twice");
        levels.back().key = std::move(name);
        return true;
    }

    /// The library's messages read `[json.exception.KIND] parse error at PLACE: REASON` or, for a number that no double
    /// holds, `[json.exception.KIND] REASON`.
    bool parse_error(std::size_t position, std::string const& token, json::exception const& error) override
    {
        std::string reason = error.what();
        reason.erase(0, reason.find("] ") + 2);
        if (reason.starts_with("parse error at "))
            reason.erase(0, reason.find(": ") + 2);
        // The position is behind the number, or behind the byte that fits nowhere; the end of the file counts as one.
        bool const overflow = dynamic_cast<json::out_of_range const*>(&error) != nullptr;
        std::size_t const start = position - std::min(position, overflow ? token.size() : 1);
        throw DocumentError(file, lineAndColumn(std::string_view(text).substr(0, start)),
                            oneLine(reason, REASON_WIDTH));
    }

private:
    struct Level {
        json* container;
        string_t key;   // of the member being read, in an object
    };

    json* add(json value)
    {
        if (levels.empty())
            return &(root = std::move(value));
        Level& level = levels.back();
        if (level.container->is_array())
            return &level.container->emplace_back(std::move(value));
        return &((*level.container)[level.key] = std::move(value));
    }

    bool put(json value)
    {
        add(std::move(value));
        return true;
    }

    bool open(json container)
    {
        levels.push_back({add(std::move(container)), {}});   // open until what is in it is closed
        return true;
    }

    bool close()
    {
        levels.pop_back();
        return true;
    }

    /// Returns the path to the container at a depth; one that is too long to be shown ends early.
    std::string path(std::size_t depth) const
    {
        std::string result;
        for (std::size_t i = 0; i < depth && result.size() < PATH_WIDTH; ++i)
            result = levels[i].container->is_array() ? pathOf(result, levels[i].container->size() - 1)
                                                     : pathOf(result, levels[i].key);
        return result;
    }

    std::string const& file;
    std::string const& text;
    json root;
    std::vector<Level> levels;
};

std::string listed(std::span<Member const> members)
{
    std::string list;
    for (Member const& member : members)
        list += (list.empty() ? "" : ", ") + std::string(member.key);
    return list;
}

}   // namespace

DocumentError::DocumentError(std::string const& file, std::string const& place, std::string const& reason)
    : std::runtime_error(file + ": " + (place.empty() ? "top level" : oneLine(place, PATH_WIDTH)) + ": " + reason)
{}

json readJson(std::string const& file)
{
    std::string const text = readFile(file);
    Builder builder(file, text);
    json::sax_parse(text, &builder);
    return builder.take();
}

Node::Node(std::string const& file, json const& content, std::string path)
    : file{&file}, content{&content}, path{std::move(path)}
{}

void Node::expectMembers(std::span<Member const> members) const
{
    expect(JsonKind::object);
    for (auto const& [key, value] : content->items()) {
        Member const& member = memberOf(key, members);
        Node(*file, value, pathOf(path, key)).expect(member.kind);
    }
    for (Member const& member : members)
        if (member.required && !content->contains(member.key))
            fail(inQuotes(member.key) + " is missing");
}

Member const& Node::memberOf(std::string const& key, std::span<Member const> members) const
{
    for (Member const& member : members)
        if (key == member.key)
            return member;
    fail("unknown key " + inQuotes(key) + "; the keys here are " + listed(members));
}

bool Node::has(char const* key) const
{
    expect(JsonKind::object);
    return content->contains(key);
}

Node Node::member(char const* key) const
{
    if (!has(key))
        fail(inQuotes(key) + " is missing");
    return {*file, (*content)[key], pathOf(path, key)};
}

std::size_t Node::size() const
{
    expect(JsonKind::list);
    return content->size();
}

Node Node::item(std::size_t index) const
{
    if (index >= size())
        fail("expected at least " + counted(index + 1, "item") + ", found " + counted(size()));
    return {*file, (*content)[index], pathOf(path, index)};
}

std::string const& Node::text() const
{
    expect(JsonKind::text);
    return content->get_ref<std::string const&>();
}

std::size_t Node::number() const
{
    expect(JsonKind::number);
    return content->get<std::size_t>();
}

PropertyValue Node::value() const
{
    switch (content->type()) {
    case json::value_t::null: return {};
    case json::value_t::boolean: return content->get<bool>();
    case json::value_t::string: return content->get<std::string>();
    case json::value_t::number_integer:
    case json::value_t::number_unsigned:
    case json::value_t::number_float: return content->get<double>();
    default: failKind("a logical, a number, a text or null");
    }
}

void Node::fail(std::string const& reason) const
{
    throw DocumentError(*file, path, reason);
}

void Node::expect(JsonKind kind) const
{
    if (kind == JsonKind::text && !content->is_string())
        failKind("a text");
    if (kind == JsonKind::number && !content->is_number_unsigned())
        failKind("a whole number, at least 0");
    if (kind == JsonKind::list && !content->is_array())
        failKind("a list");
    if (kind == JsonKind::object && !content->is_object())
        failKind("an object");
}

void Node::failKind(char const* expected) const
{
    std::string found = content->type_name();
    if (content->is_number())
        found += " " + content->dump();
    fail("expected " + std::string(expected) + ", found " + found);
}

}   // namespace workbench
