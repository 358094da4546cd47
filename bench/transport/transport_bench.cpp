// What transport costs, as ratios of one run: handing an accessor to another process against
// handing over a bare interface of the same image, and refreshing a copy of an image against
// one raw call that brings as many bytes. The program runs itself as the other process.
#include "module/handle.h"

#include "TavloLib.h"

#include <wrl/client.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

using Mardu::UniqueHandle;
using Mardu::UniqueView;
using Microsoft::WRL::ComPtr;

namespace {

constexpr int runs = 9;
constexpr DWORD limit = 600000;

enum class Task : std::int32_t
{
    TakeAccessor,  ///< unmarshals the first packet and lets it go
    TakeInterface, ///< the same for an image
    Compare,       ///< refreshes the image from another machine in the first packet, and calls the
                   ///< stub in the second, in turn; seconds: of one of each
    End,
};

struct Packet
{
    std::uint32_t size;
    std::array<std::uint8_t, 4096> bytes;
};

/// What the two processes share.
struct Board
{
    Task task;
    HRESULT result;
    long bytes;
    std::array<double, 2> seconds;
    std::array<Packet, 2> packets;
};

void Check(HRESULT hr, const char* what)
{
    if (FAILED(hr)) {
        std::array<char, 200> text;
        std::snprintf(text.data(), text.size(), "%s: 0x%08lx", what, static_cast<unsigned long>(hr));
        throw std::runtime_error(text.data());
    }
}

double Seconds()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

double Median(std::vector<double> results)
{
    const auto middle = results.begin() + static_cast<std::ptrdiff_t>(results.size() / 2);
    std::nth_element(results.begin(), middle, results.end());
    return *middle;
}

/// The medians of two measurements that are made in turn.
template <class First, class Second>
std::array<double, 2> Medians(First first, Second second)
{
    std::array<std::vector<double>, 2> results;
    for (int i = 0; i < runs; ++i) {
        results[0].push_back(first());
        results[1].push_back(second());
    }
    return {Median(results[0]), Median(results[1])};
}

template <class Interface>
void Marshal(Interface* object, DWORD context, Packet& packet)
{
    ComPtr<IStream> stream;
    Check(CreateStreamOnHGlobal(nullptr, TRUE, &stream), "a stream");
    Check(CoMarshalInterface(stream.Get(), __uuidof(Interface), object, context, nullptr, MSHLFLAGS_NORMAL),
          "marshaling");
    ULARGE_INTEGER size = {};
    Check(stream->Seek({}, STREAM_SEEK_CUR, &size), "measuring a packet");
    Check(stream->Seek({}, STREAM_SEEK_SET, nullptr), "rewinding a packet");
    packet.size = size.LowPart;
    if (packet.size > packet.bytes.size())
        throw std::runtime_error("a packet is too long");
    Check(stream->Read(packet.bytes.data(), packet.size, nullptr), "reading a packet");
}

template <class Interface>
ComPtr<Interface> Unmarshal(const Packet& packet)
{
    ComPtr<IStream> stream;
    Check(CreateStreamOnHGlobal(nullptr, TRUE, &stream), "a stream");
    Check(stream->Write(packet.bytes.data(), packet.size, nullptr), "writing a packet");
    Check(stream->Seek({}, STREAM_SEEK_SET, nullptr), "rewinding a packet");
    ComPtr<Interface> object;
    Check(CoUnmarshalInterface(stream.Get(), __uuidof(Interface),
                               reinterpret_cast<void**>(object.GetAddressOf())),
          "unmarshaling");
    return object;
}

std::wstring EventName(const std::wstring& name, const wchar_t* what)
{
    return name + L'.' + what;
}

// The other process.

/// Seconds to bring a copy up to date that is all out of date.
double Refresh(ITavlo2* proxy, ITavloEvents* sink)
{
    Check(sink->OnImageUpdate(nullptr, nullptr), "outdating the copy");
    ComPtr<IReadAccessor> reader;
    const double start = Seconds();
    Check(proxy->GetReadAccess(nullptr, 1.0, &reader), "refreshing the copy");
    return Seconds() - start;
}

double CallRaw(ITavloStub* stub, std::vector<unsigned char>& data)
{
    RECT rect = {};
    const double start = Seconds();
    Check(stub->GetData(&rect, static_cast<long>(data.size()), data.data()), "the raw call");
    return Seconds() - start;
}

void Compare(Board& board)
{
    const auto proxy = Unmarshal<ITavlo2>(board.packets[0]);
    const auto stub = Unmarshal<ITavloStub>(board.packets[1]);
    ComPtr<ITavloEvents> sink;
    Check(proxy.As(&sink), "the sink of the proxy");
    std::vector<unsigned char> data(static_cast<std::size_t>(board.bytes));
    const auto refresh = [&] { return Refresh(proxy.Get(), sink.Get()); };
    const auto raw = [&] { return CallRaw(stub.Get(), data); };
    refresh(); // memory is touched once
    raw();
    board.seconds = Medians(refresh, raw);
}

void Do(Board& board)
{
    switch (board.task) {
    case Task::TakeAccessor:
        Unmarshal<IReadAccessor>(board.packets[0]);
        break;
    case Task::TakeInterface:
        Unmarshal<ITavlo2>(board.packets[0]);
        break;
    case Task::Compare:
        Compare(board);
        break;
    case Task::End:
        break;
    }
}

int RunAsOther(const std::wstring& name, DWORD parentId)
{
    const UniqueHandle section(OpenFileMappingW(FILE_MAP_WRITE, FALSE, name.c_str()));
    const UniqueHandle task(OpenEventW(SYNCHRONIZE, FALSE, EventName(name, L"task").c_str()));
    const UniqueHandle done(OpenEventW(EVENT_MODIFY_STATE, FALSE, EventName(name, L"done").c_str()));
    const UniqueHandle parent(OpenProcess(SYNCHRONIZE, FALSE, parentId));
    const UniqueView view(MapViewOfFile(section.get(), FILE_MAP_WRITE, 0, 0, 0));
    if (view == nullptr || task == nullptr || done == nullptr || parent == nullptr)
        return 2;
    auto& board = *static_cast<Board*>(view.get());
    const HANDLE events[] = {task.get(), parent.get()};
    while (WaitForMultipleObjects(2, events, FALSE, INFINITE) == WAIT_OBJECT_0) {
        const bool isEnd = board.task == Task::End;
        try {
            Do(board);
            board.result = S_OK;
        } catch (const std::exception& error) {
            std::printf("the other process: %s\n", error.what());
            board.result = E_FAIL;
        }
        SetEvent(done.get());
        if (isEnd)
            return 0;
    }
    return 3;
}

// The process that has the images.

/// A stub whose only work is to be called. Lives as long as the program.
class EmptyStub final : public ITavloStub
{
public:
    STDMETHODIMP get_Descriptor(ITavloDescriptor**) override { return E_NOTIMPL; }
    STDMETHODIMP Subscribe(ITavloEvents*) override { return E_NOTIMPL; }
    STDMETHODIMP GetData(RECT*, long, unsigned char*) override { return S_OK; }

