#include "client/published_name.h"

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

} // namespace

std::string WhyNotAName(std::string_view name)
{
    if (name.empty())
        return "an image's name must not be empty";
    if (name.size() > longestName)
        return "an image's name has at most " + std::to_string(longestName) + " bytes of UTF-8";
    // Composite monikers show their parts with this character between them.
    if (name.find('!') != std::string_view::npos)
        return "an image's name must not contain '!'";
    if (std::ranges::any_of(name, IsControl))
        return "an image's name must not contain control characters";
    return {};
}

std::wstring ImageItem(std::wstring_view name)
{
    return std::wstring(imagePrefix).append(name);
}

std::wstring ProcessItem(std::wstring_view name, std::uint32_t process)
{
    return std::wstring(processPrefix).append(std::to_wstring(process)).append(L".").append(name);
}

std::optional<std::wstring> NameInImageItem(std::wstring_view item)
{
    if (!item.starts_with(imagePrefix) || item.size() == imagePrefix.size())
        return std::nullopt;
    return std::wstring(item.substr(imagePrefix.size()));
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
    if (process == 0 || item.size() < digits + 2 || item[digits] != L'.')
        return std::nullopt;
    return PublishingProcess{static_cast<std::uint32_t>(process), std::wstring(item.substr(digits + 1))};
}

} // namespace Mardu::Sentel::Tavlo::Client
