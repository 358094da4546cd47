// Namespaces and sections that several processes share.
#include "module/error.h"
#include "shared/sections/private_namespace.h"
#include "shared/sections/section.h"
#include "tests/component/child_process.h"
#include "tests/component/directory_namespace.h"

#include <gtest/gtest.h>

#include <deque>
#include <optional>

using namespace Mardu;
using namespace Mardu::Sentel::Tavlo;

namespace {

std::wstring NewSharedName()
{
    static int number = 0;
    return L"TavloShared" + std::to_wstring(GetCurrentProcessId()) + L"." + std::to_wstring(++number);
}

/// Processes that open or create one namespace when they are all told to, and keep it
/// until they are told to end.
class Competitors
{
public:
    explicit Competitors(int count) : count_(count)
    {
        for (int i = 0; i < count; ++i)
            children_.emplace_back(std::initializer_list<std::wstring>{L"compete", base_});
    }

    ~Competitors() { SetEvent(finish_.get()); }

    Competitors(const Competitors&) = delete;
    Competitors& operator=(const Competitors&) = delete;

    /// True when every process has its namespace.
    bool Run()
    {
        if (!AllSignal(ready_.get()))
            return false;
        SetEvent(start_.get());
        return AllSignal(done_.get());
    }

    /// How many processes ended well.
    int Finish()
    {
        SetEvent(finish_.get());
        int well = 0;
        for (ChildProcess& child : children_)
            well += child.ExitCode() == 0 ? 1 : 0;
        return well;
    }

    const std::wstring& Alias() const noexcept { return base_; }
    const NamespaceCounts& Counts() const noexcept { return counts_; }

private:
    bool AllSignal(HANDLE semaphore) const
    {
        for (int i = 0; i < count_; ++i)
            if (WaitForSingleObject(semaphore, generousLimit) != WAIT_OBJECT_0)
                return false;
        return true;
    }

    int count_;
    std::wstring base_ = NewSharedName();
    NamespaceCounts& counts_ = CountInto(base_ + L".counts");
    UniqueHandle ready_{CreateSemaphoreW(nullptr, 0, 1000, (base_ + L".ready").c_str())};
    UniqueHandle start_{CreateEventW(nullptr, TRUE, FALSE, (base_ + L".start").c_str())};
    UniqueHandle done_{CreateSemaphoreW(nullptr, 0, 1000, (base_ + L".done").c_str())};
    UniqueHandle finish_{CreateEventW(nullptr, TRUE, FALSE, (base_ + L".finish").c_str())};
    std::deque<ChildProcess> children_;
};

constexpr int processes = 12;

class SectionPrefix : public testing::TestWithParam<const wchar_t*>
{
protected:
    SectionPrefix()
    {
        if (Prefix() == L"Tavlo")
            directory_ = OpenOrMakeDirectory(Prefix());
    }

    static std::wstring Prefix() { return GetParam(); }

private:
    UniqueHandle directory_;
};

} // namespace

TEST(SharedNamespace, IsCreatedByOneOfManyProcessesAndOpenedByTheOthers)
{
    Competitors competitors(processes);
    ASSERT_TRUE(competitors.Run());
    EXPECT_EQ(competitors.Counts().created, 1);
    EXPECT_EQ(competitors.Counts().opened, processes - 1);
    EXPECT_EQ(competitors.Counts().refused, 0);
    EXPECT_EQ(competitors.Finish(), processes);
}

TEST(SharedNamespace, IsOpenedOrCreatedByOneProcessAtATime)
{
    Competitors competitors(processes);
    ASSERT_TRUE(competitors.Run());
    EXPECT_EQ(competitors.Counts().mostInside, 1);
}

TEST(SharedNamespace, IsClosedOncePerProcess)
{
    Competitors competitors(processes);
    ASSERT_TRUE(competitors.Run());
    ASSERT_EQ(competitors.Finish(), processes);
    EXPECT_EQ(competitors.Counts().closed, processes);
    EXPECT_EQ(competitors.Counts().closedFlags, 0);
    EXPECT_EQ(competitors.Counts().boundaries, 0);
}

