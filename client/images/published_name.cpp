#include "client/images/published_name.h"

#include <algorithm>
#include <limits>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

constexpr std::wstring_view imagePrefix = L"Tavlo.";
constexpr std::wstring_view processPrefix = L"TavloProcess.";
constexpr std::size_t longestName = 255;

bool IsControl(char c) noexcept
{
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

/// '!' stands between the parts of composite monikers.
bool IsPlain(wchar_t c) noexcept
{
    return c >= L' ' && c < 0x7F && c != L'%' && c != L'!';
}

std::wstring Encoded(std::string_view name)
{
    constexpr std::wstring_view digits = L"0123456789ABCDEF";
    std::wstring encoded;
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        if (IsPlain(byte))
            encoded += static_cast<wchar_t>(byte);
        else
            encoded.append(L"%").append(1, digits[byte >> 4]).append(1, digits[byte & 15]);
    }
    return encoded;
}

std::optional<unsigned> DigitValue(wchar_t c) noexcept
{
    if (c >= L'0' && c <= L'9')
        return c - L'0';
    if (c >= L'A' && c <= L'F')
        return c - L'A' + 10;
    if (c >= L'a' && c <= L'f')
        return c - L'a' + 10;
    return std::nullopt;
}

/// Nothing for what Encoded does not make of a name.
std::optional<std::string> Decoded(std::wstring_view encoded)
{
    std::string name;
    for (std::size_t i = 0; i < encoded.size(); ++i) {
        if (IsPlain(encoded[i])) {
            name += static_cast<char>(encoded[i]);
            continue;
        }
        if (encoded[i] != L'%' || encoded.size() - i < 3)
            return std::nullopt;
        const std::optional<unsigned> high = DigitValue(encoded[i + 1]);
        const std::optional<unsigned> low = DigitValue(encoded[i + 2]);
        if (!high || !low)
            return std::nullopt;
        name += static_cast<char>(*high << 4 | *low);
        i += 2;
    }
    return WhyNotAName(name).empty() ? std::optional(name) : std::nullopt;
}

} // namespace

std::string WhyNotAName(std::string_view name)
{
    if (name.empty())
        return "an image's name must not be empty";
    if (name.size() > longestName)
        return "an image's name has at most " + std::to_string(longestName) + " bytes of UTF-8";
    if (std::ranges::any_of(name, IsControl))
        return "an image's name must not contain control characters";
    return {};
}

std::wstring ImageItem(std::string_view name)
{
    return std::wstring(imagePrefix).append(Encoded(name));
}

std::wstring ProcessItem(std::string_view name, std::uint32_t process)
{
    return std::wstring(processPrefix).append(std::to_wstring(process)).append(L".").append(Encoded(name));
}

std::optional<std::string> NameInImageItem(std::wstring_view item)
{
    return item.starts_with(imagePrefix) ? Decoded(item.substr(imagePrefix.size())) : std::nullopt;
}

std::optional<PublishingProcess> ReadProcessItem(std::wstring_view item)
{
    if (!item.starts_with(processPrefix))
        return std::nullopt;
    item.remove_prefix(processPrefix.size());
    std::uint64_t process = 0;
    std::size_t digits = 0;
    for (; digits < item.size() && item[digits] >= L'0' && item[digits] <= L'9'; ++digits) {
        process = process * 10 + static_cast<std::uint64_t>(item[digits] - L'0');
        if (process > std::numeric_limits<std::uint32_t>::max())
            return std::nullopt;
    }
    if (process == 0 || digits == item.size() || item[digits] != L'.')
        return std::nullopt;
    const std::optional<std::string> name = Decoded(item.substr(digits + 1));
    return name ? std::optional(PublishingProcess{static_cast<std::uint32_t>(process), *name}) : std::nullopt;
}

} // namespace Mardu::Sentel::Tavlo::Client
