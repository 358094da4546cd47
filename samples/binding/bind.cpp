// Binds to an image that another process publishes, reads it, and waits for an update.
//
//     tavlo publish scan.png --name scan          (in one console)
//     bind_sample scan                            (in another)
//     tavlo paint scan                            (in a third)
//
// Tavlo.dll and TavloPS.dll must be registered: tavlo register.
#include "TavloLib.h"

#include <windows.h>

#include <atomic>
#include <cstdio>
#include <string>
#include <wrl/client.h>

using Microsoft::WRL::ComPtr;

namespace {

/// Published images are in the running object table as items named "Tavlo." and their name.
/// Names beyond ASCII are written there as % and two hexadecimal digits for each byte of
/// their UTF-8, as are '%' and '!'.
HRESULT Bind(const std::wstring& name, ComPtr<ITavlo2>& image)
{
    ComPtr<IRunningObjectTable> table;
    HRESULT hr = GetRunningObjectTable(0, &table);
    if (FAILED(hr))
        return hr;
    ComPtr<IMoniker> moniker;
    hr = CreateItemMoniker(L"!", (L"Tavlo." + name).c_str(), &moniker);
    if (FAILED(hr))
        return hr;
    ComPtr<IUnknown> object;
    hr = table->GetObject(moniker.Get(), &object); // MK_E_UNAVAILABLE: nobody publishes that
    return SUCCEEDED(hr) ? object.As(&image) : hr;
}

/// Keeps the first update for whoever waits for it. Called by the publishing process, on a
/// thread of the component runtime: in the multithreaded apartment that may be any thread.
class FirstUpdate final : public ITavloEvents
{
public:
    FirstUpdate() : came_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
    FirstUpdate(const FirstUpdate&) = delete;
    FirstUpdate& operator=(const FirstUpdate&) = delete;

    STDMETHODIMP OnImageUpdate(ITavlo*, RECT* dirty) override
    {
        if (WaitForSingleObject(came_, 0) != WAIT_OBJECT_0) {
            dirty_ = *dirty;
            SetEvent(came_);
        }
        return S_OK; // a failure would end the subscription
    }

    RECT Wait() const
    {
        WaitForSingleObject(came_, INFINITE);
        return dirty_;
    }

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
    ~FirstUpdate() { CloseHandle(came_); }

    HANDLE came_;
    RECT dirty_ = {};
    std::atomic<ULONG> references_ = 0;
};

HRESULT Run(const std::wstring& name)
{
    ComPtr<ITavlo2> image;
    HRESULT hr = Bind(name, image);
    if (FAILED(hr))
        return hr;

    // The image is a proxy from here on; every call goes to its process and may fail with
    // that process. Descriptors travel by value, so this is one call.
    ComPtr<ITavloDescriptor2> descriptor;
    hr = image->get_Descriptor(&descriptor);
    if (FAILED(hr))
        return hr;
    LONG width = 0, height = 0, offset = 0;
    descriptor->get_Width(&width);
    descriptor->get_Height(&height);
    descriptor->get_Offset(&offset);
    std::printf("bound to %ld x %ld pixels\n", width, height);

    // An accessor travels by value too: the memory is mapped into this process, and reading
    // it costs no call.
    ComPtr<IReadAccessor> reader;
    hr = image->GetReadAccess(nullptr, 1.0, &reader);
    if (FAILED(hr))
        return hr;
    const auto* first = static_cast<const unsigned char*>(reader->Ptr(offset));
    std::printf("the first byte is %d\n", *first);

    // Asynchronous: the process that changes the image does not wait for this one.
    const ComPtr<FirstUpdate> update(new FirstUpdate);
    hr = image->Subscribe(update.Get(), Tavlo_Asynchronous);
    if (FAILED(hr))
        return hr;
    std::puts("waiting for an update");
    std::fflush(stdout);
    const RECT dirty = update->Wait();
    std::printf("updated: (%ld, %ld) to (%ld, %ld), the first byte is %d\n", dirty.left, dirty.top,
                dirty.right, dirty.bottom, *first);
    return image->Unsubscribe(update.Get());
}

} // namespace

int wmain(int count, wchar_t** arguments)
{
    if (count != 2) {
        std::puts("usage: bind_sample NAME");
        return 2;
    }
    HRESULT hr = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    if (SUCCEEDED(hr)) {
        hr = Run(arguments[1]);
        CoUninitialize();
    }
    if (FAILED(hr))
        std::printf("failed: 0x%08lx\n", static_cast<unsigned long>(hr));
    else
        std::puts("done");
    return SUCCEEDED(hr) ? 0 : 1;
}
