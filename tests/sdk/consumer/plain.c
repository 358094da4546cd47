/* A program in C. */
#define COBJMACROS
#include <TavloLib.h>

#include <stdio.h>

int main(void)
{
    ITavloDescriptor2* descriptor = NULL;
    LONG stride = 0;
    HRESULT result;

    CoInitializeEx(NULL, COINIT_MULTITHREADED);
    result = CoCreateInstance(&CLSID_TavloDescriptor2, NULL, CLSCTX_INPROC_SERVER, &IID_ITavloDescriptor2,
                              (void**)&descriptor);
    if (SUCCEEDED(result)) {
        ITavloDescriptor2_put_Encoding(descriptor, Tavlo_RGB);
        ITavloDescriptor2_put_Width(descriptor, 10);
        ITavloDescriptor2_get_Stride_y(descriptor, &stride);
        ITavloDescriptor2_Release(descriptor);
    }
    CoUninitialize();
    printf("plain C: %ld bytes a row\n", (long)stride);
    return stride == 30 ? 0 : 1;
}
