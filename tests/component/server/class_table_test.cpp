// The rules of QueryInterface, of class factories and of object safety, for every class
// of the component alike.
#include "tests/component/events/reflector_test.h"
#include "tests/component/outer_object.h"
#include "tests/component/server/component_classes.h"

#include "SentelCommon.h"

#include <algorithm>

namespace {

ComPtr<IUnknown> Query(IUnknown* object, REFIID iid)
{
    ComPtr<IUnknown> found;
    EXPECT_HR(S_OK, object->QueryInterface(iid, reinterpret_cast<void**>(found.GetAddressOf())));
    return found;
}

/// The pointer that a refused query leaves.
void* Refused(IUnknown* object, const NamedInterface& lacking)
{
    void* result = &result;
    EXPECT_HR(E_NOINTERFACE, object->QueryInterface(lacking.iid, &result)) << lacking.name;
    return result;
}

bool Publishes(const ComponentClass& c, REFIID iid)
{
    return std::any_of(c.interfaces.begin(), c.interfaces.end(),
                       [&](const NamedInterface& published) { return IsEqualIID(published.iid, iid); });
}

std::vector<NamedInterface> Lacking(const ComponentClass& c)
{
    std::vector<NamedInterface> lacking;
    for (const NamedInterface& known : KnownInterfaces()) {
        if (!Publishes(c, known.iid))
            lacking.push_back(known);
    }
    return lacking;
}

/// From each published interface to each published one; the object's identity stays.
void ExpectOneObject(const ComponentClass& c, IUnknown* object, IUnknown* identity)
{
    for (const NamedInterface& from : c.interfaces) {
        SCOPED_TRACE(from.name);
        const ComPtr<IUnknown> start = Query(object, from.iid);
        ASSERT_NE(start.Get(), nullptr);
        EXPECT_EQ(Query(start.Get(), IID_IUnknown).Get(), identity);
        for (const NamedInterface& to : c.interfaces) {
            SCOPED_TRACE(to.name);
            const ComPtr<IUnknown> next = Query(start.Get(), to.iid);
            ASSERT_NE(next.Get(), nullptr);
            EXPECT_EQ(Query(next.Get(), IID_IUnknown).Get(), identity);
            EXPECT_EQ(Query(next.Get(), from.iid).Get(), start.Get()) << "and back to the same pointer";
        }
        for (const NamedInterface& lacking : Lacking(c))
            EXPECT_EQ(Refused(start.Get(), lacking), nullptr) << lacking.name;
        EXPECT_HR(E_POINTER, start->QueryInterface(from.iid, nullptr));
        EXPECT_HR(E_POINTER, start->QueryInterface(IID_IUnknown, nullptr));
    }
}

ComPtr<IClassFactory> FactoryOf(const ComponentClass& c)
{
    ComPtr<IClassFactory> factory;
    EXPECT_HR(S_OK, CoGetClassObject(c.clsid, CLSCTX_INPROC_SERVER, nullptr, IID_PPV_ARGS(&factory)));
    return factory;
}

void ExpectOneObject(IUnknown* object, std::vector<NamedInterface> interfaces)
{
    ExpectOneObject({"", {}, std::move(interfaces), false}, object, Query(object, IID_IUnknown).Get());
}

class EveryClass : public testing::TestWithParam<ComponentClass>
{
};

} // namespace

TEST_P(EveryClass, IsOneObjectThroughAllItsInterfaces)
{
    const auto object = Create<IUnknown>(GetParam().clsid);
    EXPECT_EQ(Query(object.Get(), IID_IUnknown).Get(), object.Get());
    ExpectOneObject(GetParam(), object.Get(), object.Get());
    object.Get()->AddRef();
    EXPECT_EQ(object.Get()->Release(), 1u) << "every query was one reference";
}

TEST_P(EveryClass, IsOneObjectWithItsOuterOne)
{
    OuterObject outer(GetParam().clsid);
    ExpectOneObject(GetParam(), &outer, &outer);
    EXPECT_EQ(outer.count, 1u) << "its interfaces are counted by the outer object";
    EXPECT_NE(outer.inner.Get(), static_cast<IUnknown*>(&outer));
    EXPECT_EQ(Query(outer.inner.Get(), IID_IUnknown).Get(), outer.inner.Get())
        << "the outer object keeps this one";
}

