#include "tests/component/events/reflector_test.h"

#include <olectl.h>

namespace {

/// Sinks and cookies that an enumerator gives from where it stands.
std::vector<std::pair<IUnknown*, DWORD>> Rest(IEnumConnections* enumerator)
{
    std::vector<std::pair<IUnknown*, DWORD>> rest;
    CONNECTDATA data = {};
    while (enumerator->Next(1, &data, nullptr) == S_OK) {
        rest.emplace_back(data.pUnk, data.dwCookie);
        data.pUnk->Release();
    }
    return rest;
}

using Connections = std::vector<std::pair<IUnknown*, DWORD>>;

ComPtr<IEnumConnections> Enumerate(IConnectionPoint* point)
{
    ComPtr<IEnumConnections> enumerator;
    EXPECT_HR(S_OK, point->EnumConnections(&enumerator));
    return enumerator;
}

} // namespace

TEST(ConnectionPointContainer, KnowsTheEventsOnly)
{
    const auto reflector = NewReflector();
    ComPtr<IConnectionPointContainer> container;
    ASSERT_HR(S_OK, reflector.As(&container));
    ComPtr<IConnectionPoint> point;
    EXPECT_HR(S_OK, container->FindConnectionPoint(DIID__ITavloEvents, &point));
    EXPECT_NE(point.Get(), nullptr);
    IConnectionPoint* none = point.Get();
    EXPECT_HR(CONNECT_E_NOCONNECTION, container->FindConnectionPoint(IID_ITavloEvents, &none));
    EXPECT_EQ(none, nullptr);
    EXPECT_HR(CONNECT_E_NOCONNECTION, container->FindConnectionPoint(IID_IDispatch, &none));
    EXPECT_HR(E_POINTER, container->FindConnectionPoint(DIID__ITavloEvents, nullptr));
}

TEST(ConnectionPointContainer, ListsTheOnePoint)
{
    const auto reflector = NewReflector();
    ComPtr<IConnectionPointContainer> container;
    ASSERT_HR(S_OK, reflector.As(&container));
    EXPECT_HR(E_POINTER, container->EnumConnectionPoints(nullptr));
    ComPtr<IEnumConnectionPoints> enumerator;
    ASSERT_HR(S_OK, container->EnumConnectionPoints(&enumerator));
    IConnectionPoint* points[2] = {};
    ULONG fetched = 17;
    EXPECT_HR(S_FALSE, enumerator->Next(2, points, &fetched));
    ASSERT_EQ(fetched, 1u);
    EXPECT_EQ(points[0], EventsOf(reflector.Get()).Get());
    points[0]->Release();
    EXPECT_HR(S_FALSE, enumerator->Next(1, points, &fetched));
    EXPECT_EQ(fetched, 0u);
    EXPECT_HR(S_OK, enumerator->Reset());
    EXPECT_HR(S_OK, enumerator->Skip(1));
    EXPECT_HR(S_FALSE, enumerator->Skip(1));
    ComPtr<IEnumConnectionPoints> clone;
    EXPECT_HR(S_OK, enumerator->Clone(&clone));
    EXPECT_HR(S_FALSE, clone->Next(1, points, &fetched)) << "a clone stands where the original stood";
    EXPECT_HR(S_OK, clone->Reset());
    EXPECT_HR(S_OK, clone->Next(1, points, nullptr));
    points[0]->Release();
}

TEST(ConnectionPoint, IsAnIdentityOfItsOwnThatLeadsBack)
{
    const auto reflector = NewReflector();
    const auto point = EventsOf(reflector.Get());
    EXPECT_EQ(point.Get(), EventsOf(reflector.Get()).Get()) << "always the same";
    ComPtr<IUnknown> identity;
    ComPtr<IUnknown> owner;
    ASSERT_HR(S_OK, point.As(&identity));
    ASSERT_HR(S_OK, reflector.As(&owner));
    EXPECT_NE(identity.Get(), owner.Get());
    ComPtr<IConnectionPoint> again;
    ASSERT_HR(S_OK, identity.As(&again));
    EXPECT_EQ(again.Get(), point.Get());
    void* other = &other;
    EXPECT_HR(E_NOINTERFACE, point->QueryInterface(IID_ITavloEventsReflector, &other));
    EXPECT_EQ(other, nullptr);
    EXPECT_HR(E_POINTER, point->QueryInterface(IID_IUnknown, nullptr));

    ComPtr<IConnectionPointContainer> container;
    ASSERT_HR(S_OK, point->GetConnectionPointContainer(&container));
    ComPtr<IUnknown> containerIdentity;
    ASSERT_HR(S_OK, container.As(&containerIdentity));
    EXPECT_EQ(containerIdentity.Get(), owner.Get());
    EXPECT_HR(E_POINTER, point->GetConnectionPointContainer(nullptr));
}

