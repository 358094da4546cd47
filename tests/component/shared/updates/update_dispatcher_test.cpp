#include "tests/component/shared/updates/updates_test.h"

#include <tlhelp32.h>

#include <algorithm>
#include <random>
#include <set>
#include <stdexcept>

namespace {

using Rects = std::vector<RECT>;

RECT BoundingBox(const RECT& a, const RECT& b)
{
    return {std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
            std::max(a.bottom, b.bottom)};
}

bool Covers(const RECT& outer, const RECT& inner)
{
    return BoundingBox(outer, inner) == outer;
}

/// An image whose worker is held in a handler's first call, until Go.
class HeldImage
{
public:
    HeldImage()
    {
        EXPECT_HR(S_OK, image->Subscribe(holder.Get(), Tavlo_Asynchronous));
        EXPECT_HR(S_OK, Invalidate(image, {0, 0, 1, 1}));
        EXPECT_TRUE(holder->entered.Wait());
    }

    ~HeldImage() { Go(); }

    void Go() { holder->leave.Set(); }

    const ComPtr<ITavlo2> image = SharedImage(640, 480);
    const ComPtr<Holder> holder = New<Holder>();
};

std::set<DWORD> OwnThreads()
{
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof(entry);
    std::set<DWORD> threads;
    for (BOOL more = Thread32First(snapshot, &entry); more != FALSE; more = Thread32Next(snapshot, &entry)) {
        if (entry.th32OwnerProcessID == GetCurrentProcessId())
            threads.insert(entry.th32ThreadID);
    }
    CloseHandle(snapshot);
    return threads;
}

size_t ThreadsSince(const std::set<DWORD>& before)
{
    const std::set<DWORD> now = OwnThreads();
    return static_cast<size_t>(
        std::count_if(now.begin(), now.end(), [&](DWORD id) { return !before.contains(id); }));
}

} // namespace

TEST(AsynchronousUpdates, ArriveOnTheWorkerOfTheImage)
{
    const auto image = SharedImage();
    APTTYPE apartment = APTTYPE_CURRENT;
    const auto a = New<Handler>([&](const RECT&) {
        APTTYPEQUALIFIER qualifier;
        return CoGetApartmentType(&apartment, &qualifier);
    });
    const auto b = New<Handler>();
    ASSERT_HR(S_OK, image->Subscribe(a.Get(), Tavlo_Asynchronous));
    ASSERT_HR(S_OK, image->Subscribe(b.Get(), Tavlo_Asynchronous));
    EXPECT_HR(S_OK, Invalidate(image, {1, 2, 3, 4}));
    ASSERT_TRUE(b->Receives(1));
    EXPECT_HR(S_OK, Invalidate(image, {5, 6, 7, 8}));
    ASSERT_TRUE(b->Receives(2));
    EXPECT_EQ(a->Received(), (Rects{{1, 2, 3, 4}, {5, 6, 7, 8}}));
    EXPECT_EQ(a->Threads(), b->Threads());
    EXPECT_EQ(a->Threads()[0], a->Threads()[1]);
    EXPECT_NE(a->Threads()[0], GetCurrentThreadId());
    EXPECT_EQ(apartment, APTTYPE_MTA);
}

TEST(AsynchronousUpdates, NameTheWholeImageWhenNoRectangleIsGiven)
{
    const auto image = SharedImage(640, 480);
    const auto handler = New<Handler>();
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Asynchronous));
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    ASSERT_TRUE(handler->Receives(1));
    EXPECT_EQ(handler->Received(), (Rects{{0, 0, 640, 480}}));
}

TEST(AsynchronousUpdates, NeverCarryTheImage)
{
    const auto image = SharedImage();
    const auto handler = New<Handler>();
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Asynchronous));
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    ASSERT_TRUE(handler->Receives(1));
    EXPECT_FALSE(handler->SawImage());
}

