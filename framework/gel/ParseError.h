#pragma once

#include "foundation/Export.h"

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace gel {

/// Why and where a text was refused; `what()` is `gel:LINE:COLUMN: REASON`. Copies share the contents and never throw.
class STUDIO_DATA_EXPORT ParseError : public std::runtime_error {
public:
    /// An error at `offset` bytes into `text`, of which only `excerpt()` is kept.
    ParseError(std::string_view text, std::size_t offset, std::string const& reason);
    ParseError(ParseError const&) = default;
    ParseError& operator=(ParseError const&) = default;
    ~ParseError() override;

    /// The reason, a phrase without the position.
    std::string const& reason() const noexcept;

    /// The byte offset of the error, at most the length of the text.
    std::size_t offset() const noexcept;

    /// The line of the error, from 1; lines end at a line feed.
    std::size_t line() const noexcept;
    /// The column of the error within its line, from 1, in code points.
    std::size_t column() const noexcept;

    /// The line of the error, a line feed, and a caret under the position. A line of more than 80 code points is cut to
    /// 80 around the position, with `...` for the omitted parts.
    std::string const& excerpt() const noexcept;

private:
    struct Details;
    STUDIO_DATA_LOCAL explicit ParseError(std::shared_ptr<Details const> details);

    std::shared_ptr<Details const> m_details;
};

}   // namespace gel
