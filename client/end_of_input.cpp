#include "client/end_of_input.h"

#include "client/failure.h"

#include <atomic>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

std::atomic<HANDLE> interrupted = nullptr;

BOOL WINAPI OnControl(DWORD signal)
{
    const HANDLE event = interrupted;
    return (signal == CTRL_C_EVENT || signal == CTRL_BREAK_EVENT) && event != nullptr && SetEvent(event);
}

/// Reads until Enter or the end; done is its own.
DWORD WINAPI ReadInput(void* done)
{
    const Handle owner(done);
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    char c = 0;
    DWORD count = 0;
    while (ReadFile(input, &c, 1, &count, nullptr) && count == 1 && c != '\n' && c != '\r') {
    }
    SetEvent(done);
    return 0;
}

} // namespace

EndOfInput::EndOfInput() : event_(CreateEventW(nullptr, TRUE, FALSE, nullptr))
{
    constexpr std::string_view purpose = "wait for the end of the input";
    HANDLE forReader = nullptr;
    if (!event_ || !DuplicateHandle(GetCurrentProcess(), event_.get(), GetCurrentProcess(), &forReader, 0,
                                    FALSE, DUPLICATE_SAME_ACCESS))
        ThrowLastError(purpose);
    interrupted = event_.get();
    SetConsoleCtrlHandler(OnControl, TRUE);
    // Nothing takes a thread out of a read of a pipe or a console: it ends with the process. Where the input
    // had ended already, and the thread with it, before a std::thread was detached, the event was never set.
    const Handle thread(CreateThread(nullptr, 0, ReadInput, forReader, 0, nullptr));
    if (!thread) {
        const DWORD error = GetLastError();
        CloseHandle(forReader);
        ThrowError(error, purpose);
    }
}

EndOfInput::~EndOfInput()
{
    SetConsoleCtrlHandler(OnControl, FALSE);
    interrupted = nullptr;
}

} // namespace Mardu::Sentel::Tavlo::Client
