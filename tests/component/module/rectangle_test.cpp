#include "tests/component/events/reflector_test.h"

#include "SentelCommon.h"

#include <array>

namespace {

constexpr std::array<const wchar_t*, 4> edges = {L"Left", L"Top", L"Right", L"Bottom"};

/// The rectangle that an update with these edges carries.
ComPtr<IRectangle> Rectangle(RECT edge)
{
    const ReflectedImage reflected;
    const auto client = New<Client>();
    reflected.Advise(client);
    EXPECT_HR(S_OK, reflected.Raise(edge));
    return client->Calls().at(0).rectangle;
}

template <class Interface>
void SetEdges(Interface* rectangle, const RECT& to)
{
    EXPECT_HR(S_OK, rectangle->put_Left(to.left));
    EXPECT_HR(S_OK, rectangle->put_Top(to.top));
    EXPECT_HR(S_OK, rectangle->put_Right(to.right));
    EXPECT_HR(S_OK, rectangle->put_Bottom(to.bottom));
}

DISPID IdOf(IDispatch* object, const wchar_t* name)
{
    std::wstring text = name;
    LPOLESTR names = text.data();
    DISPID id = DISPID_UNKNOWN;
    EXPECT_HR(S_OK, object->GetIDsOfNames(IID_NULL, &names, 1, LOCALE_USER_DEFAULT, &id));
    return id;
}

long GetByName(IDispatch* object, const wchar_t* name)
{
    DISPPARAMS none = {};
    VARIANT value;
    VariantInit(&value);
    EXPECT_HR(S_OK, object->Invoke(IdOf(object, name), IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET,
                                   &none, &value, nullptr, nullptr));
    EXPECT_EQ(value.vt, VT_I4);
    return value.lVal;
}

void PutByName(IDispatch* object, const wchar_t* name, long to)
{
    VARIANTARG value;
    VariantInit(&value);
    value.vt = VT_I4;
    value.lVal = to;
    DISPID put = DISPID_PROPERTYPUT;
    DISPPARAMS parameters = {&value, &put, 1, 1};
    EXPECT_HR(S_OK, object->Invoke(IdOf(object, name), IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYPUT,
                                   &parameters, nullptr, nullptr, nullptr));
}

template <class Interface>
ComPtr<Interface> As(IUnknown* object)
{
    ComPtr<Interface> result;
    EXPECT_HR(S_OK, object->QueryInterface(IID_PPV_ARGS(&result)));
    return result;
}

} // namespace

TEST(Rectangle, HasTheEdgesOfTheUpdateThroughEitherInterface)
{
    const auto rectangle = Rectangle({1, 2, 3, 4});
    EXPECT_EQ(EdgesOf(rectangle.Get()), (RECT{1, 2, 3, 4}));
    EXPECT_EQ(EdgesOf(As<IRectangleInt>(rectangle.Get()).Get()), (RECT{1, 2, 3, 4}));
}

TEST(Rectangle, IsOneForBothInterfaces)
{
    const auto rectangle = Rectangle({1, 2, 3, 4});
    const auto integer = As<IRectangleInt>(rectangle.Get());
    SetEdges(rectangle.Get(), {5, 6, 7, 8});
    EXPECT_EQ(EdgesOf(integer.Get()), (RECT{5, 6, 7, 8}));
    SetEdges(integer.Get(), {-9, -10, -11, -12});
    EXPECT_EQ(EdgesOf(rectangle.Get()), (RECT{-9, -10, -11, -12}));
}

TEST(Rectangle, TakesEdgesInAnyOrder)
{
    const auto rectangle = Rectangle({0, 0, 0, 0});
    EXPECT_HR(S_OK, rectangle->put_Left(10));
    EXPECT_HR(S_OK, rectangle->put_Right(5));
    EXPECT_EQ(EdgesOf(rectangle.Get()), (RECT{10, 0, 5, 0}));
    const RECT crossed = {LONG_MAX, 3, LONG_MIN, -3};
    SetEdges(rectangle.Get(), crossed);
    EXPECT_EQ(EdgesOf(rectangle.Get()), crossed);
    EXPECT_EQ(EdgesOf(Rectangle(crossed).Get()), crossed);
}

TEST(Rectangle, RefusesNullOutPointers)
{
    const auto rectangle = Rectangle({1, 2, 3, 4});
    const auto integer = As<IRectangleInt>(rectangle.Get());
    EXPECT_HR(E_POINTER, rectangle->get_Left(nullptr));
    EXPECT_HR(E_POINTER, rectangle->get_Top(nullptr));
    EXPECT_HR(E_POINTER, rectangle->get_Right(nullptr));
    EXPECT_HR(E_POINTER, rectangle->get_Bottom(nullptr));
    EXPECT_HR(E_POINTER, integer->get_Left(nullptr));
    EXPECT_HR(E_POINTER, integer->get_Top(nullptr));
    EXPECT_HR(E_POINTER, integer->get_Right(nullptr));
    EXPECT_HR(E_POINTER, integer->get_Bottom(nullptr));
    EXPECT_EQ(EdgesOf(rectangle.Get()), (RECT{1, 2, 3, 4}));
}

