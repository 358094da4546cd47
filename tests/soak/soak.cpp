// soak [--updates N] [--rate HZ] [--consumers N] [--remote N]: one process changes random
// rectangles of a 1920 x 1080 image, others keep copies of it that they update by what they
// are told alone. In the end all pixels are the same, and nobody took more and more memory
// or handles. With --rate 0 updates follow each other without a pause. The last --remote of
// the consumers get the image as another machine does. Exit code 0 when all that held.
#include "tests/soak/board.h"
#include "tests/soak/resources.h"

#include "module/handle.h"

#include "TavloLib.h"

#include <wrl/client.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <deque>
#include <random>
#include <span>
#include <vector>

using Mardu::UniqueHandle;
using Mardu::UniqueView;
using Microsoft::WRL::ComPtr;

namespace {

constexpr long width = 1920;
constexpr long height = 1080;
constexpr DWORD limit = 120000; ///< milliseconds for what must come

struct Options
{
    long updates = 1500;
    long rate = 0;
    int consumers = 4;
    int remote = 0;
};

template <class Interface>
std::uint32_t Marshal(Interface* object, DWORD context, std::span<std::uint8_t> packet)
{
    ComPtr<IStream> stream;
    Check(CreateStreamOnHGlobal(nullptr, TRUE, &stream), "a stream");
    Check(CoMarshalInterface(stream.Get(), __uuidof(Interface), object, context, nullptr, MSHLFLAGS_NORMAL),
          "marshaling");
    ULARGE_INTEGER size = {};
    Check(stream->Seek({}, STREAM_SEEK_CUR, &size), "measuring a packet");
    Check(stream->Seek({}, STREAM_SEEK_SET, nullptr), "rewinding a packet");
    ULONG read = 0;
    Check(stream->Read(packet.data(), static_cast<ULONG>(packet.size()), &read), "reading a packet");
    if (read < size.QuadPart)
        throw std::runtime_error("a packet is too long");
    return read;
}

struct Consumer
{
    UniqueHandle copySection;
    UniqueView copy;
    UniqueHandle ready;
    UniqueHandle process;
};

class Producer
{
public:
    explicit Producer(const Options& options);

    void Run();

    /// Waits until every consumer has what was written at the very end.
    void Finish();

    bool Report();

private:
    void Start(int consumer);
    void Change();
    void Wait(long update);
    void Sample();
    bool Ends(const Consumer& consumer) const;

    const Options options_;
    const std::wstring name_ = L"Tavlo-soak-" + std::to_wstring(GetCurrentProcessId());
    const UniqueHandle section_{
        CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(Board), name_.c_str())};
    const UniqueView view_{MapViewOfFile(section_.get(), FILE_MAP_WRITE, 0, 0, 0)};
    Board& board_ = *static_cast<Board*>(view_.get());
    const UniqueHandle end_{CreateEventW(nullptr, TRUE, FALSE, EndEvent(name_).c_str())};
    const UniqueHandle timer_{CreateWaitableTimerW(nullptr, FALSE, nullptr)};
    ComPtr<ITavlo2> image_;
    ComPtr<IWriteAccessor> writer_;
    std::uint8_t* pixels_ = nullptr;
    std::vector<std::uint8_t> expected_ = std::vector<std::uint8_t>(std::size_t{width} * height);
    std::deque<Consumer> consumers_;
    std::vector<Resources> resources_;
    std::mt19937 random_{20240229};
    std::chrono::steady_clock::time_point start_;
    double seconds_ = 0;
};

ComPtr<ITavlo2> NewImage()
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
    Check(factory->Create(descriptor.Get(), Tavlo_SingleWriter, &image), "creating the image");
    return image;
}

