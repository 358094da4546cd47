#include "tests/component/shared/sections/private_namespace_test.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::ElementsAreArray;

TEST(PrivateNamespaceParameters, AreTheSystemsOwnByDefault)
{
    const PrivateNamespaceParameters parameters;
    EXPECT_EQ(parameters.boundaryName, L"MARDU");
    EXPECT_EQ(parameters.sid, WinWorldSid);
    EXPECT_EQ(parameters.security, L"D:(A;;GA;;;AU)(A;;GA;;;CO)");
    EXPECT_EQ(parameters.alias, L"Tavlo");
    EXPECT_EQ(parameters.mutexName, L"MarduTavloMutex");
    EXPECT_EQ(parameters.mutexTimeout, 10000u);
}

TEST(PrivateNamespace, OpensAnExistingOneAndCreatesNone)
{
    Platform platform;
    platform.namespaceExists = true;
    {
        const PrivateNamespace made(Platform::Api(), platform.Parameters());
        EXPECT_THAT(platform.calls, ElementsAre("CreateBoundaryDescriptor", "CreateWellKnownSid",
                                                "AddSIDToBoundaryDescriptor",
                                                "ConvertStringSecurityDescriptor", "CreateMutex", "Wait",
                                                "OpenPrivateNamespace", "ReleaseMutex", "CloseHandle"));
    }
    EXPECT_EQ(platform.closedNamespace, Platform::OpenedNamespace());
}

TEST(PrivateNamespace, IsCreatedWhenItCannotBeOpened)
{
    Platform platform;
    {
        const PrivateNamespace made(Platform::Api(), platform.Parameters());
        EXPECT_THAT(platform.calls,
                    ElementsAre("CreateBoundaryDescriptor", "CreateWellKnownSid",
                                "AddSIDToBoundaryDescriptor", "ConvertStringSecurityDescriptor",
                                "CreateMutex", "Wait", "OpenPrivateNamespace", "CreatePrivateNamespace",
                                "ReleaseMutex", "CloseHandle"));
    }
    EXPECT_EQ(platform.closedNamespace, Platform::CreatedNamespace());
}

TEST(PrivateNamespace, ClosesThenFreesTheDescriptorThenDeletesTheBoundary)
{
    Platform platform;
    {
        const PrivateNamespace made(Platform::Api(), platform.Parameters());
        platform.calls.clear();
    }
    EXPECT_THAT(platform.calls,
                ElementsAre("ClosePrivateNamespace", "LocalFree", "DeleteBoundaryDescriptor"));
    EXPECT_TRUE(platform.descriptorValidAtClose);
    EXPECT_EQ(platform.deletedBoundary, Platform::Boundary());
}

TEST(PrivateNamespace, StaysForOtherProcessesWhenItIsClosed)
{
    Platform platform;
    {
        const PrivateNamespace made(Platform::Api(), platform.Parameters());
    }
    EXPECT_EQ(platform.closeFlags, 0u);
}

TEST(PrivateNamespace, HasItsAliasAsName)
{
    Platform platform;
    EXPECT_EQ(PrivateNamespace(Platform::Api(), platform.Parameters()).Name(), L"Tavlo");
}

TEST(PrivateNamespace, IsOpenedAndCreatedUnderItsAlias)
{
    Platform platform;
    const PrivateNamespace made(Platform::Api(), platform.Parameters());
    EXPECT_EQ(platform.openedAlias, L"Tavlo");
    EXPECT_EQ(platform.createdAlias, L"Tavlo");
}

TEST(PrivateNamespace, IsBoundedByNameAndEveryone)
{
    Platform platform;
    const PrivateNamespace made(Platform::Api(), platform.Parameters());
    EXPECT_EQ(platform.boundaryName, L"MARDU");
    EXPECT_EQ(platform.boundaryFlags, 0u);
    EXPECT_TRUE(platform.sidIsWorld);
    EXPECT_EQ(platform.openedBoundary, Platform::Boundary());
    EXPECT_EQ(platform.createdBoundary, Platform::Boundary());
}

TEST(PrivateNamespace, UsesTheBoundaryThatTheSidWasAddedTo)
{
    Platform platform;
    platform.boundaryIsReplaced = true;
    {
        const PrivateNamespace made(Platform::Api(), platform.Parameters());
    }
    EXPECT_EQ(platform.openedBoundary, Platform::OtherBoundary());
    EXPECT_EQ(platform.createdBoundary, Platform::OtherBoundary());
    EXPECT_EQ(platform.deletedBoundary, Platform::OtherBoundary());
}

TEST(PrivateNamespace, IsCreatedWithAHandleThatIsNotInherited)
{
    Platform platform;
    const PrivateNamespace made(Platform::Api(), platform.Parameters());
    EXPECT_EQ(platform.inherits, FALSE);
    EXPECT_EQ(platform.attributesLength, sizeof(SECURITY_ATTRIBUTES));
}

TEST(PrivateNamespace, GrantsAllToAuthenticatedUsersAndTheCreator)
{
    Platform platform;
    const PrivateNamespace made(Platform::Api(), platform.Parameters());
    EXPECT_EQ(platform.descriptorText, L"D:(A;;GA;;;AU)(A;;GA;;;CO)");
}

TEST(PrivateNamespace, WaitsTenSecondsForTheMutexOfItsName)
{
    Platform platform;
    PrivateNamespaceParameters parameters = platform.Parameters();
    parameters.mutexName = PrivateNamespaceParameters().mutexName;
    const PrivateNamespace made(Platform::Api(), parameters);
    EXPECT_EQ(platform.waitLimit, 10000u);
    EXPECT_THAT(platform.waitedMutexName, testing::EndsWith(L"\\MarduTavloMutex"));
}

TEST(PrivateNamespace, LeavesTheMutexToOthers)
{
    Platform platform;
    const UniqueHandle mutex = NewMutex(platform.mutexName);
    const PrivateNamespace made(Platform::Api(), platform.Parameters());
    EXPECT_TRUE(IsFree(mutex.get()));
}

TEST(PrivateNamespace, KeepsNoHandleOfTheMutex)
{
    Platform platform;
    const PrivateNamespace made(Platform::Api(), platform.Parameters());
    EXPECT_EQ(UniqueHandle(OpenMutexW(SYNCHRONIZE, FALSE, platform.mutexName.c_str())), nullptr);
}
