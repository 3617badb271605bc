#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace studio::commands::detail {

/// A value of a JSON document.
struct JsonValue {
    /// What a value is, in the words of messages.
    enum class Kind : std::uint8_t { Null, Logical, Number, Text, List, Object };

    Kind kind = Kind::Null;
    bool logical = false;
    double number = 0;
    std::string text;               // of a text; of a number, its digits
    std::string name;               // of a member
    std::vector<JsonValue> parts;   // members in the order of the document, or items

    /// Returns the text of the value, on one line and without spaces.
    std::string json() const;
};

/// A place in a file: a value, and the JSON pointer to it.
struct JsonPlace {
    JsonValue const* value;
    std::string_view file;
    std::string pointer;

    JsonPlace part(std::size_t index) const;
    /// Returns the text here. *Throws* as `fail` for another kind, as the next ones do.
    std::string const& text() const;
    double number() const;
    /// Expects an object or a list.
    JsonPlace const& as(JsonValue::Kind kind) const;

    /// *Throws* `std::invalid_argument` with file, place and reason.
    [[noreturn]] void fail(std::string const& reason) const;
};

/// Parses a document. *Throws* `std::invalid_argument` with file, line, column and reason for a text that is no JSON,
/// and with file, place and reason for a member that stands twice and for more than 100 levels.
JsonValue parseJson(std::string_view text, std::string_view file);

}   // namespace studio::commands::detail
