#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace studio::inspect::detail {

/// A text of any bytes as valid UTF-8, for files that have to be: each byte that belongs to no character becomes the
/// four characters `\xff`.
struct PlainText {
    explicit PlainText(std::string_view text);

    /// The text.
    std::string utf8;
    /// For each byte of the original, and for its end, the position in `utf8`, counted in units of UTF-16.
    std::vector<std::uint32_t> positions;
};

}   // namespace studio::inspect::detail
