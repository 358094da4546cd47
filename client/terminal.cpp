#include "client/terminal.h"

#include <windows.h>

#include <cstdio>

namespace Mardu::Sentel::Tavlo::Client {

Progress::Sink TerminalSink()
{
    // Other devices count as terminals for the C library, NUL too.
    DWORD mode = 0;
    if (!GetConsoleMode(GetStdHandle(STD_ERROR_HANDLE), &mode))
        return {};
    return [](std::string_view text) {
        std::fwrite(text.data(), 1, text.size(), stderr);
        std::fflush(stderr);
    };
}

} // namespace Mardu::Sentel::Tavlo::Client