TEST_P(EveryClass, KeepsNoReferenceToItsOuterObject)
{
    OuterObject outer(GetParam().clsid);
    EXPECT_EQ(outer.count, 1u);
    const ComPtr<IUnknown> published = Query(outer.inner.Get(), GetParam().interfaces.front().iid);
    EXPECT_EQ(outer.count, 2u);
}

TEST_P(EveryClass, HasAFactoryThatIsAFactoryOnly)
{
    const auto factory = FactoryOf(GetParam());
    ASSERT_NE(factory.Get(), nullptr);
    EXPECT_EQ(Query(factory.Get(), IID_IUnknown).Get(), Query(factory.Get(), IID_IClassFactory).Get());
    for (const NamedInterface& known : KnownInterfaces()) {
        if (!IsEqualIID(known.iid, IID_IClassFactory)) {
            EXPECT_EQ(Refused(factory.Get(), known), nullptr) << known.name;
        }
    }
    EXPECT_HR(E_POINTER, factory->QueryInterface(IID_IClassFactory, nullptr));
    EXPECT_HR(S_OK, factory->LockServer(TRUE));
    EXPECT_HR(S_OK, factory->LockServer(FALSE));
}

TEST_P(EveryClass, IsMadeThroughAnyOfItsInterfaces)
{
    const auto factory = FactoryOf(GetParam());
    for (const NamedInterface& published : GetParam().interfaces) {
        ComPtr<IUnknown> object;
        EXPECT_HR(S_OK, factory->CreateInstance(nullptr, published.iid,
                                                reinterpret_cast<void**>(object.GetAddressOf())))
            << published.name;
    }
    for (const NamedInterface& lacking : Lacking(GetParam())) {
        void* object = &object;
        EXPECT_HR(E_NOINTERFACE, factory->CreateInstance(nullptr, lacking.iid, &object)) << lacking.name;
        EXPECT_EQ(object, nullptr);
    }
    EXPECT_HR(E_POINTER, factory->CreateInstance(nullptr, IID_IUnknown, nullptr));
}

TEST_P(EveryClass, IsAggregatedThroughIUnknownOnly)
{
    const auto factory = FactoryOf(GetParam());
    OuterObject outer(GetParam().clsid);
    for (const NamedInterface& published : GetParam().interfaces) {
        void* object = &object;
        EXPECT_HR(CLASS_E_NOAGGREGATION, factory->CreateInstance(&outer, published.iid, &object))
            << published.name;
        EXPECT_EQ(object, nullptr);
    }
    EXPECT_HR(E_POINTER, factory->CreateInstance(&outer, IID_IUnknown, nullptr));
    ComPtr<IUnknown> inner;
    EXPECT_HR(S_OK,
              factory->CreateInstance(&outer, IID_IUnknown, reinterpret_cast<void**>(inner.GetAddressOf())));
    EXPECT_EQ(outer.count, 1u);
}

TEST_P(EveryClass, IsSafeForScriptsWhenItSaysSo)
{
    const auto object = Create<IUnknown>(GetParam().clsid);
    ComPtr<IObjectSafety> safety;
    const HRESULT hr = object.As(&safety);
    ASSERT_HR((GetParam().safeForScripts ? S_OK : E_NOINTERFACE), hr);
    if (FAILED(hr))
        return;
    constexpr DWORD both = INTERFACESAFE_FOR_UNTRUSTED_CALLER | INTERFACESAFE_FOR_UNTRUSTED_DATA;
    DWORD supported = 0;
    DWORD enabled = 9;
    for (const NamedInterface& published : GetParam().interfaces) {
        EXPECT_HR(S_OK, safety->GetInterfaceSafetyOptions(published.iid, &supported, &enabled))
            << published.name;
        EXPECT_EQ(supported, both);
        EXPECT_EQ(enabled, 0u);
    }
    EXPECT_HR(S_OK, safety->SetInterfaceSafetyOptions(IID_IDispatch, both, both));
    EXPECT_HR(S_OK, safety->GetInterfaceSafetyOptions(IID_IDispatch, &supported, &enabled));
    EXPECT_EQ(enabled, both);
    EXPECT_HR(S_OK, safety->SetInterfaceSafetyOptions(IID_IDispatch, both, 0));
    EXPECT_HR(E_FAIL, safety->SetInterfaceSafetyOptions(IID_IDispatch, both + 4, 0)) << "an unknown option";
    for (const NamedInterface& lacking : Lacking(GetParam())) {
        EXPECT_HR(E_NOINTERFACE, safety->GetInterfaceSafetyOptions(lacking.iid, &supported, &enabled))
            << lacking.name;
        EXPECT_HR(E_NOINTERFACE, safety->SetInterfaceSafetyOptions(lacking.iid, both, both)) << lacking.name;
    }
}

