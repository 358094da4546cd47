#pragma once

#include "tests/component/shared/updates/updates_test.h"

#include "SentelCommon.h"

#include <string>

/// Of a rectangle object by either of its interfaces.
template <class Interface>
RECT EdgesOf(Interface* rectangle)
{
    RECT read = {-1, -1, -1, -1};
    EXPECT_HR(S_OK, rectangle->get_Left(&read.left));
    EXPECT_HR(S_OK, rectangle->get_Top(&read.top));
    EXPECT_HR(S_OK, rectangle->get_Right(&read.right));
    EXPECT_HR(S_OK, rectangle->get_Bottom(&read.bottom));
    return read;
}

/// A script's event handler as the reflector sees it: writes down every call.
class Client final : public ClientObject<IDispatch>
{
public:
    using Reaction = std::function<HRESULT()>;

    /// What one Invoke was given.
    struct Call
    {
        DISPID member;
        IID reserved;
        LCID locale;
        WORD flags;
        UINT arguments;
        UINT named;
        bool hasNames;
        VARTYPE type;
        ComPtr<IRectangle> rectangle;
        bool hasResult;
        VARTYPE resultType;
        bool hasException;
        DWORD thread;
    };

    explicit Client(Reaction reaction = {}) : reaction_(std::move(reaction)) {}

    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }

    STDMETHODIMP Invoke(DISPID member, REFIID reserved, LCID locale, WORD flags, DISPPARAMS* parameters,
                        VARIANT* result, EXCEPINFO* exception, UINT*) override
    {
        const VARIANTARG* argument = parameters->cArgs > 0 ? &parameters->rgvarg[0] : nullptr;
        Call call = {member,
                     reserved,
                     locale,
                     flags,
                     parameters->cArgs,
                     parameters->cNamedArgs,
                     parameters->rgdispidNamedArgs != nullptr,
                     argument != nullptr ? argument->vt : static_cast<VARTYPE>(VT_EMPTY),
                     {},
                     result != nullptr,
                     result != nullptr ? result->vt : static_cast<VARTYPE>(VT_EMPTY),
                     exception != nullptr,
                     GetCurrentThreadId()};
        if (call.type == VT_DISPATCH)
            argument->pdispVal->QueryInterface(IID_PPV_ARGS(&call.rectangle));
        if (result != nullptr && answer != nullptr) {
            result->vt = VT_UNKNOWN;
            answer.CopyTo(&result->punkVal);
        }
        {
            const std::lock_guard lock(mutex_);
            calls_.push_back(call);
        }
        came_.notify_all();
        return reaction_ ? reaction_() : S_OK;
    }

    STDMETHODIMP QueryInterface(REFIID iid, void** result) override
    {
        if (!IsEqualIID(iid, DIID__ITavloEvents))
            return ClientObject::QueryInterface(iid, result);
        if (SUCCEEDED(acceptance))
            return ClientObject::QueryInterface(IID_IDispatch, result);
        *result = nullptr;
        return acceptance;
    }

    bool Receives(size_t count)
    {
        std::unique_lock lock(mutex_);
        return came_.wait_for(lock, std::chrono::milliseconds(limit), [&] { return calls_.size() >= count; });
    }

    std::vector<Call> Calls() const
    {
        const std::lock_guard lock(mutex_);
        return calls_;
    }

    /// Lets the rectangles go that came with the calls.
    void Forget()
    {
        const std::lock_guard lock(mutex_);
        calls_.clear();
    }

    HRESULT acceptance = S_OK; ///< what a query for the event interface gives
    ComPtr<IUnknown> answer;   ///< what the event handler returns; null for nothing

private:
    const Reaction reaction_;
    mutable std::mutex mutex_;
    std::condition_variable came_;
    std::vector<Call> calls_;
};

