#include "TavloLib.h"

#include "tests/registration/registry_snapshot.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cwctype>
#include <string>

namespace {

constexpr wchar_t classesPath[] = L"Software\\Classes";
constexpr wchar_t servicesPath[] = L"System\\CurrentControlSet\\Services";

/// A class as its registry entries describe it.
struct PublishedClass
{
    const CLSID& clsid;
    std::wstring versioned;
    std::wstring independent;
    std::wstring description;
    std::wstring progIdDescription;
    std::wstring clsidIndependent;
};

const PublishedClass publishedClasses[] = {
    {CLSID_TavloStub, L"Tavlo.TavloStub.1", L"Tavlo.TavloStub", L"TavloStub Class", L"TavloStub Class",
     L"Tavlo.TavloStub"},
    {CLSID_ReadAccessor, L"Tavlo.ReadAccessor.1", L"Tavlo.ReadAccessor", L"ReadAccessor Class",
     L"ReadAccessor Class", L"Tavlo.ReadAccessor"},
    {CLSID_WriteAccessor, L"Tavlo.WriteAccessor.1", L"Tavlo.WriteAccessor", L"WriteAccessor Class",
     L"WriteAccessor Class", L"Tavlo.WriteAccessor"},
    {CLSID_TavloDescriptor, L"Tavlo.TavloDescriptor.1", L"Tavlo.TavloDescriptor", L"TavloDescriptor Class",
     L"TavloDescriptor Class", L"Tavlo.TavloDescriptor.1"},
    {CLSID_TavloDescriptor2, L"Tavlo.TavloDescriptor.2", L"Tavlo.TavloDescriptor", L"TavloDescriptor2 Class",
     L"TavloDescriptor Class", L"Tavlo.TavloDescriptor"},
    {CLSID_Tavlo, L"Tavlo.Tavlo.1", L"Tavlo.Tavlo", L"Tavlo Class", L"Tavlo Class", L"Tavlo.Tavlo"},
    {CLSID_TavloProxy, L"Tavlo.TavloProxy.1", L"Tavlo.TavloProxy", L"TavloProxy Class", L"TavloProxy Class",
     L"Tavlo.TavloProxy"},
    {CLSID_TavloAddressor, L"Tavlo.Addressor.1", L"Tavlo.Addressor", L"TavloAddressor Class",
     L"TavloAddressor Class", L"Tavlo.Addressor"},
    {CLSID_CoRecoder, L"Tavlo.CoRecoder.1", L"Tavlo.CoRecoder", L"CoRecoder Class", L"CoRecoder Class",
     L"Tavlo.CoRecoder"},
    {CLSID_TavloEventsReflector, L"Tavlo.TavloEventsReflector.1", L"Tavlo.TavloEventsReflector",
     L"TavloEventsReflector Class", L"TavloEventsReflector Class", L"Tavlo.TavloEventsReflector"},
    {CLSID_TavloFactory, L"Tavlo.TavloFactory.1", L"Tavlo.TavloFactory", L"TavloFactory Class",
     L"TavloFactory Class", L"Tavlo.TavloFactory"},
};

std::wstring TextOf(const GUID& guid)
{
    std::array<wchar_t, 40> text;
    StringFromGUID2(guid, text.data(), static_cast<int>(text.size()));
    return text.data();
}

std::wstring LowerCase(std::wstring text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](wchar_t c) { return static_cast<wchar_t>(towlower(c)); });
    return text;
}

std::wstring DllPath()
{
    std::wstring path = TAVLO_DLL_PATH;
    std::replace(path.begin(), path.end(), L'/', L'\\');
    return path;
}

/// The keys of all classes and the application, without those of the type library.
RegistrySnapshot ExpectedClassKeys(const std::wstring& appId)
{
    RegistrySnapshot expected;
    const auto key = [&](const std::wstring& path) -> auto&
    {
        return expected[LowerCase(path)];
    };
    key(L"AppID\\" + appId)[L""] = L"Tavlo";
    key(L"AppID\\Tavlo.DLL")[L"AppID"] = appId;
    for (const PublishedClass& c : publishedClasses) {
        const std::wstring clsid = TextOf(c.clsid);
        key(c.versioned)[L""] = c.progIdDescription;
        key(c.versioned + L"\\CLSID")[L""] = clsid;
        key(c.independent)[L""] = c.progIdDescription;
        key(c.independent + L"\\CLSID")[L""] = clsid;
        key(c.independent + L"\\CurVer")[L""] = c.versioned;
        const std::wstring own = L"CLSID\\" + clsid;
        key(own)[L""] = c.description;
        key(own + L"\\ProgID")[L""] = c.versioned;
        key(own + L"\\VersionIndependentProgID")[L""] = c.clsidIndependent;
        key(own + L"\\InprocServer32")[L""] = DllPath();
        key(own + L"\\InprocServer32")[L"ThreadingModel"] = L"Both";
        key(own + L"\\TypeLib")[L""] = TextOf(LIBID_TavloLib);
    }
    return expected;
}

