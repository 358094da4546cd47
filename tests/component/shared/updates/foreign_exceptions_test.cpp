// Handlers and other objects of clients that raise what no `catch` of the component's compiler sees, such as
// the C++ exceptions of another one.
#include "tests/component/events/reflector_test.h"

#include <stdexcept>

namespace {

/// As compilers other than the component's throw.
[[noreturn]] HRESULT RaiseForeign()
{
    constexpr DWORD otherCompilers = 0xE06D7363;
    RaiseException(otherCompilers, EXCEPTION_NONCONTINUABLE, 0, nullptr);
    std::abort();
}

HRESULT ReadNothing()
{
    return *reinterpret_cast<volatile HRESULT*>(8);
}

/// Ends the process with the code of what nobody has handled.
LONG CALLBACK EndWithItsCode(EXCEPTION_POINTERS* unhandled)
{
    TerminateProcess(GetCurrentProcess(), unhandled->ExceptionRecord->ExceptionCode);
    return EXCEPTION_CONTINUE_SEARCH;
}

/// For a process of its own: an update whose only handler reads what is not there.
void UpdateWithFault(EventMode mode)
{
    SetUnhandledExceptionFilter(EndWithItsCode);
    const auto image = SharedImage();
    const auto faulty = New<Handler>([](const RECT&) { return ReadNothing(); });
    const auto after = New<Handler>();
    image->Subscribe(faulty.Get(), mode);
    image->Subscribe(after.Get(), mode);
    Invalidate(image.Get(), nullptr);
    after->Receives(1);
    TerminateProcess(GetCurrentProcess(), 0);
}

bool IsAccessViolation(int status)
{
    return static_cast<DWORD>(status) == EXCEPTION_ACCESS_VIOLATION;
}

/// A descriptor of a client whose first property raises.
class RaisingDescriptor final : public ClientObject<ITavloDescriptor>
{
public:
    STDMETHODIMP get_Width(long*) override { return RaiseForeign(); }
    STDMETHODIMP put_Width(long) override { return E_NOTIMPL; }
    STDMETHODIMP get_Height(long*) override { return E_NOTIMPL; }
    STDMETHODIMP put_Height(long) override { return E_NOTIMPL; }
    STDMETHODIMP get_Channels(long*) override { return E_NOTIMPL; }
    STDMETHODIMP put_Channels(long) override { return E_NOTIMPL; }
    STDMETHODIMP get_Bits(long, long*) override { return E_NOTIMPL; }
    STDMETHODIMP put_Bits(long, long) override { return E_NOTIMPL; }
    STDMETHODIMP get_Encoding(long, TavloEncoding*) override { return E_NOTIMPL; }
    STDMETHODIMP put_Encoding(long, TavloEncoding) override { return E_NOTIMPL; }
    STDMETHODIMP get_Offset(long, long*) override { return E_NOTIMPL; }
    STDMETHODIMP put_Offset(long, long) override { return E_NOTIMPL; }
    STDMETHODIMP get_Stride_x(long, long*) override { return E_NOTIMPL; }
    STDMETHODIMP put_Stride_x(long, long) override { return E_NOTIMPL; }
    STDMETHODIMP get_Stride_y(long, long*) override { return E_NOTIMPL; }
    STDMETHODIMP put_Stride_y(long, long) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override
    {
        return E_NOTIMPL;
    }
};

/// An event sink that raises. Nothing of this compiler's is destroyed on the way, so it keeps nothing.
class RaisingSink final : public ClientObject<IDispatch>
{
public:
    STDMETHODIMP QueryInterface(REFIID iid, void** result) override
    {
        return ClientObject::QueryInterface(IsEqualIID(iid, DIID__ITavloEvents) ? IID_IDispatch : iid,
                                            result);
    }
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override
    {
        ++calls;
        return RaiseForeign();
    }

    int calls = 0;
};

/// A handler that can be asked for nothing.
class RaisingWhenAsked final : public Handler
{
public:
    STDMETHODIMP QueryInterface(REFIID, void**) override { return RaiseForeign(); }
};

} // namespace