Producer::Producer(const Options& options) : options_(options), image_(NewImage())
{
    board_.width = width;
    board_.height = height;
    Check(image_->GetWriteAccess(&writer_), "taking the writer");
    pixels_ = static_cast<std::uint8_t*>(writer_->Ptr(0));
    resources_.emplace_back("producer", GetCurrentProcess());
    for (int i = 0; i < options_.consumers + options_.remote; ++i)
        Start(i);
    for (const Consumer& consumer : consumers_) {
        const HANDLE events[] = {consumer.ready.get(), consumer.process.get()};
        if (WaitForMultipleObjects(2, events, FALSE, limit) != WAIT_OBJECT_0)
            throw std::runtime_error("a consumer does not start");
    }
}

void Producer::Start(int number)
{
    Slot& slot = board_.slots.at(static_cast<std::size_t>(number));
    const bool isRemote = number >= options_.consumers;
    slot.imageSize = Marshal(image_.Get(), isRemote ? MSHCTX_DIFFERENTMACHINE : MSHCTX_LOCAL, slot.image);
    // Every second one is handed its reader, by value; the others ask for theirs.
    if (!isRemote && number % 2 == 1) {
        ComPtr<IReadAccessor> reader;
        Check(image_->GetReadAccess(nullptr, 1.0, &reader), "taking a reader");
        slot.readerSize = Marshal(reader.Get(), MSHCTX_LOCAL, slot.reader);
    }
    Consumer consumer;
    consumer.copySection.reset(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                                  static_cast<DWORD>(expected_.size()),
                                                  CopySection(name_, number).c_str()));
    consumer.copy.reset(MapViewOfFile(consumer.copySection.get(), FILE_MAP_READ, 0, 0, 0));
    consumer.ready.reset(CreateEventW(nullptr, TRUE, FALSE, ReadyEvent(name_, number).c_str()));
    std::vector<wchar_t> program(4096);
    GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size()));
    std::wstring line = L'"' + std::wstring(program.data()) + L"\" " + name_ + L' ' +
                        std::to_wstring(number) + L' ' + std::to_wstring(GetCurrentProcessId());
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION started = {};
    if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                       &started) == FALSE)
        throw std::runtime_error("a consumer cannot be started");
    CloseHandle(started.hThread);
    consumer.process.reset(started.hProcess);
    resources_.emplace_back((isRemote ? "remote " : "consumer ") + std::to_string(number + 1),
                            started.hProcess);
    consumers_.push_back(std::move(consumer));
}

/// Fills a random rectangle with a pattern of its own, and tells of it.
void Producer::Change()
{
    const auto below = [&](long n) { return std::uniform_int_distribution<long>(0, n - 1)(random_); };
    RECT rect = {below(width), below(height), 0, 0};
    rect.right = rect.left + 1 + below(width - rect.left);
    rect.bottom = rect.top + 1 + below(height - rect.top);
    const auto first = static_cast<std::uint8_t>(random_());
    for (long y = rect.top; y < rect.bottom; ++y) {
        std::uint8_t* row = expected_.data() + y * width;
        for (long x = rect.left; x < rect.right; ++x)
            row[x] = static_cast<std::uint8_t>(first + 3 * x + 5 * y);
        std::memcpy(pixels_ + y * width + rect.left, row + rect.left,
                    static_cast<std::size_t>(rect.right - rect.left));
    }
    Check(writer_->Invalidate(&rect), "invalidating");
}

void Producer::Wait(long update)
{
    if (options_.rate == 0)
        return;
    const auto due = start_ + std::chrono::nanoseconds(1000000000LL * update / options_.rate);
    const auto left =
        std::chrono::duration_cast<std::chrono::nanoseconds>(due - std::chrono::steady_clock::now());
    LARGE_INTEGER wait;
    wait.QuadPart = -left.count() / 100;
    if (wait.QuadPart < 0 && SetWaitableTimer(timer_.get(), &wait, 0, nullptr, nullptr, FALSE) != FALSE)
        WaitForSingleObject(timer_.get(), limit);
}

void Producer::Sample()
{
    for (Resources& resources : resources_)
        resources.Sample();
}