TEST(SharedNamespace, IsOpenedWhenItsCreatorHasEndedAndAnotherKeepsIt)
{
    const std::wstring alias = NewSharedName();
    NamespaceCounts& counts = CountInto(alias + L".counts");
    PrivateNamespaceParameters parameters;
    parameters.alias = alias;
    parameters.mutexName = alias + L".mutex";
    std::optional<PrivateNamespace> first(std::in_place, DirectoryNamespaceApi(), parameters);
    const PrivateNamespace second(DirectoryNamespaceApi(), parameters);
    first.reset();
    const PrivateNamespace third(DirectoryNamespaceApi(), parameters);
    EXPECT_EQ(counts.created, 1);
    EXPECT_EQ(counts.opened, 2);
}

TEST(SharedNamespace, HoldsSectionsUnderItsAlias)
{
    Competitors competitors(2);
    ASSERT_TRUE(competitors.Run());
    const NewSection section = CreateSection(competitors.Alias(), 1);
    EXPECT_NE(OpenSection(competitors.Alias() + L'\\' + section.name), nullptr);
}

TEST(SharedNamespace, MakesThePrefixItsAliasAfterFailuresThatAreTriedAgain)
{
    const std::wstring name = NewSharedName();
    CountInto(name);
    EXPECT_EQ(ChildProcess({L"compute-prefix", name}).ExitCode(), 0u);
}

TEST(SharedNamespace, IsMadeOnceInAProcessThatAsksForThePrefixAgain)
{
    const std::wstring name = NewSharedName();
    const NamespaceCounts& counts = CountInto(name);
    ASSERT_EQ(ChildProcess({L"compute-prefix", name}).ExitCode(), 0u);
    EXPECT_EQ(counts.created + counts.opened, 1);
}

TEST(SharedNamespace, IsClosedBeforeItsBoundaryIsDeletedWhenTheProcessEnds)
{
    const std::wstring name = NewSharedName();
    const NamespaceCounts& counts = CountInto(name);
    ASSERT_EQ(ChildProcess({L"compute-prefix", name}).ExitCode(), 0u);
    EXPECT_EQ(counts.closed, 1);
    EXPECT_EQ(counts.closedFlags, 0);
    EXPECT_EQ(counts.boundaries, 0);
    EXPECT_EQ(counts.lastBoundary, 1);
}

TEST_P(SectionPrefix, StandsBeforeTheNameThatOpensTheSection)
{
    const NewSection section = CreateSection(Prefix(), 10);
    EXPECT_NE(OpenSection(Prefix() + L'\\' + section.name), nullptr);
}

TEST(SharedSection, UnderAnAliasIsNotFoundByItsBareName)
{
    const std::wstring alias = NewSharedName();
    const UniqueHandle directory = OpenOrMakeDirectory(alias);
    const NewSection section = CreateSection(alias, 10);
    EXPECT_EQ(Guarded([&] { OpenSection(section.name); }), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
}

TEST_P(SectionPrefix, MakesNamesThatOtherProcessesShareMemoryUnder)
{
    const NewSection section = CreateSection(Prefix(), 10);
    const UniqueView view = MapWholeSection(section.mapping.get());
    auto* first = static_cast<BYTE*>(view.get());
    *first = 41;
    ASSERT_EQ(ChildProcess({L"exchange", PrefixedName(Prefix(), section.name), L"41"}).ExitCode(), 0u);
    EXPECT_EQ(*first, 42);
}

INSTANTIATE_TEST_SUITE_P(Of, SectionPrefix, testing::Values(L"Tavlo", L"Global"), [](const auto& tested) {
    const std::wstring prefix = tested.param;
    return std::string(prefix.begin(), prefix.end());
});

TEST(SharedSection, IsReachedThroughAnInheritedHandle)
{
    const NewSection section = CreateSection(L"", 10);
    const UniqueView view = MapWholeSection(section.mapping.get());
    auto* first = static_cast<BYTE*>(view.get());
    *first = 7;
    const std::wstring handle = std::to_wstring(reinterpret_cast<ULONG_PTR>(section.mapping.get()));
    ASSERT_EQ(ChildProcess({L"exchange-handle", handle, L"7"}).ExitCode(), 0u);
    EXPECT_EQ(*first, 8);
}
