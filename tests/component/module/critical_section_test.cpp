#include "module/critical_section.h"

#include "tests/component/replaced_import.h"

#include <gtest/gtest.h>

#include <mutex>
#include <thread>
#include <vector>

using namespace Mardu;

TEST(CriticalSection, LetsOneThreadInAtATime)
{
    CriticalSection section;
    int inside = 0;
    int most = 0;
    int total = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int j = 0; j < 20000; ++j) {
                const std::lock_guard lock(section);
                most = std::max(most, ++inside);
                ++total;
                --inside;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(most, 1);
    EXPECT_EQ(total, 80000);
}

TEST(CriticalSection, MayBeEnteredAgainByItsOwner)
{
    CriticalSection section;
    const std::lock_guard outer(section);
    const std::lock_guard inner(section);
}

TEST(CriticalSection, FailsWithTheLastError)
{
    const ReplacedImport<decltype(InitializeCriticalSectionEx)> failing(
        "InitializeCriticalSectionEx", [](LPCRITICAL_SECTION, DWORD, DWORD) -> BOOL {
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return FALSE;
        });
    EXPECT_EQ(Guarded([] { CriticalSection section; }), HRESULT_FROM_WIN32(ERROR_NOT_ENOUGH_MEMORY));
}
