// The other process of a test: adopting_child NAME WIDTH HEIGHT ADD. It adopts the
// section as 8-bit grey pixels and adds to its first and last byte. Exit code 0, or the
// number of the step that failed.
#include "TavloLib.h"

#include <wrl/client.h>

#include <cstdint>
#include <cstdlib>

using Microsoft::WRL::ComPtr;

namespace {

int Run(char** arguments)
{
    const long width = std::atol(arguments[2]);
    const long height = std::atol(arguments[3]);
    const auto add = static_cast<std::uint8_t>(std::atoi(arguments[4]));

    ComPtr<ITavloDescriptor2> descriptor;
    if (FAILED(CoCreateInstance(CLSID_TavloDescriptor2, nullptr, CLSCTX_INPROC_SERVER,
                                IID_PPV_ARGS(&descriptor))))
        return 1;
    descriptor->put_Encoding(Tavlo_Unsigned);
    descriptor->put_Width(width);
    descriptor->put_Height(height);

    ComPtr<ITavloFactory2> factory;
    if (FAILED(CoCreateInstance(CLSID_TavloFactory, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&factory))))
        return 2;
    wchar_t name[256];
    MultiByteToWideChar(CP_ACP, 0, arguments[1], -1, name, 256);
    BSTR mapName = SysAllocString(name);
    ComPtr<ITavlo2> image;
    const HRESULT adopted = factory->Adopt(mapName, descriptor.Get(), Tavlo_SingleWriter, &image);
    SysFreeString(mapName);
    if (FAILED(adopted))
        return 3;

    ComPtr<IWriteAccessor> writer;
    if (FAILED(image->GetWriteAccess(&writer)))
        return 4;
    auto* first = static_cast<std::uint8_t*>(writer->Ptr(0));
    auto* last = static_cast<std::uint8_t*>(writer->Ptr(width * height - 1));
    *first = static_cast<std::uint8_t>(*first + add);
    if (last != first)
        *last = static_cast<std::uint8_t>(*last + add);
    return FAILED(writer->Invalidate(nullptr)) ? 5 : 0;
}

} // namespace

int main(int count, char** arguments)
{
    if (count != 5)
        return 64;
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    const int result = Run(arguments);
    CoUninitialize();
    return result;
}
