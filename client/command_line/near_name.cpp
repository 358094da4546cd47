#include "client/command_line/near_name.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

/// How many letters are to be added, left out, replaced or exchanged with their neighbour.
std::size_t Distance(std::string_view a, std::string_view b)
{
    std::vector<std::vector<std::size_t>> d(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i) {
        for (std::size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                d[i][j] = i + j;
                continue;
            }
            d[i][j] = std::min(
                {d[i - 1][j] + 1, d[i][j - 1] + 1, d[i - 1][j - 1] + (a[i - 1] != b[j - 1] ? 1 : 0)});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
        }
    }
    return d[a.size()][b.size()];
}

} // namespace

std::string_view NearName(std::string_view text, std::span<const std::string_view> names)
{
    constexpr std::size_t longest = 64;
    if (text.empty() || text.size() > longest)
        return {};
    for (const std::string_view name : names) {
        if (text.size() > 1 && name.starts_with(text))
            return name;
    }
    std::string_view nearest;
    // Of a short name, no more than a third may differ.
    std::size_t least = std::min<std::size_t>(2, (text.size() + 1) / 3) + 1;
    for (const std::string_view name : names) {
        if (const std::size_t distance = Distance(text, name); distance < least) {
            least = distance;
            nearest = name;
        }
    }
    return nearest;
}

} // namespace Mardu::Sentel::Tavlo::Client
