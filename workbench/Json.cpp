#include "workbench/Json.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>

namespace workbench {

using nlohmann::json;
using studio::data::PropertyValue;

namespace {

std::string readFile(std::string const& name)
{
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> const file(std::fopen(name.c_str(), "rb"), &std::fclose);
    if (!file)
        throw DocumentError(name, "cannot be opened", std::strerror(errno));
    std::string text;
    std::array<char, 65536> piece;
    while (std::size_t const read = std::fread(piece.data(), 1, piece.size(), file.get()))
        text.append(piece.data(), read);
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

/// The library's messages read `[json.exception.KIND] parse error at PLACE: REASON` or `[json.exception.KIND] REASON`.
DocumentError malformed(std::string const& file, std::string const& text, json::exception const& error)
{
    std::string reason = error.what();
    reason.erase(0, reason.find("] ") + 2);
    std::string_view const opening = "parse error at ";
    if (reason.starts_with(opening)) {
        std::size_t const colon = reason.find(": ");
        return {file, reason.substr(opening.size(), colon - opening.size()), reason.substr(colon + 2)};
    }
    // A number that no double holds comes without a place, but with its digits in quotes.
    std::size_t const quote = reason.find('\'');
    std::size_t const found = quote == std::string::npos
                                  ? std::string::npos
                                  : text.find(reason.substr(quote + 1, reason.rfind('\'') - quote - 1));
    return {file, lineAndColumn(std::string_view(text).substr(0, found)), reason};
}

}   // namespace

DocumentError::DocumentError(std::string const& file, std::string const& place, std::string const& reason)
    : std::runtime_error(file + ": " + place + ": " + reason)
{}

json readJson(std::string const& file)
{
    std::string const text = readFile(file);
    try {
        return json::parse(text);
    } catch (json::exception const& error) {
        throw malformed(file, text, error);
    }
}

Node::Node(Node const& parent, std::string const& step, json const& content)
    : file{parent.file}, content{&content}, path{parent.path + "/" + step}
{}

bool Node::has(char const* name) const
{
    if (!content->is_object())
        failKind("an object");
    return content->contains(name);
}

Node Node::member(char const* name) const
{
    if (!has(name))
        fail("\"" + std::string(name) + "\" is missing");
    return {*this, name, (*content)[name]};
}

std::size_t Node::size() const
{
    if (!content->is_array())
        failKind("a list");
    return content->size();
}

Node Node::item(std::size_t index) const
{
    if (index >= size())
        fail("expected at least " + std::to_string(index + 1) + " items, found " + std::to_string(size()));
    return {*this, std::to_string(index), (*content)[index]};
}

std::string const& Node::text() const
{
    if (!content->is_string())
        failKind("a text");
    return content->get_ref<std::string const&>();
}

std::string Node::note(char const* name) const
{
    return has(name) && (*content)[name].is_string() ? (*content)[name].get<std::string>() : std::string();
}

std::size_t Node::number() const
{
    if (!content->is_number_unsigned())
        failKind("a whole number");
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
    throw DocumentError(*file, path.empty() ? "top level" : path, reason);
}

void Node::failKind(char const* expected) const
{
    std::string found = content->type_name();
    if (content->is_number())
        found += " " + content->dump();
    fail("expected " + std::string(expected) + ", found " + found);
}

}   // namespace workbench
