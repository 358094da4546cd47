#include "tests/component/shared/updates/updates_test.h"

#include <barrier>

namespace {

/// Counts only, for tests with very many updates.
class Counter final : public ClientObject<ITavloEvents>
{
public:
    explicit Counter(std::atomic<int>& living) : living_(living) { ++living_; }

    STDMETHODIMP OnImageUpdate(ITavlo*, RECT* dirty) override
    {
        ++updates;
        if (dirty->right == lastEdge)
            last.Set();
        return S_OK;
    }

    static constexpr LONG lastEdge = 1000000;

    std::atomic<size_t> updates = 0;
    Signal last;

protected:
    ~Counter() override { --living_; }

private:
    std::atomic<int>& living_;
};

/// Subscribes and unsubscribes new handlers until the end; each must be told. Returns how
/// often it invalidated.
size_t ComeAndGo(const ComPtr<ITavlo2>& image, EventMode mode, std::atomic<int>& living, const Signal& end)
{
    ComPtr<IWriteAccessor> writer;
    EXPECT_HR(S_OK, image->GetWriteAccess(&writer));
    RECT dirty = {0, 0, 5, 5};
    size_t times = 0;
    for (; !end.IsSet(); ++times) {
        const auto handler = New<Counter>(living);
        EXPECT_HR(S_OK, image->Subscribe(handler.Get(), mode));
        EXPECT_HR(S_OK, writer->Invalidate(&dirty));
        if (mode == Tavlo_Synchronous)
            EXPECT_GE(handler->updates, 1u);
        else
            EXPECT_TRUE(Becomes([&] { return handler->updates >= 1; }));
        EXPECT_HR(S_OK, image->Unsubscribe(handler.Get()));
    }
    return times;
}

/// A handler that can be called from every apartment.
class AgileCounter final : public ClientObject<ITavloEvents>
{
public:
    explicit AgileCounter(std::atomic<int>& living) : living_(living)
    {
        ++living_;
        EXPECT_HR(S_OK, CoCreateFreeThreadedMarshaler(static_cast<ITavloEvents*>(this), &marshaler_));
    }

    STDMETHODIMP OnImageUpdate(ITavlo*, RECT*) override { return S_OK; }

    STDMETHODIMP QueryInterface(REFIID iid, void** result) override
    {
        return IsEqualIID(iid, IID_IMarshal) ? marshaler_->QueryInterface(iid, result)
                                             : ClientObject::QueryInterface(iid, result);
    }

protected:
    ~AgileCounter() override { --living_; }

private:
    std::atomic<int>& living_;
    ComPtr<IUnknown> marshaler_;
};

void LiveShortly(int images, std::atomic<int>& living)
{
    for (int i = 0; i < images; ++i) {
        auto image = SharedImage(8, 8);
        auto handler = New<AgileCounter>(living);
        EXPECT_HR(S_OK, image->Subscribe(handler.Get(), Tavlo_Asynchronous));
        EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
        handler.Reset();
        image.Reset();
        CoFreeUnusedLibrariesEx(0, 0);
    }
}

} // namespace

TEST(UpdatesUnderLoad, LoseNoSubscriberWhileOthersComeAndGo)
{
    const Module module;
    std::atomic<int> living = 0;
    {
        const auto image = SharedImage();
        const auto synchronous = New<Counter>(living);
        const auto asynchronous = New<Counter>(living);
        ASSERT_HR(S_OK, image->Subscribe(synchronous.Get(), Tavlo_Synchronous));
        ASSERT_HR(S_OK, image->Subscribe(asynchronous.Get(), Tavlo_Asynchronous));
        Signal endOfComing;
        Signal end;
        std::atomic<size_t> invalidations = 0;
        std::vector<std::thread> writers;
        for (LONG i = 0; i < 8; ++i) {
            writers.push_back(InApartment(COINIT_MULTITHREADED, [&, i] {
                ComPtr<IWriteAccessor> writer;
                EXPECT_HR(S_OK, image->GetWriteAccess(&writer));
                RECT dirty = {10 * i, 10 * i, 10 * i + 5, 10 * i + 5};
                for (; !end.IsSet(); ++invalidations)
                    EXPECT_HR(S_OK, writer->Invalidate(&dirty));
            }));
        }
        std::vector<std::thread> comers;
        for (const EventMode mode : {Tavlo_Synchronous, Tavlo_Asynchronous}) {
            comers.push_back(InApartment(COINIT_MULTITHREADED, [&, mode] {
                invalidations += ComeAndGo(image, mode, living, endOfComing);
            }));
        }
        Sleep(10000); // the length of the test; nothing waits for it
        // Writers stay longest: a rectangle may have to wait for the next update.
        endOfComing.Set();
        for (auto& thread : comers)
            thread.join();
        end.Set();
        for (auto& thread : writers)
            thread.join();
        EXPECT_EQ(synchronous->updates, invalidations);
        EXPECT_GE(invalidations, 1000u);
        ASSERT_TRUE(WorkerCatchesUp(image));
        EXPECT_HR(S_OK, Invalidate(image, {0, 0, Counter::lastEdge, 1}));
        EXPECT_TRUE(synchronous->last.IsSet());
        EXPECT_TRUE(asynchronous->last.Wait());
        EXPECT_TRUE(Becomes([&] { return living == 2; })) << living;
    }
    EXPECT_TRUE(Becomes([&] { return living == 0; })) << living;
    EXPECT_TRUE(module.BecomesUnused());
}

// Every thread has an apartment of its own, so that it is the only one to free what it
// loaded; the DLL goes whenever none of them needs it, under workers that are leaving.
TEST(UpdatesUnderLoad, SurviveTheUnloadingOfUnusedLibraries)
{
    constexpr int count = 4;
    std::atomic<int> living = 0;
    std::barrier together(count);
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
        threads.push_back(InApartment(COINIT_APARTMENTTHREADED, [&] {
            LiveShortly(500, living);
            together.arrive_and_wait();
            // An apartment that ends while its DLL is in use may leave it loaded for good.
            const Module module;
            EXPECT_TRUE(module.BecomesUnused());
            together.arrive_and_wait();
        }));
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(living, 0);
    EXPECT_TRUE(Becomes([] { return GetModuleHandleW(L"Tavlo.dll") == nullptr; }))
        << "with the last apartment and the last worker the module goes";
}

TEST(UpdatesUnderLoad, LeaveTheModuleUnlocked)
{
    const Module module;
    std::atomic<int> living = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.push_back(InApartment(COINIT_MULTITHREADED, [&] { LiveShortly(500, living); }));
    for (auto& thread : threads)
        thread.join();
    EXPECT_TRUE(Becomes([&] { return living == 0; })) << living;
    EXPECT_TRUE(module.BecomesUnused());
}