TEST(ConnectionPoint, KeepsTheReflectorAlive)
{
    const Module module;
    auto reflector = NewReflector();
    const auto client = New<Client>();
    auto point = EventsOf(reflector.Get());
    reflector.Reset();
    DWORD cookie = 0;
    EXPECT_HR(S_OK, point->Advise(client.Get(), &cookie));
    point.Reset();
    EXPECT_EQ(client->References(), 1u) << "clients go with the reflector";
    EXPECT_TRUE(module.BecomesUnused());
}

TEST(ConnectionPoint, NamesItsInterface)
{
    const auto point = EventsOf(NewReflector().Get());
    IID iid = GUID_NULL;
    EXPECT_HR(S_OK, point->GetConnectionInterface(&iid));
    EXPECT_TRUE(IsEqualIID(iid, DIID__ITavloEvents));
    EXPECT_HR(E_POINTER, point->GetConnectionInterface(nullptr));
}

TEST(ConnectionPoint, GivesCookiesBySlotAndUsesFreedOnesAgain)
{
    const auto point = EventsOf(NewReflector().Get());
    const auto client = New<Client>();
    DWORD cookie = 0;
    for (DWORD expected = 1; expected <= 3; ++expected) {
        EXPECT_HR(S_OK, point->Advise(client.Get(), &cookie));
        EXPECT_EQ(cookie, expected);
    }
    EXPECT_HR(S_OK, point->Unadvise(1));
    EXPECT_HR(S_OK, point->Unadvise(2));
    for (const DWORD expected : {1u, 2u, 4u}) {
        EXPECT_HR(S_OK, point->Advise(client.Get(), &cookie));
        EXPECT_EQ(cookie, expected);
    }
    EXPECT_EQ(client->References(), 5u);
}

TEST(ConnectionPoint, GrowsAsFarAsItMust)
{
    const ReflectedImage reflected;
    std::vector<ComPtr<Client>> clients;
    for (DWORD i = 1; i <= 100; ++i) {
        clients.push_back(New<Client>());
        EXPECT_EQ(reflected.Advise(clients.back()), i);
    }
    EXPECT_HR(S_OK, reflected.Raise({1, 2, 3, 4}));
    for (const auto& client : clients)
        EXPECT_EQ(client->Calls().size(), 1u);
    for (DWORD i = 1; i <= 100; ++i)
        EXPECT_HR(S_OK, reflected.events->Unadvise(i));
    for (const auto& client : clients)
        EXPECT_EQ(client->References(), 1u);
    EXPECT_HR(S_OK, reflected.Raise({1, 2, 3, 4}));
    EXPECT_EQ(clients.front()->Calls().size(), 1u);
}

TEST(ConnectionPoint, HoldsOneReferencePerConnection)
{
    const auto point = EventsOf(NewReflector().Get());
    const auto client = New<Client>();
    DWORD cookie = 0;
    EXPECT_HR(S_OK, point->Advise(client.Get(), &cookie));
    EXPECT_EQ(client->References(), 2u);
    EXPECT_HR(S_OK, point->Unadvise(cookie));
    EXPECT_EQ(client->References(), 1u);
}

TEST(ConnectionPoint, RefusesNull)
{
    const auto point = EventsOf(NewReflector().Get());
    const auto client = New<Client>();
    DWORD cookie = 17;
    EXPECT_HR(E_POINTER, point->Advise(nullptr, &cookie));
    EXPECT_EQ(cookie, 0u);
    EXPECT_HR(E_POINTER, point->Advise(client.Get(), nullptr));
    EXPECT_HR(E_POINTER, point->Advise(nullptr, nullptr));
    EXPECT_HR(E_POINTER, point->EnumConnections(nullptr));
    EXPECT_EQ(client->References(), 1u);
}

