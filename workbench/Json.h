#pragma once

#include "studio/data/PropertyValue.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <stdexcept>
#include <string>

namespace workbench {

/// A file that cannot be used; `what()` is one line: file, place, reason.
class DocumentError : public std::runtime_error {
public:
    DocumentError(std::string const& file, std::string const& place, std::string const& reason);
};

/// The JSON document in a file. Throws `DocumentError` when it cannot be read or is malformed.
nlohmann::json readJson(std::string const& file);

/// One place in a document: the value that stands there, and the path to it for whoever has to complain.
/// Each question throws `DocumentError` when the value there is not of the kind asked for.
/// Lifetime: looks into the document and the file's name, which must outlive it.
class Node {
public:
    Node(std::string const& file, nlohmann::json const& document) : file{&file}, content{&document} {}

    bool has(char const* name) const;
    Node member(char const* name) const;

    std::size_t size() const;
    Node item(std::size_t index) const;

    std::string const& text() const;
    /// The text of a member that is only for people: empty if there is none.
    std::string note(char const* name) const;
    /// A whole number, at least 0.
    std::size_t number() const;
    /// A logical, a number, a text, or null for undefined.
    studio::data::PropertyValue value() const;

    [[noreturn]] void fail(std::string const& reason) const;

private:
    Node(Node const& parent, std::string const& step, nlohmann::json const& content);
    [[noreturn]] void failKind(char const* expected) const;

    std::string const* file;
    nlohmann::json const* content;
    std::string path;
};

}   // namespace workbench
