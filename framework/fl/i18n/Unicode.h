#pragma once

#include "foundation/Export.h"

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace fl::i18n {

/// Thrown for an ill-formed text, with the offset.
class STUDIO_DATA_EXPORT ConversionError : public std::range_error {
public:
    /// An error whose `what()` is the reason and the offset.
    ConversionError(std::string const& reason, std::size_t offset);
    ConversionError(ConversionError const&) = default;
    ConversionError& operator=(ConversionError const&) = default;
    ~ConversionError() override;

    /// The offset of the ill-formed sequence in code units of the source: bytes of UTF-8, 16-bit units of UTF-16.
    std::size_t offset() const noexcept { return m_offset; }

private:
    std::size_t m_offset;
};

/// Converts UTF-8 to UTF-16. Every scalar value is preserved, including U+0000 and a byte order mark.
/// *Throws* ConversionError for invalid UTF-8 (including overlong forms, surrogates and values above U+10FFFF).
STUDIO_DATA_EXPORT std::u16string utf8_to_ustring(std::string_view text);

/// Converts UTF-16 to UTF-8, the exact inverse of `utf8_to_ustring`. *Throws* ConversionError for an unpaired
/// surrogate.
STUDIO_DATA_EXPORT std::string ustring_to_utf8(std::u16string_view text);

/// Converts UTF-16 to UTF-8 with U+FFFD for each unpaired surrogate, for display only. Never throws for a text.
STUDIO_DATA_EXPORT std::string ustring_to_utf8_lossy(std::u16string_view text);

}   // namespace fl::i18n
