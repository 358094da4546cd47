// A client without a runtime library, which there is none of here for Microsoft's conventions:
// the interfaces, their identifiers from the SDK's library, and an entry point of the DLL. Ends
// with 0 when all of it works.
#include <TavloLib.h>

extern "C" DWORD __stdcall ClosePerfMon();

namespace {

int Run()
{
    ITavloDescriptor2* descriptor = nullptr;
    if (FAILED(CoCreateInstance(CLSID_TavloDescriptor2, nullptr, CLSCTX_INPROC_SERVER, IID_ITavloDescriptor2,
                                reinterpret_cast<void**>(&descriptor))))
        return 1;
    descriptor->put_Encoding(Tavlo_Unsigned);
    descriptor->put_Width(64);
    descriptor->put_Height(48);

    ITavloFactory2* factory = nullptr;
    if (FAILED(CoCreateInstance(__uuidof(TavloFactory), nullptr, CLSCTX_INPROC_SERVER,
                                __uuidof(ITavloFactory2), reinterpret_cast<void**>(&factory))))
        return 2;
    ITavlo2* image = nullptr;
    if (FAILED(factory->Create(descriptor, Tavlo_SingleWriter, &image)))
        return 3;
    IWriteAccessor* writer = nullptr;
    if (FAILED(image->GetWriteAccess(&writer)))
        return 4;
    static_cast<unsigned char*>(writer->Ptr(0))[100] = 7;
    RECT dirty = {36, 1, 37, 2};
    if (FAILED(writer->Invalidate(&dirty)))
        return 5;

    // An argument that travels in a floating-point register.
    IReadAccessor* reader = nullptr;
    if (FAILED(image->GetReadAccess(nullptr, 0.5, &reader)))
        return 6;
    const bool read = static_cast<const unsigned char*>(reader->Ptr(0))[100] == 7;

    reader->Release();
    writer->Release();
    image->Release();
    factory->Release();
    descriptor->Release();
    return read && ClosePerfMon() == 0 ? 0 : 7;
}

} // namespace

// What the runtime library has for programs that use floating-point numbers.
extern "C" int _fltused = 0;

extern "C" void Start()
{
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    const int result = Run();
    CoUninitialize();
    ExitProcess(static_cast<UINT>(result));
}
