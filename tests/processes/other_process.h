#pragma once

#include "tests/processes/exchange.h"
#include "tests/processes/transport_test.h"

#include "module/handle.h"

/// A process that carries out commands, one at a time.
class OtherProcess
{
public:
    OtherProcess()
        : name_(L"Tavlo-test-exchange-" + std::to_wstring(GetCurrentProcessId()) + L'.' +
                std::to_wstring(++number)),
          section_(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(Exchange),
                                      name_.c_str())),
          command_(CreateEventW(nullptr, FALSE, FALSE, CommandEvent(name_).c_str())),
          answer_(CreateEventW(nullptr, FALSE, FALSE, AnswerEvent(name_).c_str())),
          view_(MapViewOfFile(section_.get(), FILE_MAP_WRITE, 0, 0, 0)),
          x(*static_cast<Exchange*>(view_.get()))
    {
        std::wstring line =
            L"\"" TRANSPORT_CHILD L"\" " + name_ + L' ' + std::to_wstring(GetCurrentProcessId());
        STARTUPINFOW startup = {};
        startup.cb = sizeof(startup);
        PROCESS_INFORMATION started = {};
        EXPECT_TRUE(CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                                   &startup, &started))
            << GetLastError();
        CloseHandle(started.hThread);
        process_.reset(started.hProcess);
    }

    ~OtherProcess() { Kill(); }
    OtherProcess(const OtherProcess&) = delete;
    OtherProcess& operator=(const OtherProcess&) = delete;

    /// The command's result; RPC_E_TIMEOUT when there is no answer.
    HRESULT Do(Command command, std::int64_t index = 0, std::int64_t value = 0)
    {
        Begin(command, index, value);
        return Answer();
    }

    HRESULT Do(Command command, const Bytes& packet)
    {
        x.packetSize = static_cast<std::uint32_t>(packet.size());
        std::copy(packet.begin(), packet.end(), x.packet);
        return Do(command);
    }

    HRESULT Do(Command command, const RECT& rect)
    {
        x.rect = rect;
        return Do(command);
    }

    /// Does not wait for the answer.
    void Begin(Command command, std::int64_t index = 0, std::int64_t value = 0)
    {
        x.command = command;
        x.index = index;
        x.value = value;
        SetEvent(command_.get());
    }

    HRESULT Answer()
    {
        const HANDLE events[] = {answer_.get(), process_.get()};
        return WaitForMultipleObjects(2, events, FALSE, limit) == WAIT_OBJECT_0 ? x.result : RPC_E_TIMEOUT;
    }

    std::int64_t Value(Command command, std::int64_t index = 0, std::int64_t value = 0)
    {
        EXPECT_HR(S_OK, Do(command, index, value));
        return x.value;
    }

    Bytes Packet(Command command)
    {
        EXPECT_HR(S_OK, Do(command));
        return {x.packet, x.packet + x.packetSize};
    }

    /// Ends the process at once, without any clean-up of its own.
    void Kill()
    {
        TerminateProcess(process_.get(), 9);
        WaitForSingleObject(process_.get(), limit);
    }

    /// Lets the process end by itself; its exit code.
    DWORD End()
    {
        EXPECT_HR(S_OK, Do(Command::End));
        WaitForSingleObject(process_.get(), limit);
        DWORD code = 99;
        GetExitCodeProcess(process_.get(), &code);
        return code;
    }

private:
    static inline int number = 0;

    const std::wstring name_;
    const Mardu::UniqueHandle section_;
    const Mardu::UniqueHandle command_;
    const Mardu::UniqueHandle answer_;
    const Mardu::UniqueView view_;
    Mardu::UniqueHandle process_;

public:
    Exchange& x;
};