TEST(AsynchronousUpdates, ArriveAsOneBoundingBoxWhileTheWorkerIsBusy)
{
    HeldImage held;
    const auto handler = New<Handler>();
    ASSERT_HR(S_OK, held.image->Subscribe(handler.Get(), Tavlo_Asynchronous));
    for (LONG i = 0; i < 10; ++i)
        EXPECT_HR(S_OK, Invalidate(held.image, {100 + 20 * i, 300 - 20 * i, 110 + 20 * i, 310 - 20 * i}));
    EXPECT_EQ(handler->Received().size(), 0u);
    held.Go();
    ASSERT_TRUE(handler->Receives(1));
    ASSERT_TRUE(WorkerCatchesUp(held.image));
    EXPECT_EQ(handler->Received(), (Rects{{100, 120, 290, 310}}));
    EXPECT_EQ(held.holder->Received().size(), 2u);
}

TEST(AsynchronousUpdates, MergeByTheRuleOfThePendingRectangle)
{
    struct Case
    {
        const char* what;
        Rects posted;
        RECT arrives;
    };
    const std::vector<Case> cases = {
        {"one", {{1, 2, 3, 4}}, {1, 2, 3, 4}},
        {"an empty one alone", {{5, 5, 5, 9}}, {5, 5, 5, 9}},
        {"an empty one is replaced", {{5, 5, 5, 9}, {10, 10, 20, 20}}, {10, 10, 20, 20}},
        {"also when only its height is 0", {{5, 9, 8, 9}, {10, 10, 20, 20}}, {10, 10, 20, 20}},
        {"an empty one is replaced by another", {{5, 5, 5, 9}, {7, 7, 7, 7}}, {7, 7, 7, 7}},
        {"an empty one enlarges one that is not", {{10, 10, 20, 20}, {5, 30, 5, 30}}, {5, 10, 20, 30}},
        {"inside", {{0, 0, 100, 100}, {10, 10, 20, 20}}, {0, 0, 100, 100}},
        {"around", {{10, 10, 20, 20}, {0, 0, 100, 100}}, {0, 0, 100, 100}},
        {"overlapping", {{0, 0, 10, 10}, {5, 5, 15, 15}}, {0, 0, 15, 15}},
        {"outside the image", {{-10, -20, 1, 1}, {0, 0, 9000, 10000}}, {-10, -20, 9000, 10000}},
        {"crossed edges are not empty", {{30, 40, 10, 20}, {0, 50, 5, 60}}, {0, 40, 10, 60}},
        {"the whole", {{600, 400, 640, 480}, {0, 0, 640, 480}}, {0, 0, 640, 480}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        HeldImage held;
        const auto handler = New<Handler>();
        ASSERT_HR(S_OK, held.image->Subscribe(handler.Get(), Tavlo_Asynchronous));
        for (const RECT& rect : c.posted)
            EXPECT_HR(S_OK, Invalidate(held.image, rect));
        held.Go();
        ASSERT_TRUE(handler->Receives(1));
        EXPECT_EQ(handler->Received().front(), c.arrives);
    }
}

TEST(AsynchronousUpdates, ReachASubscriberThatWasQueuedBefore)
{
    HeldImage held;
    const auto leaving = New<Handler>();
    const auto joining = New<Handler>();
    ASSERT_HR(S_OK, held.image->Subscribe(leaving.Get(), Tavlo_Asynchronous));
    ASSERT_HR(S_OK, held.image->Unsubscribe(leaving.Get()));
    ASSERT_HR(S_OK, held.image->Subscribe(joining.Get(), Tavlo_Asynchronous));
    EXPECT_HR(S_OK, Invalidate(held.image, {1, 2, 3, 4}));
    held.Go();
    ASSERT_TRUE(joining->Receives(1));
    EXPECT_EQ(leaving->Received().size(), 0u);
}

TEST(AsynchronousUpdates, DoNotReachASubscriberThatWasQueuedAfter)
{
    HeldImage held;
    const auto late = New<Handler>();
    EXPECT_HR(S_OK, Invalidate(held.image, {1, 2, 3, 4}));
    ASSERT_HR(S_OK, held.image->Subscribe(late.Get(), Tavlo_Asynchronous));
    held.Go();
    ASSERT_TRUE(held.holder->Receives(2));
    ASSERT_TRUE(WorkerCatchesUp(held.image));
    EXPECT_EQ(late->Received().size(), 0u);
    EXPECT_HR(S_OK, Invalidate(held.image, {5, 6, 7, 8}));
    ASSERT_TRUE(late->Receives(1));
    EXPECT_EQ(late->Received(), (Rects{{5, 6, 7, 8}}));
}

TEST(AsynchronousUpdates, ComeTwiceToAHandlerSubscribedTwice)
{
    const auto image = SharedImage();
    const auto handler = New<Handler>();
    const auto last = New<Handler>();
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Asynchronous));
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Asynchronous));
    ASSERT_HR(S_OK, image->Subscribe(last.Get(), Tavlo_Asynchronous));
    const std::vector<size_t> expected = {2, 3, 3};
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
        ASSERT_TRUE(last->Receives(i + 1));
        EXPECT_EQ(handler->Received().size(), expected[i]);
        EXPECT_HR(S_OK, image->Unsubscribe(handler.Get()));
    }
    ASSERT_TRUE(WorkerCatchesUp(image));
    EXPECT_EQ(handler->References(), 1u);
}

