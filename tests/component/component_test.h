#pragma once

#include "TavloInternal.h"
#include "TavloLib.h"

#include <objsafe.h>
#include <wrl/client.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <iomanip>
#include <ostream>
#include <string>
#include <vector>

// mingw-w64 declares the interface without its identifier.
#ifdef __CRT_UUID_DECL
__CRT_UUID_DECL(IObjectSafety, 0xCB5BDC81, 0x93C1, 0x11CF, 0x8F, 0x20, 0x00, 0x80, 0x5F, 0x2C, 0xD0, 0x64)
#endif

using Microsoft::WRL::ComPtr;

/// An HRESULT that prints in hexadecimal.
struct Result
{
    HRESULT hr;

    friend bool operator==(Result a, Result b) { return a.hr == b.hr; }
    friend std::ostream& operator<<(std::ostream& out, Result result)
    {
        return out << "0x" << std::hex << static_cast<std::uint32_t>(result.hr) << std::dec;
    }
};

#define EXPECT_HR(expected, expression) EXPECT_EQ(Result{expected}, Result{expression})
#define ASSERT_HR(expected, expression) ASSERT_EQ(Result{expected}, Result{expression})

/// A new object of a registered class.
template <class Interface>
ComPtr<Interface> Create(REFCLSID clsid)
{
    ComPtr<Interface> object;
    EXPECT_HR(S_OK, CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, __uuidof(Interface),
                                     reinterpret_cast<void**>(object.GetAddressOf())));
    return object;
}

/// A BSTR for one call.
class Text
{
public:
    explicit Text(const std::wstring& text)
        : bstr_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size())))
    {
    }
    ~Text() { SysFreeString(bstr_); }
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;

    BSTR get() const { return bstr_; }

private:
    BSTR bstr_;
};

inline VARIANT Number(long value)
{
    VARIANT variant;
    variant.vt = VT_I4;
    variant.lVal = value;
    return variant;
}

/// A description of packed 8-bit grey pixels.
inline ComPtr<ITavloDescriptor2> GreyDescriptor(long width, long height)
{
    auto descriptor = Create<ITavloDescriptor2>(CLSID_TavloDescriptor2);
    descriptor->put_Encoding(Tavlo_Unsigned);
    descriptor->put_Width(width);
    descriptor->put_Height(height);
    return descriptor;
}

inline ComPtr<ITavlo2> CreateImage(ITavloDescriptor2* descriptor, TavloAccess access)
{
    ComPtr<ITavlo2> image;
    EXPECT_HR(S_OK, Create<ITavloFactory2>(CLSID_TavloFactory)->Create(descriptor, access, &image));
    return image;
}

inline ComPtr<ITavlo2> GreyImage(long width, long height, TavloAccess access)
{
    return CreateImage(GreyDescriptor(width, height).Get(), access);
}

/// Uses memory that was freed just now for something else, so that who still reads it is found out.
inline void OverwriteFreedMemory()
{
    std::vector<std::vector<std::uint8_t>> blocks;
    for (std::size_t size = 16; size <= 2048; size += 8)
        for (int i = 0; i < 4; ++i)
            blocks.emplace_back(size, std::uint8_t{0xDD});
}

/// The description in the thread's error object, which is taken away; empty without one.
std::wstring TakeErrorDescription();
