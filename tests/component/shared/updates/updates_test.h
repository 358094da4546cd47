#pragma once

#include "tests/component/component_test.h"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <ostream>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

/// How long a test waits for what must come. Only a fault lets this time pass.
constexpr DWORD limit = 60000;

inline bool operator==(const RECT& a, const RECT& b)
{
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

inline void PrintTo(const RECT& rect, std::ostream* out)
{
    *out << "{" << rect.left << ", " << rect.top << ", " << rect.right << ", " << rect.bottom << "}";
}

/// An event that stays set.
class Signal
{
public:
    Signal() : event_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
    ~Signal() { CloseHandle(event_); }
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;

    void Set() { SetEvent(event_); }
    bool IsSet() const { return WaitForSingleObject(event_, 0) == WAIT_OBJECT_0; }

    /// False when the limit has passed.
    bool Wait() const { return WaitFor(limit); }
    bool WaitFor(DWORD milliseconds) const
    {
        return WaitForSingleObject(event_, milliseconds) == WAIT_OBJECT_0;
    }

private:
    HANDLE event_;
};

/// Asks until the condition holds, for states that nobody announces; false when the limit
/// has passed.
template <class Condition>
bool Becomes(Condition condition)
{
    const ULONGLONG end = GetTickCount64() + limit;
    while (!condition()) {
        if (GetTickCount64() >= end)
            return false;
        Sleep(1);
    }
    return true;
}

/// The same in a single-threaded apartment, which takes calls meanwhile.
template <class Condition>
bool BecomesWhilePumping(Condition condition)
{
    return Becomes([&] {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE)
            DispatchMessageW(&message);
        return condition();
    });
}

/// Owns the reference that a new object starts with.
template <class T, class... Arguments>
ComPtr<T> New(Arguments&&... arguments)
{
    ComPtr<T> object;
    *object.GetAddressOf() = new T(std::forward<Arguments>(arguments)...);
    return object;
}

/// The base of the tests' own objects: counts references, and all such objects.
template <class... Interfaces>
class ClientObject : public Interfaces...
{
public:
    ClientObject(const ClientObject&) = delete;
    ClientObject& operator=(const ClientObject&) = delete;

    STDMETHODIMP QueryInterface(REFIID iid, void** result) override
    {
        if (result == nullptr)
            return E_POINTER;
        IUnknown* found = Find(iid);
        *result = found;
        if (found == nullptr)
            return E_NOINTERFACE;
        found->AddRef();
        return S_OK;
    }

    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }

    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG left = --references_;
        if (left == 0)
            delete this;
        return left;
    }

    ULONG References() const { return references_; }

protected:
    ClientObject() = default;
    virtual ~ClientObject() = default;

    virtual IUnknown* Find(REFIID iid)
    {
        IUnknown* found = nullptr;
        const auto match = [&](auto* object) {
            using Interface = std::remove_pointer_t<decltype(object)>;
            if (found == nullptr && (IsEqualIID(iid, __uuidof(Interface)) || IsEqualIID(iid, IID_IUnknown)))
                found = object;
        };
        (match(static_cast<Interfaces*>(this)), ...);
        return found;
    }

private:
    std::atomic<ULONG> references_ = 1;
};

/// A handler of updates that writes down what it is told, and then does what the test
/// wants.
class Handler : public ClientObject<ITavloEvents>
{
public:
    using Reaction = std::function<HRESULT(const RECT&)>;

    /// gone is set when the handler dies.
    explicit Handler(Reaction reaction = {}, Signal* gone = nullptr)
        : reaction_(std::move(reaction)), gone_(gone)
    {
    }

    STDMETHODIMP OnImageUpdate(ITavlo* image, RECT* dirty) override
    {
        {
            const std::lock_guard lock(mutex_);
            received_.push_back(*dirty);
            threads_.push_back(GetCurrentThreadId());
            sawImage_ = sawImage_ || image != nullptr;
        }
        came_.notify_all();
        return reaction_ ? reaction_(*dirty) : S_OK;
    }