TEST(AsynchronousUpdates, OutliveTheSynchronousSubscriptionOfTheSameHandler)
{
    const auto image = SharedImage();
    const auto handler = New<Handler>();
    const auto last = New<Handler>();
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Asynchronous));
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Synchronous));
    ASSERT_HR(S_OK, image->Subscribe(last.Get(), Tavlo_Asynchronous));
    EXPECT_HR(S_OK, image->Unsubscribe(handler.Get()));
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    ASSERT_TRUE(last->Receives(1));
    EXPECT_EQ(handler->Threads(), last->Threads()) << "the synchronous one has ended";
    EXPECT_HR(S_OK, image->Unsubscribe(handler.Get()));
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    ASSERT_TRUE(last->Receives(2));
    EXPECT_EQ(handler->Received().size(), 1u);
}

TEST(AsynchronousUpdates, EndForAHandlerThatFailsOrThrows)
{
    const auto image = SharedImage();
    const auto failing = New<Handler>([](const RECT&) { return E_FAIL; });
    const auto throwing =
        New<Handler>([](const RECT&) -> HRESULT { throw std::runtime_error("thrown on purpose"); });
    const auto last = New<Handler>();
    for (const auto& handler : {failing, throwing, last})
        ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Asynchronous));
    for (size_t i = 1; i <= 3; ++i) {
        EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
        ASSERT_TRUE(last->Receives(i));
    }
    ASSERT_TRUE(WorkerCatchesUp(image));
    EXPECT_EQ(failing->Received().size(), 1u);
    EXPECT_EQ(throwing->Received().size(), 1u);
    EXPECT_EQ(failing->References(), 1u);
    EXPECT_EQ(throwing->References(), 1u);
}

TEST(AsynchronousUpdates, OfAFailingHandlerLeaveItsSynchronousSubscription)
{
    const auto image = SharedImage();
    const DWORD thisThread = GetCurrentThreadId();
    const auto handler =
        New<Handler>([&](const RECT&) { return GetCurrentThreadId() == thisThread ? S_OK : E_FAIL; });
    const auto last = New<Handler>();
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Asynchronous));
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Synchronous));
    ASSERT_HR(S_OK, image->Subscribe(last.Get(), Tavlo_Asynchronous));
    for (size_t i = 1; i <= 3; ++i) {
        EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
        ASSERT_TRUE(last->Receives(i));
    }
    const auto threads = handler->Threads();
    EXPECT_EQ(std::count(threads.begin(), threads.end(), thisThread), 3);
    EXPECT_EQ(threads.size(), 4u);
}

TEST(AsynchronousUpdates, SeeChangesOfTheListFromTheNextUpdateOn)
{
    const auto image = SharedImage();
    const auto joining = New<Handler>();
    const auto leaving = New<Handler>();
    const auto last = New<Handler>();
    ComPtr<Handler> self;
    std::atomic<int> calls = 0;
    self = New<Handler>([&](const RECT&) {
        if (++calls > 1)
            return S_OK;
        EXPECT_HR(S_OK, image->Subscribe(joining.Get(), Tavlo_Asynchronous));
        EXPECT_HR(S_OK, image->Unsubscribe(leaving.Get()));
        EXPECT_HR(S_OK, image->Unsubscribe(self.Get()));
        return S_OK;
    });
    for (const auto& handler : {self, leaving, last})
        ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Asynchronous));
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    ASSERT_TRUE(last->Receives(1));
    EXPECT_EQ(leaving->Received().size(), 1u);
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    ASSERT_TRUE(joining->Receives(1));
    ASSERT_TRUE(last->Receives(2));
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(leaving->Received().size(), 1u);
}