void Producer::Run()
{
    start_ = std::chrono::steady_clock::now();
    const long every = std::max(1l, options_.updates / 20);
    for (long i = 0; i < options_.updates; ++i) {
        if (i % every == 0)
            Sample();
        Change();
        Wait(i + 1);
    }
    Sample();
    seconds_ = std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

void Producer::Finish()
{
    // An update may be on its way while a stamp is already seen, behind another one. One that
    // shows the fourth stamp was begun after all those from before the first had arrived, also
    // at a remote consumer, where two threads pass updates on.
    for (std::uint8_t stamp = 1; stamp <= 4; ++stamp) {
        WriteStamp(expected_.data(), stamp);
        WriteStamp(pixels_, stamp);
        const ULONGLONG end = GetTickCount64() + limit;
        for (int i = 0; i < static_cast<int>(consumers_.size());) {
            if (board_.slots.at(static_cast<std::size_t>(i)).stamp == stamp) {
                ++i;
                continue;
            }
            if (GetTickCount64() > end)
                throw std::runtime_error("a consumer misses updates");
            // A rectangle may have to wait for the next update.
            RECT rect = {0, 0, stampBytes, 1};
            Check(writer_->Invalidate(&rect), "invalidating");
            Sleep(1);
        }
    }
}

bool Producer::Ends(const Consumer& consumer) const
{
    DWORD code = 99;
    return WaitForSingleObject(consumer.process.get(), limit) == WAIT_OBJECT_0 &&
           GetExitCodeProcess(consumer.process.get(), &code) != FALSE && code == 0;
}

bool Producer::Report()
{
    std::printf("%ld updates in %.1f s, %.1f a second; %d consumers, %d remote ones\n", options_.updates,
                seconds_, static_cast<double>(options_.updates) / seconds_, options_.consumers,
                options_.remote);
    bool holds = true;
    for (std::size_t i = 0; i < consumers_.size(); ++i) {
        const bool same = std::memcmp(consumers_[i].copy.get(), expected_.data(), expected_.size()) == 0;
        std::printf("consumer %zu was told %ld times; its pixels are %s\n", i + 1, board_.slots[i].updates,
                    same ? "the producer's" : "OTHERS");
        holds = holds && same;
    }
    std::puts("             handles                             private KiB\n"
              "              start    early     late        start        early         late");
    for (const Resources& resources : resources_)
        holds = resources.Report() && holds;
    SetEvent(end_.get());
    for (const Consumer& consumer : consumers_) {
        if (!Ends(consumer)) {
            std::puts("a consumer does not end well");
            holds = false;
        }
    }
    std::puts(holds ? "all is well" : "FAILED");
    return holds;
}

Options ReadOptions(int count, wchar_t** arguments)
{
    Options options;
    for (int i = 1; i + 1 < count; i += 2) {
        const std::wstring name = arguments[i];
        const long value = std::stol(arguments[i + 1]);
        if (name == L"--updates")
            options.updates = value;
        else if (name == L"--rate")
            options.rate = value;
        else if (name == L"--consumers")
            options.consumers = static_cast<int>(value);
        else if (name == L"--remote")
            options.remote = static_cast<int>(value);
        else
            throw std::runtime_error("soak [--updates N] [--rate HZ] [--consumers N] [--remote N]");
    }
    if (options.updates < 100 || options.rate < 0 || options.consumers < 0 || options.remote < 0 ||
        options.consumers + options.remote > mostConsumers)
        throw std::runtime_error("at least 100 updates, at most 8 consumers");
    return options;
}

bool Produce(const Options& options)
{
    Producer producer(options);
    producer.Run();
    producer.Finish();
    return producer.Report();
}

} // namespace

int wmain(int count, wchar_t** arguments)
{
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    int result = 1;
    try {
        const bool isConsumer = count == 4 && arguments[1][0] != L'-';
        result = isConsumer ? Consume(arguments[1], std::stoi(arguments[2]), std::stoul(arguments[3]))
                            : (Produce(ReadOptions(count, arguments)) ? 0 : 1);
    } catch (const std::exception& error) {
        std::printf("%s\n", error.what());
    }
    CoUninitialize();
    return result;
}
