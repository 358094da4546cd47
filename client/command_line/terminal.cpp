#include "client/command_line/terminal.h"

#include <windows.h>

#include <algorithm>

namespace Mardu::Sentel::Tavlo::Client {

Progress::Sink TerminalSink()
{
    // Other devices count as terminals for the C library, NUL too.
    const HANDLE errors = GetStdHandle(STD_ERROR_HANDLE);
    DWORD mode = 0;
    if (!GetConsoleMode(errors, &mode))
        return {};
    // At once, where the C library would write each byte for itself.
    return [errors](std::string_view text) {
        DWORD written = 0;
        WriteFile(errors, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    };
}

int TerminalWidth()
{
    constexpr int usual = 80;
    constexpr int least = 40;
    CONSOLE_SCREEN_BUFFER_INFO screen;
    if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &screen))
        return usual;
    // A full line would break of itself.
    return std::max(screen.srWindow.Right - screen.srWindow.Left, least);
}

} // namespace Mardu::Sentel::Tavlo::Client
