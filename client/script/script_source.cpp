#include "client/script/script_source.h"

#include "client/foundation/failure.h"
#include "client/foundation/handle.h"
#include "client/foundation/utf16.h"

#include <array>
#include <cstring>
#include <optional>
#include <string_view>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view utf16Mark = "\xFF\xFE";

std::optional<std::wstring> Decode(UINT codePage, DWORD flags, std::string_view bytes)
{
    const int size = static_cast<int>(bytes.size());
    const int units = MultiByteToWideChar(codePage, flags, bytes.data(), size, nullptr, 0);
    if (units == 0 && size > 0)
        return std::nullopt;
    std::wstring text(static_cast<std::size_t>(units), L'\0');
    MultiByteToWideChar(codePage, flags, bytes.data(), size, text.data(), units);
    return text;
}

} // namespace

std::wstring ScriptText(const std::string& bytes)
{
    const std::string_view view = bytes;
    if (view.starts_with(utf16Mark)) {
        std::wstring text((view.size() - utf16Mark.size()) / sizeof(wchar_t), L'\0');
        std::memcpy(text.data(), view.data() + utf16Mark.size(), text.size() * sizeof(wchar_t));
        return text;
    }
    const std::string_view content = view.starts_with(utf8Mark) ? view.substr(utf8Mark.size()) : view;
    if (const std::optional<std::wstring> text = Decode(CP_UTF8, MB_ERR_INVALID_CHARS, content))
        return *text;
    return Decode(CP_ACP, 0, content).value_or(std::wstring());
}

std::wstring ReadScript(const std::wstring& file)
{
    const std::string purpose = "read the script '" + ToUtf8(file) + "'";
    const HANDLE opened = CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    if (opened == INVALID_HANDLE_VALUE)
        ThrowLastError(purpose);
    const Handle owner(opened);
    std::string bytes;
    std::array<char, 65536> buffer;
    for (;;) {
        DWORD count = 0;
        if (!ReadFile(opened, buffer.data(), static_cast<DWORD>(buffer.size()), &count, nullptr))
            ThrowLastError(purpose);
        if (count == 0)
            return ScriptText(bytes);
        bytes.append(buffer.data(), count);
    }
}

} // namespace Mardu::Sentel::Tavlo::Client
