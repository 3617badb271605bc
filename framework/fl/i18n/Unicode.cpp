#include "fl/i18n/Unicode.h"

#include <array>

namespace fl::i18n {

namespace {

constexpr char32_t SURROGATES_BEGIN = 0xD800;
constexpr char32_t LOW_SURROGATES_BEGIN = 0xDC00;
constexpr char32_t SURROGATES_END = 0xE000;
constexpr char32_t SUPPLEMENTARY_BEGIN = 0x10000;
constexpr char32_t REPLACEMENT = 0xFFFD;

/// A lead byte: the length of its sequence and the bounds of the second byte. The bounds exclude overlong forms,
/// surrogates and values above the last one; all later bytes are 80..BF.
struct Lead {
    unsigned char first;
    unsigned char last;
    unsigned char length;
    unsigned char secondMin;
    unsigned char secondMax;
};

constexpr std::array<Lead, 8> LEADS{{
    {0xC2, 0xDF, 2, 0x80, 0xBF},
    {0xE0, 0xE0, 3, 0xA0, 0xBF},
    {0xE1, 0xEC, 3, 0x80, 0xBF},
    {0xED, 0xED, 3, 0x80, 0x9F},
    {0xEE, 0xEF, 3, 0x80, 0xBF},
    {0xF0, 0xF0, 4, 0x90, 0xBF},
    {0xF1, 0xF3, 4, 0x80, 0xBF},
    {0xF4, 0xF4, 4, 0x80, 0x8F},
}};

/// Decodes the multi-byte sequence at `offset` and advances `offset` behind it.
char32_t decodeSequence(std::string_view text, std::size_t& offset)
{
    auto const byteAt = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    unsigned char const first = byteAt(offset);
    for (Lead const& lead : LEADS) {
        if (first < lead.first || first > lead.last)
            continue;
        char32_t scalar = first & (0x7Fu >> lead.length);
        for (std::size_t i = 1; i < lead.length; ++i) {
            if (offset + i >= text.size())
                throw ConversionError{"UTF-8 text ends inside a character", offset};
            unsigned char const next = byteAt(offset + i);
            if (next < (i == 1 ? lead.secondMin : 0x80) || next > (i == 1 ? lead.secondMax : 0xBF))
                throw ConversionError{"ill-formed UTF-8", offset};
            scalar = scalar << 6 | (next & 0x3Fu);
        }
        offset += lead.length;
        return scalar;
    }
    throw ConversionError{"ill-formed UTF-8", offset};
}

void appendUtf16(std::u16string& out, char32_t scalar)
{
    if (scalar < SUPPLEMENTARY_BEGIN) {
        out.push_back(static_cast<char16_t>(scalar));
    } else {
        char32_t const bits = scalar - SUPPLEMENTARY_BEGIN;
        out.push_back(static_cast<char16_t>(SURROGATES_BEGIN + (bits >> 10)));
        out.push_back(static_cast<char16_t>(LOW_SURROGATES_BEGIN + (bits & 0x3FF)));
    }
}

void appendUtf8(std::string& out, char32_t scalar)
{
    auto const put = [&](char32_t byte) { out.push_back(static_cast<char>(static_cast<unsigned char>(byte))); };
    auto const putTail = [&](unsigned shift) { put(0x80 | (scalar >> shift & 0x3F)); };
    if (scalar < 0x80) {
        put(scalar);
    } else if (scalar < 0x800) {
        put(0xC0 | scalar >> 6);
        putTail(0);
    } else if (scalar < SUPPLEMENTARY_BEGIN) {
        put(0xE0 | scalar >> 12);
        putTail(6);
        putTail(0);
    } else {
        put(0xF0 | scalar >> 18);
        putTail(12);
        putTail(6);
        putTail(0);
    }
}

template <class OnUnpaired>
std::string encodeUtf8(std::u16string_view text, OnUnpaired const& onUnpaired)
{
    std::string out;
    out.reserve(text.size());
    for (std::size_t offset = 0; offset < text.size(); ++offset) {
        char32_t const unit = text[offset];
        if (unit < SURROGATES_BEGIN || unit >= SURROGATES_END) {
            appendUtf8(out, unit);
            continue;
        }
        char32_t const next = offset + 1 < text.size() ? text[offset + 1] : 0;
        if (unit < LOW_SURROGATES_BEGIN && next >= LOW_SURROGATES_BEGIN && next < SURROGATES_END) {
            appendUtf8(out, SUPPLEMENTARY_BEGIN + ((unit & 0x3FF) << 10) + (next & 0x3FF));
            ++offset;
        } else {
            appendUtf8(out, onUnpaired(offset));
        }
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
    std::u16string out;
    out.reserve(text.size());
    for (std::size_t offset = 0; offset < text.size();) {
        unsigned char const first = static_cast<unsigned char>(text[offset]);
        if (first < 0x80) {
            out.push_back(first);
            ++offset;
        } else {
            appendUtf16(out, decodeSequence(text, offset));
        }
    }
    return out;
}

std::string ustring_to_utf8(std::u16string_view text)
{
    return encodeUtf8(text, [](std::size_t offset) -> char32_t {
        throw ConversionError{"unpaired surrogate in UTF-16", offset};
    });
}

std::string ustring_to_utf8_lossy(std::u16string_view text)
{
    return encodeUtf8(text, [](std::size_t) { return REPLACEMENT; });
}

}   // namespace fl::i18n