    STDMETHODIMP QueryInterface(REFIID iid, void** result) override
    {
        const bool known = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_ITavloStub);
        *result = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
};

class Other
{
public:
    Other()
    {
        std::vector<wchar_t> program(4096);
        GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size()));
        std::wstring line = L'"' + std::wstring(program.data()) + L"\" " + name_ + L' ' +
                            std::to_wstring(GetCurrentProcessId());
        STARTUPINFOW startup = {};
        startup.cb = sizeof(startup);
        PROCESS_INFORMATION started = {};
        if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                           &started) == FALSE)
            throw std::runtime_error("the other process cannot be started");
        CloseHandle(started.hThread);
        process_.reset(started.hProcess);
    }

    void Do(Task task)
    {
        board.task = task;
        SetEvent(task_.get());
        const HANDLE events[] = {done_.get(), process_.get()};
        if (WaitForMultipleObjects(2, events, FALSE, limit) != WAIT_OBJECT_0)
            throw std::runtime_error("the other process does not answer");
        Check(board.result, "the other process");
    }

private:
    const std::wstring name_ = L"Tavlo-transport-bench-" + std::to_wstring(GetCurrentProcessId());
    const UniqueHandle section_{
        CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(Board), name_.c_str())};
    const UniqueView view_{MapViewOfFile(section_.get(), FILE_MAP_WRITE, 0, 0, 0)};
    const UniqueHandle task_{CreateEventW(nullptr, FALSE, FALSE, EventName(name_, L"task").c_str())};
    const UniqueHandle done_{CreateEventW(nullptr, FALSE, FALSE, EventName(name_, L"done").c_str())};
    UniqueHandle process_;

