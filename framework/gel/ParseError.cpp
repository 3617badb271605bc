#include "gel/ParseError.h"

#include "gel/detail/Utf8.h"

#include <algorithm>
#include <utility>

namespace gel {

namespace {

constexpr std::size_t WIDTH = 80;
constexpr std::string_view CUT = "...";

std::string excerptOf(std::string_view text, std::size_t offset, std::size_t column)
{
    std::size_t const begin = offset == 0 ? 0 : text.rfind('\n', offset - 1) + 1;   // npos + 1 is 0
    std::string_view line = text.substr(begin, text.find('\n', offset) - begin);
    std::size_t const length = detail::countCodePoints(line);
    std::size_t place = column - 1;

    std::string shown;
    if (length <= WIDTH) {
        shown = line;
    } else {
        std::size_t const beforePlace = place > WIDTH / 2 ? place - (WIDTH / 2 - CUT.size()) : 0;
        std::size_t const first = std::min(beforePlace, length - (WIDTH - CUT.size()));
        std::size_t room = WIDTH;
        if (first > 0) {
            shown = CUT;
            room -= CUT.size();
            place = place - first + CUT.size();
        }
        bool const cutsEnd = length - first > room;
        line.remove_prefix(detail::bytesOf(line, first));
        shown += line.substr(0, detail::bytesOf(line, cutsEnd ? room - CUT.size() : room));
        if (cutsEnd)
            shown += CUT;
    }

    std::string caret;
    for (char const byte : shown.substr(0, detail::bytesOf(shown, place)))
        if (!detail::continues(byte))
            caret += byte == '\t' ? '\t' : ' ';   // as wide as in the line above, for any tab stops
    return shown + '\n' + caret + '^';
}

}   // namespace

struct ParseError::Details {
    std::string reason;
    std::size_t offset;
    detail::Place place;
    std::string excerpt;
};

ParseError::ParseError(std::string_view text, std::size_t offset, std::string const& reason)
    : ParseError([&] {
          detail::Place const place = detail::placeOf(text, offset);
          return std::make_shared<Details const>(Details{reason, offset, place, excerptOf(text, offset, place.column)});
      }())
{}

ParseError::ParseError(std::shared_ptr<Details const> details)
    : std::runtime_error("gel:" + detail::toText(details->place) + ": " + details->reason),
      m_details(std::move(details))
{}

ParseError::~ParseError() = default;

std::string const& ParseError::reason() const noexcept
{
    return m_details->reason;
}

std::size_t ParseError::offset() const noexcept
{
    return m_details->offset;
}

std::size_t ParseError::line() const noexcept
{
    return m_details->place.line;
}

std::size_t ParseError::column() const noexcept
{
    return m_details->place.column;
}

std::string const& ParseError::excerpt() const noexcept
{
    return m_details->excerpt;
}

}   // namespace gel
