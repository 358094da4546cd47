#include "events/connection_point.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

using namespace Mardu;
using namespace Mardu::Sentel;

TEST(Enumerator, GivesEveryItemOnceToThreadsThatShareIt)
{
    constexpr size_t items = 2000000;
    const auto snapshot = std::make_shared<const std::vector<Connection>>(items);
    const auto enumerator = Make<ConnectionEnumerator>(snapshot);
    std::atomic<ULONG> given = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            CONNECTDATA slots[3] = {};
            ULONG fetched = 0;
            do {
                enumerator->Next(3, slots, &fetched);
                given += fetched;
                ULONG one = 0;
                enumerator->Next(1, slots, &one);
                given += one;
            } while (fetched > 0);
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(given, items);
    EXPECT_EQ(enumerator->Skip(1), S_FALSE);
}
