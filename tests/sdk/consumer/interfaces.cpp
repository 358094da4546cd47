// A program with the interfaces alone, and their identifiers by name.
#include <TavloLib.h>

#include <cstdio>

int main()
{
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    ITavloFactory2* factory = nullptr;
    HRESULT result = CoCreateInstance(CLSID_TavloFactory, nullptr, CLSCTX_INPROC_SERVER, IID_ITavloFactory2,
                                      reinterpret_cast<void**>(&factory));
    LONG size = 0;
    if (SUCCEEDED(result)) {
        result = factory->GetSizeFor(640, 480, 1, 640, &size);
        factory->Release();
    }
    CoUninitialize();
    std::printf("interfaces: %ld bytes, 0x%08lx\n", static_cast<long>(size),
                static_cast<unsigned long>(result));
    return SUCCEEDED(result) ? 0 : 1;
}
