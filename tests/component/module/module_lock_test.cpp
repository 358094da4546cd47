#include "module/module_lock.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

using namespace Mardu;

TEST(ModuleLock, CountsUpAndDown)
{
    const LONG before = ModuleLockCount();
    LockModule();
    LockModule();
    EXPECT_EQ(ModuleLockCount(), before + 2);
    UnlockModule();
    EXPECT_EQ(ModuleLockCount(), before + 1);
    UnlockModule();
    EXPECT_EQ(ModuleLockCount(), before);
}

TEST(ModuleLock, IsCountedByManyThreadsAtOnce)
{
    const LONG before = ModuleLockCount();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            for (int j = 0; j < 50000; ++j) {
                LockModule();
                UnlockModule();
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(ModuleLockCount(), before);
}

TEST(ThisModule, IsTheOneThatTheCodeIsLinkedInto)
{
    EXPECT_EQ(ThisModule(), GetModuleHandleW(nullptr));
}
