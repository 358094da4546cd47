#pragma once

#include "tests/component/server/registry_snapshot.h"

#include <gtest/gtest.h>

#include <string>

constexpr wchar_t classesPath[] = L"Software\\Classes";
constexpr wchar_t servicesPath[] = L"System\\CurrentControlSet\\Services";

std::wstring TextOf(const GUID& guid);

/// The DLL of the build.
std::wstring DllPath();

/// The keys of all classes and the application, without those of the type library, as a
/// DLL at this path writes them.
RegistrySnapshot ExpectedClassKeys(const std::wstring& appId, const std::wstring& dll = DllPath());

/// The application's identifier as it was written.
std::wstring RegisteredAppId(const RegistrySnapshot& classes);

/// Takes out of a snapshot what the platform writes: the entries of a type library, and
/// what it shows to 32-bit programs.
RegistrySnapshot TakePlatformKeys(RegistrySnapshot& keys);

/// regsvr32's exit code.
DWORD RunRegsvr32(const std::wstring& options, const std::wstring& dll = DllPath());

std::string Describe(const RegistrySnapshot& keys);

#define EXPECT_SAME_KEYS(expected, actual)                                                                   \
    EXPECT_TRUE((expected) == (actual)) << "missing:\n"                                                      \
                                        << Describe(Added(actual, expected)) << "unexpected:\n"              \
                                        << Describe(Added(expected, actual))

/// A DLL in this process, with its two registration entry points.
struct LoadedDll
{
    using Function = HRESULT(STDAPICALLTYPE*)();

    explicit LoadedDll(const std::wstring& dll = DllPath()) : module(LoadLibraryW(dll.c_str())) {}
    ~LoadedDll() { FreeLibrary(module); }
    LoadedDll(const LoadedDll&) = delete;
    LoadedDll& operator=(const LoadedDll&) = delete;

    HRESULT Call(const char* name) const
    {
        return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)))();
    }

    HMODULE module;
};