TEST(ConnectionPoint, RefusesSinksThatDoNotHandleTheEvents)
{
    const auto point = EventsOf(NewReflector().Get());
    const auto client = New<Client>();
    const std::vector<std::pair<HRESULT, HRESULT>> refusals = {
        {E_NOINTERFACE, CONNECT_E_CANNOTCONNECT},
        {E_FAIL, E_FAIL},
        {E_OUTOFMEMORY, E_OUTOFMEMORY},
        {RPC_E_DISCONNECTED, RPC_E_DISCONNECTED},
    };
    for (const auto& [given, expected] : refusals) {
        client->acceptance = given;
        DWORD cookie = 17;
        EXPECT_HR(expected, point->Advise(client.Get(), &cookie));
        EXPECT_EQ(cookie, 0u);
    }
    client->acceptance = S_OK;
    DWORD cookie = 0;
    EXPECT_HR(S_OK, point->Advise(client.Get(), &cookie));
    EXPECT_EQ(cookie, 1u) << "a refusal takes no slot";
}

TEST(ConnectionPoint, KnowsOnlyCookiesOfOccupiedSlots)
{
    const auto point = EventsOf(NewReflector().Get());
    EXPECT_HR(CONNECT_E_NOCONNECTION, point->Unadvise(0));
    EXPECT_HR(CONNECT_E_NOCONNECTION, point->Unadvise(1));
    const auto client = New<Client>();
    DWORD cookie = 0;
    EXPECT_HR(S_OK, point->Advise(client.Get(), &cookie));
    for (const DWORD unknown : {0ul, 2ul, 0x80000000ul, 0xfffffffful})
        EXPECT_HR(CONNECT_E_NOCONNECTION, point->Unadvise(unknown));
    EXPECT_HR(S_OK, point->Unadvise(1));
    EXPECT_HR(CONNECT_E_NOCONNECTION, point->Unadvise(1));
}

TEST(ConnectionPoint, EnumeratesASnapshotOfOccupiedSlots)
{
    const auto point = EventsOf(NewReflector().Get());
    const auto a = New<Client>();
    const auto b = New<Client>();
    const auto c = New<Client>();
    DWORD cookie = 0;
    for (const auto& client : {a, b, c})
        EXPECT_HR(S_OK, point->Advise(client.Get(), &cookie));
    EXPECT_HR(S_OK, point->Unadvise(2));
    auto enumerator = Enumerate(point.Get());
    EXPECT_EQ(a->References(), 3u) << "the snapshot holds references of its own";
    EXPECT_HR(S_OK, point->Unadvise(1));
    EXPECT_HR(S_OK, point->Advise(b.Get(), &cookie));
    EXPECT_EQ(Rest(enumerator.Get()), (Connections{{a.Get(), 1}, {c.Get(), 3}}));
    EXPECT_EQ(Rest(Enumerate(point.Get()).Get()), (Connections{{b.Get(), 1}, {c.Get(), 3}}));
    enumerator.Reset();
    EXPECT_EQ(a->References(), 1u);
    EXPECT_EQ(c->References(), 2u);
}

TEST(ConnectionPoint, EnumeratesNothingWithoutClients)
{
    const auto enumerator = Enumerate(EventsOf(NewReflector().Get()).Get());
    CONNECTDATA data = {};
    ULONG fetched = 17;
    EXPECT_HR(S_FALSE, enumerator->Next(1, &data, &fetched));
    EXPECT_EQ(fetched, 0u);
    EXPECT_HR(S_OK, enumerator->Next(0, &data, &fetched));
    EXPECT_HR(S_OK, enumerator->Skip(0));
    EXPECT_HR(S_FALSE, enumerator->Skip(1));
}

