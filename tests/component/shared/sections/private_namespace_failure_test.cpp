#include "tests/component/shared/sections/private_namespace_test.h"

#include <gmock/gmock.h>

using testing::ElementsAreArray;

namespace {

struct FailingCall
{
    const char* call;
    const char* text;
    std::vector<std::string> before; ///< the calls up to the failing one
    std::vector<std::string> after;  ///< what undoes them
};

void PrintTo(const FailingCall& failing, std::ostream* out)
{
    *out << failing.call;
}

const FailingCall failingCalls[] = {
    {"CreateBoundaryDescriptor", "CreateBoundaryDescriptor failed", {}, {}},
    {"CreateWellKnownSid",
     "CreateWellKnownSid failed",
     {"CreateBoundaryDescriptor"},
     {"DeleteBoundaryDescriptor"}},
    {"AddSIDToBoundaryDescriptor",
     "AddSIDToBoundaryDescriptor failed",
     {"CreateBoundaryDescriptor", "CreateWellKnownSid"},
     {"DeleteBoundaryDescriptor"}},
    {"ConvertStringSecurityDescriptor",
     "ConvertStringSecurityDescriptorToSecurityDescriptor failed",
     {"CreateBoundaryDescriptor", "CreateWellKnownSid", "AddSIDToBoundaryDescriptor"},
     {"DeleteBoundaryDescriptor"}},
    {"CreateMutex",
     "Creating mutex failed",
     {"CreateBoundaryDescriptor", "CreateWellKnownSid", "AddSIDToBoundaryDescriptor",
      "ConvertStringSecurityDescriptor"},
     {"LocalFree", "DeleteBoundaryDescriptor"}},
    {"CreatePrivateNamespace",
     "CreatePrivateNamespace failed",
     {"CreateBoundaryDescriptor", "CreateWellKnownSid", "AddSIDToBoundaryDescriptor",
      "ConvertStringSecurityDescriptor", "CreateMutex", "Wait", "OpenPrivateNamespace"},
     {"ReleaseMutex", "CloseHandle", "LocalFree", "DeleteBoundaryDescriptor"}},
};

class PrivateNamespaceFailure : public testing::TestWithParam<FailingCall>
{
protected:
    PrivateNamespaceFailure() { platform.failing = GetParam().call; }

    Platform platform;
};

} // namespace

TEST_P(PrivateNamespaceFailure, HasItsTextAndTheLastError)
{
    const Failure failure = FailureOf(platform.Parameters());
    EXPECT_EQ(failure.type, "win32_error");
    EXPECT_EQ(failure.code, failureCode);
    EXPECT_EQ(failure.text, WithSystemText(GetParam().text));
}

TEST_P(PrivateNamespaceFailure, UndoesWhatWasBuilt)
{
    FailureOf(platform.Parameters());
    Calls expected = GetParam().before;
    expected.emplace_back(GetParam().call);
    expected.insert(expected.end(), GetParam().after.begin(), GetParam().after.end());
    Calls calls = platform.calls;
    // The text of the failure was asked of the system, which frees memory once more.
    if (!calls.empty() && calls.back() == "LocalFree")
        calls.pop_back();
    EXPECT_THAT(calls, ElementsAreArray(expected));
}

TEST_P(PrivateNamespaceFailure, ReachesACallerAsTheLastErrorsResult)
{
    const HRESULT hr = Guarded([&] { PrivateNamespace(Platform::Api(), platform.Parameters()); });
    EXPECT_EQ(hr, HRESULT_FROM_WIN32(failureCode));
}

TEST_P(PrivateNamespaceFailure, LeavesTheMutexToOthers)
{
    const UniqueHandle mutex(NewMutex(platform.mutexName + L".unrelated"));
    platform.failing.clear();
    const UniqueHandle held = NewMutex(platform.mutexName);
    platform.failing = GetParam().call;
    FailureOf(platform.Parameters());
    EXPECT_TRUE(IsFree(held.get()));
}

INSTANTIATE_TEST_SUITE_P(Of, PrivateNamespaceFailure, testing::ValuesIn(failingCalls),
                         [](const auto& tested) { return std::string(tested.param.call); });
