/* The calls that another process may not make as it likes. Within a process they go to the
   object itself; marshaled, they come through here, and the stubs, which run beside the object,
   look at them first. */
#include "TavloInternal.h"
#include "TavloLib.h"

/* Whether a buffer holds the pixels of a rectangle. Images tell the bits of a pixel; rectangles
   that are not the image's are for the object to refuse. */
static HRESULT CheckBlock(ITavloStub* object, const RECT* rect, LONG size)
{
    const ULONGLONG width = rect->right > rect->left ? (ULONGLONG)((LONGLONG)rect->right - rect->left) : 0;
    const ULONGLONG height = rect->bottom > rect->top ? (ULONGLONG)((LONGLONG)rect->bottom - rect->top) : 0;
    ITavloDescriptor* descriptor = NULL;
    LONG bits = 0;
    HRESULT hr = object->lpVtbl->get_Descriptor(object, &descriptor);
    if (FAILED(hr))
        return hr;
    hr = descriptor->lpVtbl->get_Bits(descriptor, 0, &bits);
    descriptor->lpVtbl->Release(descriptor);
    if (FAILED(hr))
        return hr;
    if (size < 0 || bits < 0)
        return E_INVALIDARG;
    /* Two numbers of 32 bits each fit one of 64; the bytes of a pixel might not as well. */
    return width * height <= (ULONGLONG)size / (((ULONGLONG)bits + 7) / 8 + (bits == 0)) ? S_OK
                                                                                         : E_INVALIDARG;
}

HRESULT STDMETHODCALLTYPE ITavloStub_GetData_Proxy(ITavloStub* This, RECT* pRect, LONG size,
                                                   unsigned char* data)
{
    return ITavloStub_RemoteGetData_Proxy(This, pRect, size, data);
}

HRESULT STDMETHODCALLTYPE ITavloStub_GetData_Stub(ITavloStub* This, RECT* pRect, LONG size,
                                                  unsigned char* data)
{
    HRESULT hr = pRect != NULL && data != NULL ? CheckBlock(This, pRect, size) : S_OK;
    if (SUCCEEDED(hr))
        hr = This->lpVtbl->GetData(This, pRect, size, data);
    /* What the buffer held before is nobody's business elsewhere. */
    if (FAILED(hr) && data != NULL && size > 0)
        ZeroMemory(data, (SIZE_T)size);
    return hr;
}

HRESULT STDMETHODCALLTYPE ITavloInternal_SetDisposalHook_Proxy(ITavloInternal* This, ULONG_PTR hook)
{
    return ITavloInternal_RemoteSetDisposalHook_Proxy(This, hook);
}

/* A hook is an address, which means something in its own process only. */
HRESULT STDMETHODCALLTYPE ITavloInternal_SetDisposalHook_Stub(ITavloInternal* This, ULONG_PTR hook)
{
    (void)This;
    (void)hook;
    return E_ACCESSDENIED;
}
