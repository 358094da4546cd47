// What single calls of the component cost, each beside the least that could do the same, in turns.
#include "TavloLib.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>
#include <wrl/client.h>

using Microsoft::WRL::ComPtr;

namespace {

constexpr int rounds = 301;
/// Short, so that enough of them are not interrupted.
constexpr double secondsOfRound = 0.0003;

void Check(HRESULT result)
{
    if (FAILED(result))
        std::abort();
}

double Seconds()
{
    static const double frequency = [] {
        LARGE_INTEGER f;
        QueryPerformanceFrequency(&f);
        return static_cast<double>(f.QuadPart);
    }();
    LARGE_INTEGER now;
    QueryPerformanceCounter(&now);
    return static_cast<double>(now.QuadPart) / frequency;
}

/// A time that a tenth of all rounds stayed below: of those that nothing interrupted.
double Undisturbed(std::vector<double> seconds)
{
    const auto at = seconds.begin() + static_cast<std::ptrdiff_t>(seconds.size() / 10);
    std::nth_element(seconds.begin(), at, seconds.end());
    return *at;
}

template <class Call>
double SecondsOf(const Call& call, int times)
{
    const double start = Seconds();
    for (int i = 0; i < times; ++i)
        call();
    return (Seconds() - start) / times;
}

const char* separator = "";

/// Prints a call and its bare minimum as a JSON object.
template <class Call, class Bare>
void Measure(const char* name, const Call& call, const char* bareName, const Bare& bare)
{
    const auto timesFor = [](const auto& run) {
        SecondsOf(run, 3);
        return static_cast<int>(secondsOfRound / std::max(SecondsOf(run, 20), 1e-9)) + 1;
    };
    const int calls = timesFor(call), bares = timesFor(bare);
    std::vector<double> callSeconds, bareSeconds;
    for (int i = 0; i < rounds; ++i) {
        if (i % 2 == 0)
            callSeconds.push_back(SecondsOf(call, calls));
        bareSeconds.push_back(SecondsOf(bare, bares));
        if (i % 2 != 0)
            callSeconds.push_back(SecondsOf(call, calls));
    }
    const double called = Undisturbed(callSeconds), least = Undisturbed(bareSeconds);
    std::printf("%s  {\"call\": \"%s\", \"nanoseconds\": %.1f, \"bare\": \"%s\", \"bare_nanoseconds\": %.1f, "
                "\"ratio\": %.3f}",
                separator, name, called * 1e9, bareName, least * 1e9, called / least);
    separator = ",\n";
}

/// The least that an object with a service and accessors does: counts, allocates, copies. Called
/// through its table.
class Bare
{
public:
    virtual ~Bare() = default;
    virtual HRESULT Copy(const TavloDescriptorData*, const unsigned char* src, const TavloDescriptorData*,
                         unsigned char* dst, const RECT*, const POINT*)
    {
        *dst = *src;
        return S_OK;
    }
    virtual HRESULT Map(const unsigned char* src, unsigned char* dst, const RECT*, const POINT*)
    {
        *dst = table_[*src];
        return S_OK;
    }
    virtual HRESULT Open(Bare** accessor)
    {
        ++references_;
        ++readers_;
        *accessor = new Bare;
        return S_OK;
    }
    virtual void* Pointer() { return table_; }
    virtual void Close(Bare* accessor)
    {
        if (--accessor->references_ == 0)
            delete accessor;
        --readers_;
        --references_;
    }

private:
    std::atomic<long> references_ = 1;
    std::atomic<long> readers_ = 0;
    unsigned char table_[256] = {};
};

/// Keeps the compiler from knowing which object it is.
Bare* TheBare()
{
    static Bare bare;
    static Bare* volatile pointer = &bare;
    return pointer;
}

template <class Interface>
ComPtr<Interface> New(const CLSID& clsid)
{
    ComPtr<Interface> object;
    Check(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&object)));
    return object;
}

ComPtr<ITavloDescriptor2> Bytes(long width, long height)
{
    const auto descriptor = New<ITavloDescriptor2>(CLSID_TavloDescriptor2);
    Check(descriptor->put_Encoding(Tavlo_Unsigned));
    Check(descriptor->put_Width(width));
    Check(descriptor->put_Height(height));
    return descriptor;
}