INSTANTIATE_TEST_SUITE_P(Component, EveryClass, testing::ValuesIn(ComponentClasses()),
                         [](const auto& c) { return std::string(c.param.name); });

TEST(EveryObjectHandedOut, IsOneObjectThroughAllItsInterfaces)
{
    const TavloDescriptorData grey = {1, 1, 8, Tavlo_Unsigned, 0, 1, 1};
    ComPtr<ILUTRecode> recoder;
    ASSERT_HR(S_OK, Create<IRecode>(CLSID_CoRecoder)->CreateLUTRecoder(&grey, &grey, &recoder));
    ExpectOneObject(recoder.Get(), {{"ILUTRecode", IID_ILUTRecode}});

    const ReflectedImage reflected;
    ExpectOneObject(reflected.events.Get(), {{"IConnectionPoint", IID_IConnectionPoint}});
    ComPtr<IEnumConnections> connections;
    ASSERT_HR(S_OK, reflected.events->EnumConnections(&connections));
    ExpectOneObject(connections.Get(), {{"IEnumConnections", IID_IEnumConnections}});
    ComPtr<IConnectionPointContainer> container;
    ASSERT_HR(S_OK, reflected.reflector.As(&container));
    ComPtr<IEnumConnectionPoints> points;
    ASSERT_HR(S_OK, container->EnumConnectionPoints(&points));
    ExpectOneObject(points.Get(), {{"IEnumConnectionPoints", IID_IEnumConnectionPoints}});

    const auto client = New<Client>();
    reflected.Advise(client);
    ASSERT_HR(S_OK, reflected.Raise({1, 2, 3, 4}));
    ExpectOneObject(
        client->Calls().at(0).rectangle.Get(),
        {{"IRectangle", IID_IRectangle}, {"IRectangleInt", IID_IRectangleInt}, {"IDispatch", IID_IDispatch}});
}

TEST(EveryObjectHandedOut, OfAnImageIsAnObjectOfItsClass)
{
    const auto image = GreyImage(2, 2, Tavlo_MultipleWriters);
    ComPtr<IReadAccessor> reader;
    ASSERT_HR(S_OK, image->GetReadAccess(nullptr, 1.0, &reader));
    ComPtr<IWriteAccessor> writer;
    ASSERT_HR(S_OK, image->GetWriteAccess(&writer));
    ComPtr<ITavlo2> clone;
    ASSERT_HR(S_OK, image->Clone(Tavlo_ReadOnly, &clone));
    ComPtr<ITavloDescriptor2> one;
    ASSERT_HR(S_OK, image->get_Descriptor(&one));
    ComPtr<ITavlo> plain;
    ASSERT_HR(S_OK, image.As(&plain));
    ComPtr<ITavloDescriptor> several;
    ASSERT_HR(S_OK, plain->get_Descriptor(&several));

    const struct
    {
        const char* name;
        IUnknown* object;
    } objects[] = {{"ReadAccessor", reader.Get()},  {"WriteAccessor", writer.Get()},
                   {"Tavlo", image.Get()},          {"Tavlo", clone.Get()},
                   {"TavloDescriptor2", one.Get()}, {"TavloDescriptor", several.Get()}};
    for (const auto& [name, object] : objects) {
        SCOPED_TRACE(name);
        const auto& classes = ComponentClasses();
        const auto c =
            std::find_if(classes.begin(), classes.end(),
                         [&, wanted = std::string(name)](const auto& other) { return other.name == wanted; });
        ExpectOneObject(*c, object, Query(object, IID_IUnknown).Get());
    }
}
