#pragma once

#include "foundation/Export.h"

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace fl::i18n {

/// Thrown for a text that is not well formed; says where.
class STUDIO_DATA_EXPORT ConversionError : public std::range_error {
public:
    /// `what()` is the reason and the offset.
    ConversionError(std::string const& reason, std::size_t offset);
    ConversionError(ConversionError const&) = default;
    ConversionError& operator=(ConversionError const&) = default;
    ~ConversionError() override;

    /// Where the ill-formed sequence starts, in code units of the source: bytes of UTF-8, 16-bit units of UTF-16.
    std::size_t offset() const noexcept { return m_offset; }

private:
    std::size_t m_offset;
};

/// The text in UTF-16. Every scalar value is kept, U+0000 and a byte order mark included.
/// *Throws* ConversionError for what is not UTF-8 (also overlong forms, surrogates and values above U+10FFFF).
STUDIO_DATA_EXPORT std::u16string utf8_to_ustring(std::string_view text);

/// The text in UTF-8, the exact reverse of `utf8_to_ustring`. *Throws* ConversionError for an unpaired surrogate.
STUDIO_DATA_EXPORT std::string ustring_to_utf8(std::u16string_view text);

/// The text in UTF-8 with U+FFFD for each unpaired surrogate: for showing, not for keeping. Never refuses a text.
STUDIO_DATA_EXPORT std::string ustring_to_utf8_lossy(std::u16string_view text);

}   // namespace fl::i18n
