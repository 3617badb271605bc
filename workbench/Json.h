#pragma once

#include "studio/data/PropertyValue.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <span>
#include <stdexcept>
#include <string>

namespace workbench {

/// The error for an unusable file; `what()` is file, place and reason.
class DocumentError : public std::runtime_error {
public:
    DocumentError(std::string const& file, std::string const& place, std::string const& reason);
};

/// Reads the JSON document in a file. Throws `DocumentError` when the file cannot be read or is larger than 256 MiB,
/// when the document is malformed, and when an object in it has a key twice.
nlohmann::json readJson(std::string const& file);

/// The kinds of value that a member may be required to have.
enum class JsonKind { any, text, number, list, object };

/// A key that an object may have.
struct Member {
    char const* key;
    JsonKind kind;
    bool required = false;
};

/// One place in a document: the value there, and the path to it for messages, such as `steps[3].ops`. Each member
/// throws `DocumentError` when the value is not of the kind that it reads. Lifetime: refers to the document and the
/// file's name, which must outlive it.
class Node {
public:
    Node(std::string const& file, nlohmann::json const& document) : file{&file}, content{&document} {}

    /// Throws unless this is an object whose members are all in the table and of the kind given there, with none of the
    /// required ones missing. Every object is checked here first, so that a misspelt key is never taken for an absent
    /// one.
    void expectMembers(std::span<Member const> members) const;

    bool has(char const* key) const;
    Node member(char const* key) const;

    std::size_t size() const;
    Node item(std::size_t index) const;

    std::string const& text() const;
    /// Returns an integer, at least 0.
    std::size_t number() const;
    /// Returns a logical, a number, a text, or undefined for null.
    studio::data::PropertyValue value() const;

    [[noreturn]] void fail(std::string const& reason) const;

private:
    Node(std::string const& file, nlohmann::json const& content, std::string path);
    Member const& memberOf(std::string const& key, std::span<Member const> members) const;
    void expect(JsonKind kind) const;
    [[noreturn]] void failKind(char const* expected) const;

    std::string const* file;
    nlohmann::json const* content;
    std::string path;
};

}   // namespace workbench
