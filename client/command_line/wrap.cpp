#include "client/command_line/wrap.h"

#include "client/foundation/text_parsing.h"

#include <cstddef>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

/// Columns that UTF-8 takes: one for each character.
std::size_t Columns(std::string_view text)
{
    std::size_t count = 0;
    for (const char c : text)
        count += (static_cast<unsigned char>(c) & 0xC0) != 0x80 ? 1 : 0;
    return count;
}

} // namespace

std::string Wrapped(std::string_view text, int indent, int width)
{
    std::string all;
    for (const std::string_view paragraph : Split(text, '\n')) {
        std::string line;
        const auto endLine = [&] {
            if (!line.empty())
                all += std::string(static_cast<std::size_t>(indent), ' ') + line + '\n';
            line.clear();
        };
        for (const std::string_view word : Split(paragraph, ' ')) {
            const std::size_t columns = Columns(line) + 1 + Columns(word);
            if (!line.empty() && columns + static_cast<std::size_t>(indent) > static_cast<std::size_t>(width))
                endLine();
            if (!word.empty())
                line.append(line.empty() ? "" : " ").append(word);
        }
        if (line.empty())
            all += '\n';
        endLine();
    }
    return all;
}

} // namespace Mardu::Sentel::Tavlo::Client
