#include "client/command_line/stop_request.h"

#include "client/foundation/failure.h"
#include "client/foundation/unattended_thread.h"

#include <atomic>
#include <memory>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

std::atomic<HANDLE> interrupted = nullptr;

BOOL WINAPI OnControl(DWORD signal)
{
    const HANDLE event = interrupted;
    return (signal == CTRL_C_EVENT || signal == CTRL_BREAK_EVENT) && event != nullptr && SetEvent(event);
}

void ReadToTheEnd(HANDLE input) noexcept
{
    char c = 0;
    DWORD count = 0;
    while (ReadFile(input, &c, 1, &count, nullptr) && count == 1 && c != '\n' && c != '\r') {
    }
}

} // namespace

StopRequest::StopRequest() : event_(CreateEventW(nullptr, TRUE, FALSE, nullptr))
{
    constexpr std::string_view purpose = "wait for the end of the input";
    if (!event_)
        ThrowLastError(purpose);
    if (const HANDLE input = GetStdHandle(STD_INPUT_HANDLE); TellsOfTheEnd(input)) {
        HANDLE forReader = nullptr;
        if (!DuplicateHandle(GetCurrentProcess(), event_.get(), GetCurrentProcess(), &forReader, 0, FALSE,
                             DUPLICATE_SAME_ACCESS))
            ThrowLastError(purpose);
        // Nothing takes a thread out of a read of a pipe or a console: it may outlive this object.
        const std::shared_ptr<void> done(forReader, CloseHandle);
        RunUnattended(
            [done, input] {
                ReadToTheEnd(input);
                SetEvent(done.get());
            },
            purpose);
    }
    interrupted = event_.get();
    SetConsoleCtrlHandler(OnControl, TRUE);
}

StopRequest::~StopRequest()
{
    SetConsoleCtrlHandler(OnControl, FALSE);
    interrupted = nullptr;
}

bool TellsOfTheEnd(HANDLE input) noexcept
{
    DWORD mode = 0;
    return GetFileType(input) == FILE_TYPE_PIPE || GetConsoleMode(input, &mode);
}

} // namespace Mardu::Sentel::Tavlo::Client
