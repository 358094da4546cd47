#include "tests/component/server/published_entries.h"

#include "TavloLib.h"

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
