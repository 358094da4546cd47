#include "server/type_library_registration.h"

#include "module/error.h"

#include <gtest/gtest.h>
#include <windows.h>

using namespace Mardu;

namespace {

/// Leads HKEY_CLASSES_ROOT to another key for as long as it lives.
class RedirectedClassesRoot
{
public:
    explicit RedirectedClassesRoot(HKEY root)
    {
        RegCreateKeyExW(root, L"Software\\Classes", 0, nullptr, 0, KEY_READ, nullptr, &key_, nullptr);
        RegOverridePredefKey(HKEY_CLASSES_ROOT, key_);
    }

    ~RedirectedClassesRoot()
    {
        RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
        RegCloseKey(key_);
    }

    RedirectedClassesRoot(const RedirectedClassesRoot&) = delete;
    RedirectedClassesRoot& operator=(const RedirectedClassesRoot&) = delete;

private:
    HKEY key_ = nullptr;
};

} // namespace

TEST(TypeLibraryRegistration, IsForTheMachineByDefault)
{
    EXPECT_FALSE(IsPerUserRegistration());
}

TEST(TypeLibraryRegistration, IsPerUserWhenClassesLeadToTheUsersPart)
{
    const RedirectedClassesRoot redirected(HKEY_CURRENT_USER);
    EXPECT_TRUE(IsPerUserRegistration());
}

TEST(TypeLibraryRegistration, IsForTheMachineWhenClassesLeadToTheMachinesPart)
{
    const RedirectedClassesRoot redirected(HKEY_LOCAL_MACHINE);
    EXPECT_FALSE(IsPerUserRegistration());
}

TEST(TypeLibraryRegistration, FailsForAModuleThatDoesNotExist)
{
    EXPECT_EQ(Guarded([] { RegisterTypeLibrary(L"Z:\\no\\such\\module.dll"); }), TYPE_E_CANTLOADLIBRARY);
    EXPECT_EQ(Guarded([] { UnregisterTypeLibrary(L"Z:\\no\\such\\module.dll"); }), TYPE_E_CANTLOADLIBRARY);
}

TEST(TypeLibraryRegistration, FailsForAModuleWithoutATypeLibrary)
{
    EXPECT_EQ(Guarded([] { RegisterTypeLibrary(L"kernel32.dll"); }), TYPE_E_CANTLOADLIBRARY);
}
