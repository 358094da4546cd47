/* Included ahead of the generated proxy code, which is C. */
#ifndef TAVLO_PROXY_H
#define TAVLO_PROXY_H

/* A macro of braces and an order of headers that the formatter must leave alone. */
/* clang-format off */

/* The class that the proxies and stubs of all our interfaces are registered under. */
#define PROXY_CLSID_IS {0xa726a527,0x3399,0x408b,{0x9f,0x6e,0x8f,0xd1,0xce,0x81,0x4e,0x34}}

/* Not rpcproxy.h: the generated code defines what decides on its structures first. */
#include <windows.h>
#include <objbase.h>
/* clang-format on */

/* mingw-w64's headers declare these to C++ only. */
HRESULT STDMETHODCALLTYPE IUnknown_QueryInterface_Proxy(IUnknown* This, REFIID riid, void** ppvObject);
ULONG STDMETHODCALLTYPE IUnknown_AddRef_Proxy(IUnknown* This);
ULONG STDMETHODCALLTYPE IUnknown_Release_Proxy(IUnknown* This);

#endif