bool StartsWith(const std::wstring& text, const std::wstring& start)
{
    return text.compare(0, start.size(), start) == 0;
}

/// The application's identifier as it was written.
std::wstring RegisteredAppId(const RegistrySnapshot& classes)
{
    const auto application = classes.find(L"appid\\tavlo.dll");
    return application != classes.end() && application->second.count(L"AppID") != 0
               ? application->second.at(L"AppID")
               : std::wstring();
}

/// Takes out of a snapshot what the platform writes: the entries of a type library, and
/// what it shows to 32-bit programs.
RegistrySnapshot TakePlatformKeys(RegistrySnapshot& keys)
{
    RegistrySnapshot taken;
    for (auto entry = keys.begin(); entry != keys.end();) {
        const bool belongs = StartsWith(entry->first, L"typelib") || StartsWith(entry->first, L"interface") ||
                             StartsWith(entry->first, L"wow6432node");
        if (belongs)
            taken.insert(*entry);
        entry = belongs ? keys.erase(entry) : std::next(entry);
    }
    return taken;
}

DWORD RunRegsvr32(const std::wstring& options)
{
    std::wstring commandLine = L"regsvr32 /s " + options + L" \"" + DllPath() + L"\"";
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    if (CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                       &process) == FALSE)
        return GetLastError();
    WaitForSingleObject(process.hProcess, 120000);
    DWORD code = 99;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return code;
}

std::string Describe(const RegistrySnapshot& keys)
{
    std::string text;
    for (const auto& [path, values] : keys) {
        text += std::string(path.begin(), path.end()) + "\n";
        for (const auto& [name, value] : values)
            text += "    " + std::string(name.begin(), name.end()) + " = " +
                    std::string(value.begin(), value.end()) + "\n";
    }
    return text;
}

#define EXPECT_SAME_KEYS(expected, actual)                                                                   \
    EXPECT_TRUE((expected) == (actual)) << "missing:\n"                                                      \
                                        << Describe(Added(actual, expected)) << "unexpected:\n"              \
                                        << Describe(Added(expected, actual))

/// The DLL in this process, with its two registration entry points.
struct LoadedDll
{
    using Function = HRESULT(STDAPICALLTYPE*)();

    LoadedDll() : module(LoadLibraryW(DllPath().c_str())) {}
    ~LoadedDll() { FreeLibrary(module); }
    LoadedDll(const LoadedDll&) = delete;
    LoadedDll& operator=(const LoadedDll&) = delete;

    HRESULT Call(const char* name) const
    {
        return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)))();
    }

    HMODULE module;
};

} // namespace

TEST(Registration, WritesAndRemovesExactlyItsEntries)
{
    const RegistrySnapshot before = TakeSnapshot(HKEY_LOCAL_MACHINE, classesPath);
    const RegistrySnapshot servicesBefore = TakeSnapshot(HKEY_LOCAL_MACHINE, servicesPath);
    const RegistrySnapshot userBefore = TakeSnapshot(HKEY_CURRENT_USER, classesPath);
    ASSERT_EQ(RunRegsvr32(L""), 0u);

    RegistrySnapshot written = Added(before, TakeSnapshot(HKEY_LOCAL_MACHINE, classesPath));
    const RegistrySnapshot typeLibrary = TakePlatformKeys(written);
    const std::wstring appId = RegisteredAppId(written);
    EXPECT_EQ(appId.size(), 38u);
    EXPECT_SAME_KEYS(ExpectedClassKeys(appId), written);

    const std::wstring library = LowerCase(L"TypeLib\\" + TextOf(LIBID_TavloLib) + L"\\1.0");
    ASSERT_EQ(typeLibrary.count(library), 1u);
    EXPECT_EQ(typeLibrary.at(library).at(L""), L"Tavlo 1.4 Type Library");
    EXPECT_EQ(LowerCase(typeLibrary.at(library + L"\\0\\win64").at(L"")), LowerCase(DllPath()));

    EXPECT_SAME_KEYS(servicesBefore, TakeSnapshot(HKEY_LOCAL_MACHINE, servicesPath));
    EXPECT_SAME_KEYS(userBefore, TakeSnapshot(HKEY_CURRENT_USER, classesPath));

    ASSERT_EQ(RunRegsvr32(L""), 0u) << "a second time";
    RegistrySnapshot again = Added(before, TakeSnapshot(HKEY_LOCAL_MACHINE, classesPath));
    TakePlatformKeys(again);
    EXPECT_SAME_KEYS(written, again);

    ASSERT_EQ(RunRegsvr32(L"/u"), 0u);
    EXPECT_SAME_KEYS(before, TakeSnapshot(HKEY_LOCAL_MACHINE, classesPath));
    EXPECT_SAME_KEYS(servicesBefore, TakeSnapshot(HKEY_LOCAL_MACHINE, servicesPath));
}

