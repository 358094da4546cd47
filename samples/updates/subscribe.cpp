// Subscribes to an image both ways, changes it twice and prints what arrives.
//
// Tavlo.dll and TavloPS.dll must be registered.
#include "TavloLib.h"

#include <windows.h>

#include <atomic>
#include <cstdio>
#include <wrl/client.h>

using Microsoft::WRL::ComPtr;

namespace {

/// Prints every update. The image counts its handlers' references like anybody else.
class Printer final : public ITavloEvents
{
public:
    explicit Printer(const char* name) : name_(name), updated_(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}
    Printer(const Printer&) = delete;
    Printer& operator=(const Printer&) = delete;

    // The image pointer is always null. A failure here would end the subscription.
    STDMETHODIMP OnImageUpdate(ITavlo*, RECT* dirty) override
    {
        std::printf("%s: (%ld, %ld) to (%ld, %ld), on %s thread\n", name_, dirty->left, dirty->top, dirty->right,
                    dirty->bottom, GetCurrentThreadId() == mainThread_ ? "the writer's" : "the image's worker");
        SetEvent(updated_);
        return S_OK;
    }

    void WaitForUpdate() const { WaitForSingleObject(updated_, INFINITE); }

    STDMETHODIMP QueryInterface(REFIID iid, void** result) override
    {
        const bool known = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_ITavloEvents);
        *result = known ? this : nullptr;
        if (known)
            AddRef();
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG left = --references_;
        if (left == 0)
            delete this;
        return left;
    }

private:
    ~Printer() { CloseHandle(updated_); }

    const char* name_;
    HANDLE updated_;
    std::atomic<ULONG> references_ = 0;
    const DWORD mainThread_ = GetCurrentThreadId();
};

HRESULT CreateImage(ComPtr<ITavlo2>& image)
{
    ComPtr<ITavloDescriptor2> descriptor;
    HRESULT hr = CoCreateInstance(CLSID_TavloDescriptor2, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&descriptor));
    if (FAILED(hr))
        return hr;
    descriptor->put_Encoding(Tavlo_Unsigned);
    descriptor->put_Width(640);
    descriptor->put_Height(480);
    ComPtr<ITavloFactory2> factory;
    hr = CoCreateInstance(CLSID_TavloFactory, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&factory));
    return SUCCEEDED(hr) ? factory->Create(descriptor.Get(), Tavlo_SingleWriter, &image) : hr;
}

HRESULT Run()
{
    ComPtr<ITavlo2> image;
    HRESULT hr = CreateImage(image);
    if (FAILED(hr))
        return hr;

    // Called at once, on the thread that changes the image. Keep such handlers short.
    const ComPtr<Printer> atOnce(new Printer("synchronous"));
    hr = image->Subscribe(atOnce.Get(), Tavlo_Synchronous);
    if (FAILED(hr))
        return hr;

    // Called a little later, on a thread of the image; the writer does not wait.
    const ComPtr<Printer> later(new Printer("asynchronous"));
    hr = image->Subscribe(later.Get(), Tavlo_Asynchronous);
    if (FAILED(hr))
        return hr;

    // Whoever writes pixels says where.
    ComPtr<IWriteAccessor> writer;
    hr = image->GetWriteAccess(&writer);
    if (FAILED(hr))
        return hr;
    *static_cast<unsigned char*>(writer->Ptr(20 * 640 + 10)) = 255;
    RECT dirty = {10, 20, 30, 40};
    writer->Invalidate(&dirty);
    later->WaitForUpdate(); // or the next update would be merged with this one

    // No rectangle means all of the image.
    writer->Invalidate(nullptr);
    later->WaitForUpdate();

    image->Unsubscribe(atOnce.Get());
    image->Unsubscribe(later.Get());
    return S_OK;
}

} // namespace

int main()
{
    HRESULT hr = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    if (SUCCEEDED(hr)) {
        hr = Run();
        CoUninitialize();
    }
    if (FAILED(hr))
        std::printf("failed: 0x%08lx\n", static_cast<unsigned long>(hr));
    else
        std::puts("done");
    return SUCCEEDED(hr) ? 0 : 1;
}
