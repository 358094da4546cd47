#include "client/terminal.h"

#include <windows.h>

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

} // namespace Mardu::Sentel::Tavlo::Client