    /// Waits for this many updates since the beginning; false when the limit has passed.
    bool Receives(size_t count)
    {
        std::unique_lock lock(mutex_);
        return came_.wait_for(lock, std::chrono::milliseconds(limit),
                              [&] { return received_.size() >= count; });
    }

    std::vector<RECT> Received() const
    {
        const std::lock_guard lock(mutex_);
        return received_;
    }

    std::vector<DWORD> Threads() const
    {
        const std::lock_guard lock(mutex_);
        return threads_;
    }

    bool SawImage() const { return sawImage_; }

protected:
    ~Handler() override
    {
        if (gone_ != nullptr)
            gone_->Set();
    }

private:
    const Reaction reaction_;
    Signal* const gone_;
    mutable std::mutex mutex_;
    std::condition_variable came_;
    std::vector<RECT> received_;
    std::vector<DWORD> threads_;
    std::atomic<bool> sawImage_ = false;
};

/// A handler that keeps everybody in it from its first update on until the test lets go.
class Holder final : public Handler
{
public:
    explicit Holder(Signal* gone = nullptr) : Handler({}, gone) {}

    STDMETHODIMP OnImageUpdate(ITavlo* image, RECT* dirty) override
    {
        const HRESULT hr = Handler::OnImageUpdate(image, dirty);
        entered.Set();
        return leave.Wait() ? hr : E_FAIL;
    }

    Signal entered;
    Signal leave;
};

/// A small image that everybody may write.
inline ComPtr<ITavlo2> SharedImage(long width = 64, long height = 48)
{
    return GreyImage(width, height, Tavlo_MultipleWriters);
}

inline HRESULT Invalidate(ITavlo2* image, RECT* dirty)
{
    ComPtr<IWriteAccessor> writer;
    const HRESULT hr = image->GetWriteAccess(&writer);
    return SUCCEEDED(hr) ? writer->Invalidate(dirty) : hr;
}

inline HRESULT Invalidate(const ComPtr<ITavlo2>& image, RECT dirty)
{
    return Invalidate(image.Get(), &dirty);
}

/// A handler that tells when another thread first takes a reference: the worker does so
/// when it comes to the handler's subscription.
class Marker final : public Handler
{
public:
    STDMETHODIMP QueryInterface(REFIID iid, void** result) override
    {
        Note();
        return Handler::QueryInterface(iid, result);
    }

    STDMETHODIMP_(ULONG) AddRef() override
    {
        Note();
        return Handler::AddRef();
    }

    Signal reached;

private:
    void Note()
    {
        if (GetCurrentThreadId() != creator_)
            reached.Set();
    }

    const DWORD creator_ = GetCurrentThreadId();
};

/// Waits until the image's worker has done all that was queued before.
inline bool WorkerCatchesUp(const ComPtr<ITavlo2>& image)
{
    const auto marker = New<Marker>();
    const bool subscribed = SUCCEEDED(image->Subscribe(marker.Get(), Tavlo_Asynchronous));
    const bool reached = subscribed && marker->reached.Wait();
    image->Unsubscribe(marker.Get());
    return reached;
}

/// The component's DLL, which stays loaded meanwhile.
class Module
{
public:
    Module()
    {
        Create<ITavloFactory2>(CLSID_TavloFactory);
        GetModuleHandleExW(0, L"Tavlo.dll", &dll_);
    }

    ~Module() { FreeLibrary(dll_); }
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    HRESULT CanUnload() const
    {
        using Function = HRESULT(STDAPICALLTYPE*)();
        return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(dll_, "DllCanUnloadNow")))();
    }

    bool BecomesUnused() const
    {
        return Becomes([&] { return CanUnload() == S_OK; });
    }

private:
    HMODULE dll_ = nullptr;
};

/// Runs the body on a thread of its own in an apartment of this kind. A single-threaded
/// one must not end while a worker is about to call into it: see that its objects are
/// released before.
template <class Body>
std::thread InApartment(DWORD kind, Body body)
{
    return std::thread([kind, body = std::move(body)] {
        EXPECT_HR(S_OK, CoInitializeEx(nullptr, kind));
        body();
        CoUninitialize();
    });
}
