#pragma once

#include "foundation/Export.h"

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace gel {

/// Why and where a text was refused; `what()` is `gel:LINE:COLUMN: REASON`. Copying shares and never throws.
class STUDIO_DATA_EXPORT ParseError : public std::runtime_error {
public:
    /// An error at `offset` bytes into `text`, which is not kept beyond what `excerpt()` shows.
    ParseError(std::string_view text, std::size_t offset, std::string const& reason);

    /// Why, as a phrase without the place.
    std::string const& reason() const noexcept;

    /// Bytes before the place of the error, at most the length of the text.
    std::size_t offset() const noexcept;

    /// The place for people, both from 1: lines end at a line feed, columns count code points.
    std::size_t line() const noexcept;
    /// The same within the line.
    std::size_t column() const noexcept;

    /// The line of the text, a line feed, and a caret under the place. A line of more than 80 code points is cut down
    /// to 80 around the place, `...` standing for what is left out.
    std::string const& excerpt() const noexcept;

private:
    struct Details;
    STUDIO_DATA_LOCAL explicit ParseError(std::shared_ptr<Details const> details);

    std::shared_ptr<Details const> m_details;
};

}   // namespace gel
