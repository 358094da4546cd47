// Sinks that come and go, and images that change, while events are raised on other threads.
#include "tests/component/events/reflector_test.h"

#include <barrier>

namespace {

constexpr int raceRounds = 100000;

/// Runs the bodies on a thread each, and all of them from one moment on.
template <class... Bodies>
void AtOnce(Bodies... bodies)
{
    std::barrier begin(sizeof...(bodies));
    std::thread threads[] = {InApartment(COINIT_MULTITHREADED, [&begin, bodies] {
        begin.arrive_and_wait();
        bodies();
    })...};
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace

TEST(ConnectionsInUse, MayComeAndGo)
{
    const ReflectedImage reflected;
    const auto constant = New<Client>();
    reflected.Advise(constant);
    const auto comeAndGo = [&] {
        for (int i = 0; i < raceRounds; ++i) {
            const auto client = New<Client>();
            const DWORD cookie = reflected.Advise(client);
            EXPECT_HR(S_OK, reflected.events->Unadvise(cookie));
            // An event on its way may hold it a little longer.
            EXPECT_TRUE(Becomes([&] { return client->References() == 1; }));
        }
    };
    AtOnce(
        comeAndGo, comeAndGo,
        [&] {
            for (int i = 0; i < raceRounds; ++i)
                EXPECT_HR(S_OK, reflected.Raise({1, 2, 3, 4}));
        },
        [&] {
            for (int i = 0; i < raceRounds; ++i) {
                ComPtr<IEnumConnections> all;
                ASSERT_HR(S_OK, reflected.events->EnumConnections(&all));
                CONNECTDATA found = {};
                bool sawConstant = false;
                while (all->Next(1, &found, nullptr) == S_OK) {
                    sawConstant = sawConstant || found.pUnk == constant.Get();
                    found.pUnk->Release();
                }
                EXPECT_TRUE(sawConstant);
            }
        });
    EXPECT_EQ(constant->Calls().size(), static_cast<std::size_t>(raceRounds));
}

TEST(ReflectedImages, MayChangeWhileAWholeOneIsTold)
{
    const auto small = SharedImage(3, 2);
    const auto large = SharedImage(30, 20);
    const auto reflector = NewReflector();
    const auto client = New<Client>();
    DWORD cookie = 0;
    ASSERT_HR(S_OK, EventsOf(reflector.Get())->Advise(client.Get(), &cookie));
    // Only a foreign image gives its subscriber away.
    const auto foreign = New<ForeignImage>();
    ASSERT_HR(S_OK, reflector->Connect(foreign.Get()));
    const ComPtr<ITavloEvents> sink = foreign->handler;
    std::atomic<bool> ends = false;
    AtOnce(
        [&] {
            for (int i = 0; i < raceRounds / 10; ++i) {
                EXPECT_HR(S_OK, reflector->Connect(i % 2 == 0 ? small.Get() : large.Get()));
                EXPECT_HR(S_OK, i % 8 == 7 ? reflector->Disconnect() : S_OK);
            }
            ends = true;
        },
        [&] {
            while (!ends) {
                const HRESULT hr = sink->OnImageUpdate(nullptr, nullptr);
                EXPECT_TRUE(hr == S_OK || hr == E_UNEXPECTED) << Result{hr};
            }
        });
    for (const auto& call : client->Calls()) {
        const RECT whole = EdgesOf(call.rectangle.Get());
        EXPECT_TRUE((whole == RECT{0, 0, 3, 2}) || (whole == RECT{0, 0, 30, 20}) ||
                    (whole == RECT{0, 0, 640, 480}))
            << testing::PrintToString(whole);
    }
    EXPECT_HR(S_OK, reflector->Disconnect());
}