public:
    Board& board = *static_cast<Board*>(view_.get());
};

ComPtr<ITavlo2> NewImage(long width, long height)
{
    ComPtr<ITavloDescriptor2> descriptor;
    ComPtr<ITavloFactory2> factory;
    Check(CoCreateInstance(CLSID_TavloDescriptor2, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&descriptor)),
          "the component is not registered");
    Check(CoCreateInstance(CLSID_TavloFactory, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&factory)),
          "the factory");
    descriptor->put_Encoding(Tavlo_Unsigned);
    descriptor->put_Width(width);
    descriptor->put_Height(height);
    ComPtr<ITavlo2> image;
    Check(factory->Create(descriptor.Get(), Tavlo_SingleWriter, &image), "creating an image");
    return image;
}

/// Microseconds from a pointer here to one there and its release.
template <class Interface>
double HandOver(Other& other, Interface* object, Task task)
{
    constexpr int times = 100;
    const double start = Seconds();
    for (int i = 0; i < times; ++i) {
        Marshal(object, MSHCTX_LOCAL, other.board.packets[0]);
        other.Do(task);
    }
    return (Seconds() - start) / times * 1e6;
}

void MeasureHandOver(Other& other)
{
    const auto image = NewImage(1920, 1080);
    ComPtr<IReadAccessor> reader;
    Check(image->GetReadAccess(nullptr, 1.0, &reader), "taking a reader");
    const auto [bare, accessor] = Medians([&] { return HandOver(other, image.Get(), Task::TakeInterface); },
                                          [&] { return HandOver(other, reader.Get(), Task::TakeAccessor); });
    std::printf("handing over and releasing              us   x bare interface\n");
    std::printf("%-32s %10.0f %18.2f\n", "the image's bare interface", bare, 1.0);
    std::printf("%-32s %10.0f %18.2f\n\n", "a read accessor, 1920 x 1080", accessor, accessor / bare);
}

void MeasureRefresh(Other& other)
{
    static EmptyStub empty;
    std::printf("bringing bytes                   MB per second     x raw call\n");
    for (const long rows : {16l, 256l, 1024l}) {
        constexpr long width = 4096;
        const auto image = NewImage(width, rows);
        other.board.bytes = width * rows;
        Marshal(image.Get(), MSHCTX_DIFFERENTMACHINE, other.board.packets[0]);
        Marshal<ITavloStub>(&empty, MSHCTX_LOCAL, other.board.packets[1]);
        other.Do(Task::Compare);
        const double bytes = static_cast<double>(other.board.bytes);
        const double refresh = bytes / other.board.seconds[0] / 1e6;
        const double raw = bytes / other.board.seconds[1] / 1e6;
        const std::string size = std::to_string(other.board.bytes >> 10) + " KiB";
        std::printf("%-32s %13.0f %14.2f\n", ("raw call, " + size).c_str(), raw, 1.0);
        std::printf("%-32s %13.0f %14.2f\n", ("refresh, " + size).c_str(), refresh, refresh / raw);
    }
}

} // namespace

int wmain(int count, wchar_t** arguments)
{
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    int result = 1;
    try {
        if (count == 3) {
            result = RunAsOther(arguments[1], std::stoul(arguments[2]));
        } else {
            Other other;
            MeasureHandOver(other);
            MeasureRefresh(other);
            other.Do(Task::End);
            std::printf("\nmedians of %d runs\n", runs);
            result = 0;
        }
    } catch (const std::exception& error) {
        std::printf("%s\n", error.what());
    }
    CoUninitialize();
    return result;
}
