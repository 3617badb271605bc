#include "fl/i18n/Unicode.h"

#include <boost/nowide/utf/utf.hpp>

#include <iterator>

namespace fl::i18n {

namespace {

namespace utf = boost::nowide::utf;

/// Converts a text by its code points. `illFormed(offset, isCut)` returns the code point that stands for the unit at
/// `offset`, or throws; `isCut` if the text ends inside a character.
template <class To, class From, class IllFormed>
std::basic_string<To> converted(std::basic_string_view<From> text, IllFormed const& illFormed)
{
    std::basic_string<To> out;
    out.reserve(text.size());
    for (auto at = text.begin(); at != text.end();) {
        auto const first = at;
        utf::code_point point = utf::utf_traits<From>::decode(at, text.end());
        if (point == utf::illegal || point == utf::incomplete) {
            point = illFormed(static_cast<std::size_t>(first - text.begin()), point == utf::incomplete);
            at = first + 1;
        }
        utf::utf_traits<To>::encode(point, std::back_inserter(out));
    }
    return out;
}

}   // namespace

ConversionError::ConversionError(std::string const& reason, std::size_t offset)
    : std::range_error{reason + " at offset " + std::to_string(offset)}, m_offset{offset}
{}

ConversionError::~ConversionError() = default;

std::u16string utf8_to_ustring(std::string_view text)
{
    return converted<char16_t>(text, [](std::size_t offset, bool isCut) -> utf::code_point {
        throw ConversionError{isCut ? "UTF-8 text ends inside a character" : "ill-formed UTF-8", offset};
    });
}

std::string ustring_to_utf8(std::u16string_view text)
{
    return converted<char>(text, [](std::size_t offset, bool) -> utf::code_point {
        throw ConversionError{"unpaired surrogate in UTF-16", offset};
    });
}

std::string ustring_to_utf8_lossy(std::u16string_view text)
{
    return converted<char>(text, [](std::size_t, bool) -> utf::code_point { return 0xFFFD; });
}

}   // namespace fl::i18n