class ForeignExceptions : public testing::TestWithParam<EventMode>
{
};

INSTANTIATE_TEST_SUITE_P(, ForeignExceptions, testing::Values(Tavlo_Synchronous, Tavlo_Asynchronous));

TEST_P(ForeignExceptions, EndTheSubscriptionOfTheirHandlerOnly)
{
    const auto image = SharedImage();
    const auto before = New<Handler>();
    const auto raising = New<Handler>([](const RECT&) { return RaiseForeign(); });
    const auto throwing =
        New<Handler>([](const RECT&) -> HRESULT { throw std::runtime_error("on purpose"); });
    const auto after = New<Handler>();
    for (const auto& handler : {before, raising, throwing, after})
        ASSERT_HR(S_OK, image->Subscribe(handler.Get(), GetParam()));
    for (size_t i = 1; i <= 3; ++i) {
        EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
        ASSERT_TRUE(after->Receives(i));
    }
    ASSERT_TRUE(WorkerCatchesUp(image));
    EXPECT_EQ(before->Received().size(), 3u);
    EXPECT_EQ(after->Received().size(), 3u);
    EXPECT_EQ(raising->Received().size(), 1u);
    EXPECT_EQ(raising->References(), 1u);
    EXPECT_EQ(throwing->Received().size(), 1u);
    EXPECT_EQ(throwing->References(), 1u);
}

TEST_P(ForeignExceptions, LeaveAnImageThatMayBeUpdatedFromItsHandlers)
{
    const auto image = SharedImage();
    int depth = 0;
    const auto nested = New<Handler>([&](const RECT&) {
        if (++depth < 5) {
            EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
        }
        return RaiseForeign();
    });
    const auto after = New<Handler>();
    for (const auto& handler : {nested, after})
        ASSERT_HR(S_OK, image->Subscribe(handler.Get(), GetParam()));
    EXPECT_HR(S_OK, Invalidate(image.Get(), nullptr));
    ASSERT_TRUE(WorkerCatchesUp(image));
    ASSERT_TRUE(after->Receives(1));
    EXPECT_EQ(nested->References(), 1u);
}

TEST(ForeignExceptionsOfClients, LeaveOtherClientsOfAReflectorTheirEvents)
{
    const ReflectedImage reflected;
    const auto first = New<Client>();
    const auto second = New<RaisingSink>();
    const auto third = New<Client>();
    DWORD cookie = 0;
    reflected.Advise(first);
    ASSERT_HR(S_OK, reflected.events->Advise(second.Get(), &cookie));
    reflected.Advise(third);
    EXPECT_HR(S_OK, reflected.Raise({1, 2, 3, 4}));
    EXPECT_HR(S_OK, reflected.Raise({1, 2, 3, 4}));
    EXPECT_EQ(first->Calls().size(), 2u);
    EXPECT_EQ(second->calls, 2);
    EXPECT_EQ(third->Calls().size(), 2u);
}

TEST(ForeignExceptionsOfClients, BecomeResultsOfTheCallThatAskedThem)
{
    DWORD cookie = 7;
    EXPECT_HR(E_UNEXPECTED, EventsOf(NewReflector().Get())->Advise(New<RaisingWhenAsked>().Get(), &cookie));
    EXPECT_EQ(cookie, 0u);
    ComPtr<ITavloFactory> factory = Create<ITavloFactory>(CLSID_TavloFactory);
    ComPtr<ITavlo> image;
    EXPECT_HR(E_UNEXPECTED, factory->Create(New<RaisingDescriptor>().Get(), Tavlo_SingleWriter, &image));
    EXPECT_EQ(TakeErrorDescription(), L"The called object raised the exception 0xE06D7363");
    EXPECT_EQ(image.Get(), nullptr);
}

TEST(ForeignExceptionsDeathTest, AreNoFaultsOfTheProcessor)
{
    EXPECT_EXIT(UpdateWithFault(Tavlo_Synchronous), IsAccessViolation, "");
    EXPECT_EXIT(UpdateWithFault(Tavlo_Asynchronous), IsAccessViolation, "");
}