/// An image that is not the component's: it notes what is asked of it, and lets the test
/// call its handler directly.
class ForeignImage final : public ClientObject<ITavlo2, ITavlo>
{
public:
    explicit ForeignImage(std::string name = "image", std::string* journal = nullptr)
        : name_(std::move(name)), journal_(journal)
    {
    }

    STDMETHODIMP Subscribe(ITavloEvents* pIHandler, EventMode mode) override
    {
        Note("subscribe");
        subscribedMode = mode;
        if (SUCCEEDED(subscribeResult))
            handler = pIHandler;
        return subscribeResult;
    }

    STDMETHODIMP Unsubscribe(ITavloEvents* pIHandler) override
    {
        Note("unsubscribe");
        if (SUCCEEDED(unsubscribeResult) && handler.Get() == pIHandler)
            handler.Reset();
        return unsubscribeResult;
    }

    STDMETHODIMP get_Descriptor(ITavloDescriptor** ppIDescriptor) override
    {
        *ppIDescriptor = nullptr;
        ++descriptorsRead;
        if (FAILED(descriptorResult))
            return descriptorResult;
        const auto descriptor = Create<ITavloDescriptor>(CLSID_TavloDescriptor);
        descriptor->put_Channels(1);
        descriptor->put_Width(640);
        descriptor->put_Height(480);
        return descriptor.CopyTo(ppIDescriptor);
    }

    STDMETHODIMP get_Descriptor(ITavloDescriptor2**) override { return E_NOTIMPL; }
    STDMETHODIMP GetReadAccess(RECT*, double, IReadAccessor**) override { return E_NOTIMPL; }
    STDMETHODIMP GetReadAccess(IReadAccessor**) override { return E_NOTIMPL; }
    STDMETHODIMP GetWriteAccess(IWriteAccessor**) override { return E_NOTIMPL; }
    STDMETHODIMP Clone(TavloAccess, ITavlo2**) override { return E_NOTIMPL; }
    STDMETHODIMP Clone(TavloAccess, ITavlo**) override { return E_NOTIMPL; }
    STDMETHODIMP Dispose() override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override
    {
        return E_NOTIMPL;
    }

    HRESULT subscribeResult = S_OK;
    HRESULT unsubscribeResult = S_OK;
    HRESULT descriptorResult = S_OK;
    int descriptorsRead = 0;
    EventMode subscribedMode = Tavlo_Synchronous;
    ComPtr<ITavloEvents> handler;

private:
    void Note(const char* what)
    {
        if (journal_ != nullptr)
            *journal_ += name_ + " " + what + "; ";
    }

    const std::string name_;
    std::string* const journal_;
};

inline ComPtr<ITavloEventsReflector> NewReflector()
{
    return Create<ITavloEventsReflector>(CLSID_TavloEventsReflector);
}

/// The reflector's connection point for its events.
inline ComPtr<IConnectionPoint> EventsOf(ITavloEventsReflector* reflector)
{
    ComPtr<IConnectionPointContainer> container;
    EXPECT_HR(S_OK, reflector->QueryInterface(IID_PPV_ARGS(&container)));
    ComPtr<IConnectionPoint> point;
    EXPECT_HR(S_OK, container->FindConnectionPoint(DIID__ITavloEvents, &point));
    return point;
}

/// A reflector that is connected to a foreign image, so that the test raises events on
/// its own thread.
struct ReflectedImage
{
    ReflectedImage() { EXPECT_HR(S_OK, reflector->Connect(image.Get())); }

    DWORD Advise(const ComPtr<Client>& client) const
    {
        DWORD cookie = 0;
        EXPECT_HR(S_OK, events->Advise(client.Get(), &cookie));
        return cookie;
    }

    HRESULT Raise(RECT dirty) const { return image->handler->OnImageUpdate(nullptr, &dirty); }

    const ComPtr<ITavloEventsReflector> reflector = NewReflector();
    const ComPtr<IConnectionPoint> events = EventsOf(reflector.Get());
    const ComPtr<ForeignImage> image = New<ForeignImage>();
};