TEST(Registration, LeavesTheSharedDescriptorNameToTheSecondDescriptor)
{
    ASSERT_EQ(RunRegsvr32(L""), 0u);
    CLSID clsid = {};
    EXPECT_EQ(CLSIDFromProgID(L"Tavlo.TavloDescriptor", &clsid), S_OK);
    EXPECT_TRUE(IsEqualCLSID(clsid, CLSID_TavloDescriptor2));
    EXPECT_EQ(CLSIDFromProgID(L"Tavlo.TavloDescriptor.1", &clsid), S_OK);
    EXPECT_TRUE(IsEqualCLSID(clsid, CLSID_TavloDescriptor));
    ASSERT_EQ(RunRegsvr32(L"/u"), 0u);
}

TEST(Registration, RestoresTheThreadsLocale)
{
    constexpr LCID german = MAKELCID(MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN), SORT_DEFAULT);
    const LoadedDll dll;
    ASSERT_NE(dll.module, nullptr);
    SetThreadLocale(german);
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    EXPECT_EQ(dll.Call("DllRegisterServer"), S_OK);
    EXPECT_EQ(GetThreadLocale(), german);
    EXPECT_EQ(dll.Call("DllUnregisterServer"), S_OK);
    EXPECT_EQ(GetThreadLocale(), german);
    CoUninitialize();
}

TEST(Registration, ReturnsTheFirstFailureAndRestoresTheLocale)
{
    constexpr LCID german = MAKELCID(MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN), SORT_DEFAULT);
    const LoadedDll dll;
    ASSERT_NE(dll.module, nullptr);
    SetThreadLocale(german);
    EXPECT_EQ(dll.Call("DllRegisterServer"), CO_E_NOTINITIALIZED) << "no apartment to make the registrar in";
    EXPECT_EQ(GetThreadLocale(), german);
    EXPECT_EQ(dll.Call("DllUnregisterServer"), CO_E_NOTINITIALIZED);
    EXPECT_EQ(GetThreadLocale(), german);
}

TEST(Registration, GoesToTheUserWhereTheProcessRedirectsClassesThere)
{
    const RegistrySnapshot machineBefore = TakeSnapshot(HKEY_LOCAL_MACHINE, classesPath);
    const RegistrySnapshot userBefore = TakeSnapshot(HKEY_CURRENT_USER, classesPath);
    HKEY userClasses = nullptr;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, classesPath, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                              &userClasses, nullptr),
              ERROR_SUCCESS);
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    // The registrar itself is looked up before classes are redirected.
    const CLSID registrar = {0x44EC053A, 0x400F, 0x11D0, {0x9D, 0xCD, 0x00, 0xA0, 0xC9, 0x03, 0x91, 0xD3}};
    IUnknown* loaded = nullptr;
    ASSERT_EQ(CoCreateInstance(registrar, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown,
                               reinterpret_cast<void**>(&loaded)),
              S_OK);
    const LoadedDll dll;
    ASSERT_EQ(RegOverridePredefKey(HKEY_CLASSES_ROOT, userClasses), ERROR_SUCCESS);
    EXPECT_EQ(dll.Call("DllRegisterServer"), S_OK);
    const RegistrySnapshot user = TakeSnapshot(HKEY_CURRENT_USER, classesPath);
    EXPECT_EQ(dll.Call("DllUnregisterServer"), S_OK);
    RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
    RegCloseKey(userClasses);
    loaded->Release();

    RegistrySnapshot written = Added(userBefore, user);
    const RegistrySnapshot typeLibrary = TakePlatformKeys(written);
    const RegistrySnapshot parents = {{L"", {}}, {L"appid", {}}, {L"clsid", {}}};
    EXPECT_SAME_KEYS(ExpectedClassKeys(RegisteredAppId(written)), Added(parents, written));
    EXPECT_EQ(typeLibrary.count(LowerCase(L"TypeLib\\" + TextOf(LIBID_TavloLib) + L"\\1.0")), 1u);
    EXPECT_SAME_KEYS(machineBefore, TakeSnapshot(HKEY_LOCAL_MACHINE, classesPath));
    CoUninitialize();
}