void MeasureRecode()
{
    const auto service = New<IRecode>(CLSID_CoRecoder);
    const TavloDescriptorData one = {1, 1, 8, Tavlo_Unsigned, 0, 1, 1};
    const unsigned char source = 7;
    unsigned char target = 0;
    Measure(
        "IRecode::Recode, 1x1, 8 to 8",
        [&] { Check(service->Recode(&one, &source, &one, &target, nullptr, nullptr)); },
        "a virtual call that copies a byte",
        [&] { TheBare()->Copy(&one, &source, &one, &target, nullptr, nullptr); });

    ComPtr<ILUTRecode> recoder;
    Check(service->CreateLUTRecoder(&one, &one, &recoder));
    Check(recoder->SetContrast(1.2));
    Measure(
        "ILUTRecode::Recode, 1x1, 8 to 8, contrast",
        [&] { Check(recoder->Recode(&source, &target, nullptr, nullptr)); },
        "a virtual call that looks a byte up", [&] { TheBare()->Map(&source, &target, nullptr, nullptr); });
}

void MeasureAccess(ITavlo2* image)
{
    [[maybe_unused]] static volatile unsigned char seen;
    Measure(
        "GetReadAccess, Ptr, release",
        [&] {
            ComPtr<IReadAccessor> reader;
            Check(image->GetReadAccess(nullptr, 1.0, &reader));
            seen = *static_cast<const unsigned char*>(reader->Ptr());
        },
        "virtual calls that count, allocate and free",
        [&] {
            Bare* accessor = nullptr;
            TheBare()->Open(&accessor);
            seen = *static_cast<const unsigned char*>(accessor->Pointer());
            TheBare()->Close(accessor);
        });
}

void MeasureImage(ITavloFactory2* factory)
{
    constexpr DWORD size = 65536;
    const auto descriptor = Bytes(256, 256);
    int number = 0;
    Measure(
        "create and release an image of 64 KiB",
        [&] {
            ComPtr<ITavlo2> image;
            Check(factory->Create(descriptor.Get(), Tavlo_SingleWriter, &image));
        },
        "CreateFileMapping, MapViewOfFile, Unmap, Close",
        [&] {
            const std::wstring name = L"Global\\tavlo-calls-bench-" + std::to_wstring(++number);
            const HANDLE mapping =
                CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, size, name.c_str());
            void* const view = MapViewOfFile(mapping, FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, 0);
            if (view == nullptr)
                std::abort();
            UnmapViewOfFile(view);
            CloseHandle(mapping);
        });
}

void MeasureAddressor(ITavlo2* image)
{
    const auto addressor = New<ITavloAddressor>(CLSID_TavloAddressor);
    VARIANT value;
    VariantInit(&value);
    const auto bare = [&] {
        ComPtr<IWriteAccessor> writer;
        Check(image->GetWriteAccess(&writer));
        value.vt = VT_UI1;
        value.bVal = *static_cast<const unsigned char*>(writer->Ptr());
    };
    Measure(
        "addressor: Attach, one Pixel, Detach",
        [&] {
            Check(addressor->Attach(image));
            Check(addressor->get_Pixel(3, 2, &value));
            Check(addressor->Detach());
        },
        "GetWriteAccess, Ptr, a byte into a VARIANT, release", bare);
    Check(addressor->Attach(image));
    Measure(
        "addressor: one Pixel", [&] { Check(addressor->get_Pixel(3, 2, &value)); },
        "a virtual call that looks a byte up",
        [&] {
            TheBare()->Map(&value.bVal, &value.bVal, nullptr, nullptr);
            value.vt = VT_UI1;
        });
    Check(addressor->Detach());
}

} // namespace

int main()
{
    Check(CoInitializeEx(nullptr, COINIT_MULTITHREADED));
    {
        const auto factory = New<ITavloFactory2>(CLSID_TavloFactory);
        ComPtr<ITavlo2> image;
        Check(factory->Create(Bytes(256, 256).Get(), Tavlo_SingleWriter, &image));
        std::puts("{\"calls\": [");
        MeasureRecode();
        MeasureAccess(image.Get());
        MeasureImage(factory.Get());
        MeasureAddressor(image.Get());
        std::puts("\n]}");
    }
    CoUninitialize();
}