TEST(ConnectionEnumerator, GoesSkipsAndStartsAgain)
{
    const auto point = EventsOf(NewReflector().Get());
    const auto client = New<Client>();
    DWORD cookie = 0;
    for (int i = 0; i < 5; ++i)
        EXPECT_HR(S_OK, point->Advise(client.Get(), &cookie));
    const auto enumerator = Enumerate(point.Get());
    const ULONG references = client->References();
    CONNECTDATA data[5] = {};
    ULONG fetched = 0;
    EXPECT_HR(E_POINTER, enumerator->Next(1, nullptr, &fetched));
    EXPECT_HR(E_POINTER, enumerator->Next(2, data, nullptr));
    EXPECT_HR(S_OK, enumerator->Next(2, data, &fetched));
    EXPECT_EQ(fetched, 2u);
    EXPECT_EQ(data[1].dwCookie, 2u);
    EXPECT_EQ(client->References(), references + 2) << "each entry comes with a reference";
    data[0].pUnk->Release();
    data[1].pUnk->Release();
    EXPECT_HR(S_OK, enumerator->Skip(1));
    EXPECT_EQ(Rest(enumerator.Get()), (Connections{{client.Get(), 4}, {client.Get(), 5}}));
    EXPECT_HR(S_OK, enumerator->Reset());
    EXPECT_HR(S_OK, enumerator->Skip(4));
    EXPECT_HR(S_FALSE, enumerator->Next(5, data, &fetched));
    EXPECT_EQ(fetched, 1u);
    EXPECT_EQ(data[0].dwCookie, 5u);
    data[0].pUnk->Release();
    EXPECT_HR(S_OK, enumerator->Reset());
    EXPECT_HR(S_FALSE, enumerator->Skip(6));
    EXPECT_TRUE(Rest(enumerator.Get()).empty());
}

TEST(ConnectionEnumerator, HasIndependentClones)
{
    const auto point = EventsOf(NewReflector().Get());
    const auto client = New<Client>();
    DWORD cookie = 0;
    for (int i = 0; i < 3; ++i)
        EXPECT_HR(S_OK, point->Advise(client.Get(), &cookie));
    auto enumerator = Enumerate(point.Get());
    EXPECT_HR(S_OK, enumerator->Skip(1));
    EXPECT_HR(E_POINTER, enumerator->Clone(nullptr));
    ComPtr<IEnumConnections> clone;
    ASSERT_HR(S_OK, enumerator->Clone(&clone));
    EXPECT_HR(S_OK, enumerator->Skip(2));
    enumerator.Reset();
    EXPECT_EQ(Rest(clone.Get()), (Connections{{client.Get(), 2}, {client.Get(), 3}}));
    clone.Reset();
    EXPECT_EQ(client->References(), 4u);
}

TEST(ConnectionEnumerator, OutlivesTheReflector)
{
    auto reflector = NewReflector();
    const auto client = New<Client>();
    auto point = EventsOf(reflector.Get());
    DWORD cookie = 0;
    EXPECT_HR(S_OK, point->Advise(client.Get(), &cookie));
    auto enumerator = Enumerate(point.Get());
    point.Reset();
    reflector.Reset();
    EXPECT_EQ(client->References(), 2u);
    EXPECT_EQ(Rest(enumerator.Get()), (Connections{{client.Get(), 1}}));
    enumerator.Reset();
    EXPECT_EQ(client->References(), 1u);
}

TEST(ConnectionPoint, TakesAndLosesClientsFromSeveralThreads)
{
    const ReflectedImage reflected;
    const auto permanent = New<Client>();
    EXPECT_EQ(reflected.Advise(permanent), 1u);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.push_back(InApartment(COINIT_MULTITHREADED, [&] {
            for (int i = 0; i < 300; ++i) {
                const auto client = New<Client>();
                const DWORD cookie = reflected.Advise(client);
                EXPECT_HR(S_OK, reflected.Raise({1, 2, 3, 4}));
                EXPECT_GE(client->Calls().size(), 1u);
                EXPECT_HR(S_OK, reflected.events->Unadvise(cookie));
            }
        }));
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(permanent->Calls().size(), 1200u);
    EXPECT_EQ(Rest(Enumerate(reflected.events.Get()).Get()), (Connections{{permanent.Get(), 1}}));
}
