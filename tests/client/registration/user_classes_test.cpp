#include "client/registration/user_classes.h"

#include "client/foundation/failure.h"

#include <gtest/gtest.h>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

std::string MessageOf(HRESULT result, bool isForUser)
{
    try {
        CheckRegistration(result, "register it", isForUser);
    } catch (const Failure& failure) {
        return failure.what();
    }
    return "";
}

TEST(CheckRegistrationTest, AdvisesWhereAnAdministratorsRightsAreMissing)
{
    for (const HRESULT result : {E_ACCESSDENIED, TYPE_E_REGISTRYACCESS}) {
        EXPECT_NE(MessageOf(result, false).find("an administrator's rights; --user does not"),
                  std::string::npos);
        EXPECT_NE(MessageOf(result, true).find("cannot register it: 0x"), std::string::npos);
        EXPECT_EQ(MessageOf(result, true).find("administrator"), std::string::npos);
    }
    EXPECT_EQ(MessageOf(E_FAIL, false).find("administrator"), std::string::npos);
    EXPECT_EQ(MessageOf(S_OK, false), "");
}

TEST(UserClassesTest, ClassesAreTheUsersForAsLongAsItLives)
{
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    const std::wstring key = L"Tavlo.Test." + std::to_wstring(GetCurrentProcessId());
    const auto create = [&] {
        HKEY created = nullptr;
        EXPECT_EQ(RegCreateKeyW(HKEY_CLASSES_ROOT, key.c_str(), &created), ERROR_SUCCESS);
        RegCloseKey(created);
    };
    {
        const UserClasses redirection;
        create();
        EXPECT_TRUE(IsClassesKey(key, true));
        EXPECT_FALSE(IsClassesKey(key, false));
        EXPECT_EQ(RegDeleteKeyW(HKEY_CLASSES_ROOT, key.c_str()), ERROR_SUCCESS);
        EXPECT_FALSE(IsClassesKey(key, true));
    }
    create();
    EXPECT_TRUE(IsClassesKey(key, false));
    EXPECT_EQ(RegDeleteKeyW(HKEY_CLASSES_ROOT, key.c_str()), ERROR_SUCCESS);
    CoUninitialize();
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client
