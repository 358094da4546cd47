#include "client/pictures/control_point.h"

#include "client/foundation/text_parsing.h"

#include <charconv>
#include <stdexcept>
#include <string>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

double ParsePosition(std::string_view text)
{
    double position = 0;
    const char* const textEnd = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), textEnd, position);
    // NaN is in no range.
    if (error != std::errc() || end != textEnd || !(position >= 0.0 && position <= 1.0))
        throw std::invalid_argument("a colour's position must be a number from 0 to 1, not " + Quoted(text));
    return position;
}

std::uint32_t ParseColor(std::string_view text)
{
    const std::string_view digits = text.starts_with('#') ? text.substr(1) : text;
    std::uint32_t color = 0;
    const char* const textEnd = digits.data() + digits.size();
    const auto [end, error] = std::from_chars(digits.data(), textEnd, color, 16);
    if (digits.size() != 6 || error != std::errc() || end != textEnd)
        throw std::invalid_argument("a colour must be the six hexadecimal digits RRGGBB, not " +
                                    Quoted(text));
    constexpr std::uint32_t opaque = 0xFF000000;
    return opaque | (color & 0xFF) << 16 | (color & 0xFF00) | color >> 16;
}

} // namespace

ControlPoint ParseControlPoint(std::string_view text)
{
    const std::vector<std::string_view> fields = Split(text, '=');
    if (fields.size() != 2)
        throw std::invalid_argument("a colour is given as POSITION=RRGGBB, not " + Quoted(text));
    return {ParsePosition(fields[0]), ParseColor(fields[1])};
}

} // namespace Mardu::Sentel::Tavlo::Client
