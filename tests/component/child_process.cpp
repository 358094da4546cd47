#include "tests/component/child_process.h"

#include "module/error.h"

#include <array>

namespace {

std::wstring ChildPath()
{
    std::array<wchar_t, 4096> own = {};
    GetModuleFileNameW(nullptr, own.data(), static_cast<DWORD>(own.size()));
    const std::wstring path = own.data();
    return path.substr(0, path.find_last_of(L'\\') + 1) + L"namespace_child.exe";
}

} // namespace

ChildProcess::ChildProcess(std::initializer_list<std::wstring> arguments)
{
    std::wstring command = L'"' + ChildPath() + L'"';
    for (const std::wstring& argument : arguments)
        command += L" \"" + argument + L'"';
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION started = {};
    if (CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                       &started) == FALSE)
        Mardu::ThrowLastError("Starting the child failed");
    CloseHandle(started.hThread);
    process_.reset(started.hProcess);
}

ChildProcess::~ChildProcess()
{
    if (ExitCode() == STILL_ACTIVE)
        TerminateProcess(process_.get(), 99);
}

DWORD ChildProcess::ExitCode()
{
    WaitForSingleObject(process_.get(), generousLimit);
    DWORD code = STILL_ACTIVE;
    GetExitCodeProcess(process_.get(), &code);
    return code;
}
