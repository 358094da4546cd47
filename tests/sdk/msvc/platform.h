// Included before everything else by the check of the SDK as Microsoft's compiler takes it. The
// platform's headers here are Wine's and the standard library is LLVM's; this is what the two lack
// of what Microsoft's have. Nothing of it is for the SDK's headers themselves.
#pragma once

// A function that this compiler knows by itself and Wine's winnt.h defines.
#define _InterlockedCompareExchange128 InterlockedCompareExchange128_of_winnt
// WCHAR is wchar_t.
#define WINE_UNICODE_NATIVE

#ifdef __cplusplus
// Functions of the C library that are declared in Microsoft's math.h.
extern "C" {
#define UNARY(name) long double name##l(long double);
#define BINARY(name) long double name##l(long double, long double);
// clang-format off
UNARY(acos) UNARY(asin) UNARY(atan) UNARY(ceil) UNARY(cos) UNARY(cosh) UNARY(exp) UNARY(fabs) UNARY(floor)
UNARY(log) UNARY(log10) UNARY(sin) UNARY(sinh) UNARY(sqrt) UNARY(tan) UNARY(tanh) UNARY(acosh) UNARY(asinh)
UNARY(atanh) UNARY(cbrt) UNARY(erf) UNARY(erfc) UNARY(exp2) UNARY(expm1) UNARY(lgamma) UNARY(log1p) UNARY(log2)
UNARY(logb) UNARY(nearbyint) UNARY(tgamma) UNARY(rint) UNARY(round) UNARY(trunc)
BINARY(atan2) BINARY(fmod) BINARY(pow) BINARY(copysign) BINARY(fdim) BINARY(fmax) BINARY(fmin) BINARY(hypot)
BINARY(nextafter) BINARY(nexttoward) BINARY(remainder)
    // clang-format on
    float erfcf(float);
float nexttowardf(float, long double);
int ilogbl(long double);
long double fmal(long double, long double, long double);
long double frexpl(long double, int*);
long double ldexpl(long double, int);
long double modfl(long double, long double*);
long double nanl(const char*);
long double remquol(long double, long double, int*);
long double scalblnl(long double, long);
long double scalbnl(long double, int);
long long llrintl(long double);
long long llroundl(long double);
long lrintl(long double);
long lroundl(long double);
#undef UNARY
#undef BINARY
}
#endif

#include <time.h>
struct timespec
{
    time_t tv_sec;
    long tv_nsec;
};

// Wine's rpcndr.h takes the identifiers away from types; Microsoft's gives them.
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <rpc.h>
#include <rpcndr.h>
#undef WIN32_LEAN_AND_MEAN
#undef DECLSPEC_UUID
#undef MIDL_INTERFACE
#define DECLSPEC_UUID(x) __declspec(uuid(x))
#define MIDL_INTERFACE(x) struct __declspec(uuid(x)) __declspec(novtable)