TEST(Rectangle, IsReadAndWrittenByName)
{
    const auto rectangle = Rectangle({1, 2, 3, 4});
    const auto integer = As<IRectangleInt>(rectangle.Get());
    for (IDispatch* object :
         {static_cast<IDispatch*>(rectangle.Get()), static_cast<IDispatch*>(integer.Get())}) {
        SetEdges(rectangle.Get(), {1, 2, 3, 4});
        for (size_t i = 0; i < edges.size(); ++i)
            EXPECT_EQ(GetByName(object, edges[i]), static_cast<long>(i) + 1);
        for (size_t i = 0; i < edges.size(); ++i)
            PutByName(object, edges[i], static_cast<long>(i) - 50);
        EXPECT_EQ(EdgesOf(rectangle.Get()), (RECT{-50, -49, -48, -47}));
        EXPECT_EQ(GetByName(object, L"bottom"), -47) << "names have no case";
    }
}

TEST(Rectangle, ConvertsWhatAScriptPuts)
{
    const auto rectangle = Rectangle({1, 2, 3, 4});
    VARIANTARG value;
    VariantInit(&value);
    value.vt = VT_R8;
    value.dblVal = 17.0;
    DISPID put = DISPID_PROPERTYPUT;
    DISPPARAMS parameters = {&value, &put, 1, 1};
    EXPECT_HR(S_OK, rectangle->Invoke(IdOf(rectangle.Get(), L"Top"), IID_NULL, LOCALE_USER_DEFAULT,
                                      DISPATCH_PROPERTYPUT, &parameters, nullptr, nullptr, nullptr));
    EXPECT_EQ(EdgesOf(rectangle.Get()), (RECT{1, 17, 3, 4}));
}

TEST(Rectangle, KnowsItsInterfacesAndNoOther)
{
    const auto rectangle = Rectangle({1, 2, 3, 4});
    const auto integer = As<IRectangleInt>(rectangle.Get());
    EXPECT_EQ(As<IUnknown>(rectangle.Get()).Get(), As<IUnknown>(integer.Get()).Get());
    EXPECT_EQ(As<IRectangle>(integer.Get()).Get(), rectangle.Get());
    EXPECT_EQ(As<IDispatch>(integer.Get()).Get(), static_cast<IDispatch*>(rectangle.Get()));
    void* other = rectangle.Get();
    EXPECT_HR(E_NOINTERFACE, rectangle->QueryInterface(IID_ITavlo2, &other));
    EXPECT_EQ(other, nullptr);
    EXPECT_HR(E_POINTER, rectangle->QueryInterface(IID_IRectangle, nullptr));
}

TEST(Rectangle, IsDescribedByTheCommonTypeLibrary)
{
    const auto rectangle = Rectangle({1, 2, 3, 4});
    const auto integer = As<IRectangleInt>(rectangle.Get());
    const std::array<std::pair<IDispatch*, IID>, 2> described = {
        {{rectangle.Get(), IID_IRectangle}, {integer.Get(), IID_IRectangleInt}}};
    for (const auto& [object, iid] : described) {
        UINT count = 0;
        EXPECT_HR(S_OK, object->GetTypeInfoCount(&count));
        EXPECT_EQ(count, 1u);
        EXPECT_HR(E_POINTER, object->GetTypeInfoCount(nullptr));
        ComPtr<ITypeInfo> info;
        ASSERT_HR(S_OK, object->GetTypeInfo(0, LOCALE_USER_DEFAULT, &info));
        TYPEATTR* type = nullptr;
        ASSERT_HR(S_OK, info->GetTypeAttr(&type));
        EXPECT_TRUE(IsEqualGUID(type->guid, iid));
        info->ReleaseTypeAttr(type);

        ComPtr<ITypeLib> library;
        UINT index = 0;
        ASSERT_HR(S_OK, info->GetContainingTypeLib(&library, &index));
        TLIBATTR* attributes = nullptr;
        ASSERT_HR(S_OK, library->GetLibAttr(&attributes));
        EXPECT_TRUE(IsEqualGUID(attributes->guid, LIBID_CommonSentelLib));
        EXPECT_EQ(attributes->wMajorVerNum, 1);
        EXPECT_EQ(attributes->wMinorVerNum, 0);
        library->ReleaseTLibAttr(attributes);

        EXPECT_HR(DISP_E_BADINDEX, object->GetTypeInfo(1, LOCALE_USER_DEFAULT, &info));
    }
}

TEST(Rectangle, LivesByItsReferencesAlone)
{
    const Module module;
    auto rectangle = Rectangle({1, 2, 3, 4});
    EXPECT_HR(S_FALSE, module.CanUnload());
    rectangle.Reset();
    EXPECT_TRUE(module.BecomesUnused());
}