TEST(AsynchronousUpdates, MayCauseFurtherOnes)
{
    const auto image = SharedImage();
    const auto handler = New<Handler>([&](const RECT& dirty) {
        return dirty.left < 3 ? Invalidate(image, {dirty.left + 1, 0, 9, 9}) : S_OK;
    });
    ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Asynchronous));
    EXPECT_HR(S_OK, Invalidate(image, {0, 0, 9, 9}));
    ASSERT_TRUE(handler->Receives(4));
    EXPECT_EQ(handler->Received(), (Rects{{0, 0, 9, 9}, {1, 0, 9, 9}, {2, 0, 9, 9}, {3, 0, 9, 9}}));
}

TEST(AsynchronousUpdates, DoNotWaitForAHeldWorker)
{
    HeldImage held;
    const auto synchronous = New<Handler>();
    ASSERT_HR(S_OK, held.image->Subscribe(synchronous.Get(), Tavlo_Synchronous));
    for (int i = 0; i < 5; ++i)
        EXPECT_HR(S_OK, Invalidate(held.image.Get(), nullptr));
    EXPECT_EQ(synchronous->Received().size(), 5u);
    EXPECT_EQ(held.holder->Received().size(), 1u);
}

TEST(AsynchronousUpdates, MeanOneThreadPerImageFromTheFirstSubscriptionOn)
{
    HeldImage first; // whatever the system starts on first use is there now
    const std::set<DWORD> before = OwnThreads();
    const auto image = SharedImage();
    const auto handler = New<Handler>();
    EXPECT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Synchronous));
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    EXPECT_HR(S_OK, image->Unsubscribe(handler.Get()));
    EXPECT_HR(S_OK, image->Unsubscribe(handler.Get()));
    EXPECT_EQ(ThreadsSince(before), 0u);
    for (int i = 0; i < 3; ++i) {
        EXPECT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Asynchronous));
        EXPECT_EQ(ThreadsSince(before), 1u);
    }
}

TEST(AsynchronousUpdates, CoverEverythingPostedAfterQuietAndOneMore)
{
    constexpr int writers = 4;
    constexpr int posts = 200;
    constexpr RECT lastOne = {100000, 100000, 100001, 100001};
    for (unsigned seed = 1; seed <= 5; ++seed) {
        SCOPED_TRACE(seed);
        const auto image = SharedImage();
        const auto handler = New<Handler>();
        ASSERT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Asynchronous));
        std::vector<Rects> posted(writers);
        std::vector<std::thread> threads;
        for (unsigned w = 0; w < writers; ++w) {
            threads.push_back(InApartment(COINIT_MULTITHREADED, [&, w] {
                std::mt19937 random(seed * 100 + w);
                ComPtr<IWriteAccessor> writer;
                EXPECT_HR(S_OK, image->GetWriteAccess(&writer));
                for (int i = 0; i < posts; ++i) {
                    const LONG left = static_cast<LONG>(random() % 1000);
                    const LONG top = static_cast<LONG>(random() % 1000);
                    RECT rect = {left, top, left + 1 + static_cast<LONG>(random() % 9),
                                 top + 1 + static_cast<LONG>(random() % 9)};
                    posted[w].push_back(rect);
                    EXPECT_HR(S_OK, writer->Invalidate(&rect));
                    if (random() % 8 == 0)
                        SwitchToThread();
                }
            }));
        }
        for (auto& thread : threads)
            thread.join();
        ASSERT_TRUE(WorkerCatchesUp(image));
        EXPECT_HR(S_OK, Invalidate(image, lastOne));
        ASSERT_TRUE(Becomes([&] { return Covers(handler->Received().back(), lastOne); }));

        const Rects received = handler->Received();
        for (const Rects& rects : posted) {
            for (const RECT& rect : rects) {
                const bool covered = std::any_of(received.begin(), received.end(),
                                                 [&](const RECT& outer) { return Covers(outer, rect); });
                ASSERT_TRUE(covered) << testing::PrintToString(rect);
            }
        }
    }
}
