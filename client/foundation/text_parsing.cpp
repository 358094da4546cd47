#include "client/foundation/text_parsing.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

namespace Mardu::Sentel::Tavlo::Client {

std::vector<std::string_view> Split(std::string_view text, char separator)
{
    std::vector<std::string_view> fields;
    for (;;) {
        const std::size_t end = text.find(separator);
        fields.push_back(text.substr(0, end));
        if (end == std::string_view::npos)
            return fields;
        text.remove_prefix(end + 1);
    }
}

std::string LowerCase(std::string text)
{
    std::ranges::transform(text, text.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return text;
}

std::string Quoted(std::string_view text)
{
    return "'" + std::string(text) + "'";
}

std::optional<std::int32_t> WholeNumber(std::string_view text) noexcept
{
    std::int32_t number = 0;
    const char* const textEnd = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), textEnd, number);
    if (error != std::errc() || end != textEnd)
        return std::nullopt;
    return number;
}

std::int32_t ParseNumber(std::string_view name, std::string_view text)
{
    const std::optional<std::int32_t> number = WholeNumber(text);
    if (!number)
        throw std::invalid_argument(std::string(name) + " must be a whole number of 32 bits, not " +
                                    Quoted(text));
    return *number;
}

std::int32_t ParseNumberFrom(std::int32_t smallest, std::string_view name, std::string_view text)
{
    const std::int32_t number = ParseNumber(name, text);
    if (number < smallest)
        throw std::invalid_argument(std::string(name) + " must be at least " + std::to_string(smallest) +
                                    ", not " + Quoted(text));
    return number;
}

} // namespace Mardu::Sentel::Tavlo::Client
