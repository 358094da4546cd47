// Included once for each level, so that its guard changes with the level.
#if defined(TAVLO_RECODE_VECTOR_ROWS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVLO_RECODE_VECTOR_ROWS_INL_H
#undef TAVLO_RECODE_VECTOR_ROWS_INL_H
#else
#define TAVLO_RECODE_VECTOR_ROWS_INL_H
#endif

#include "recode/kernels/thresholds.h"

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

HWY_BEFORE_NAMESPACE();
namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE {
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3_DL

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<std::uint8_t>;
using ByteVector = hn::Vec<Bytes>;

constexpr Bytes bytes;
constexpr std::size_t vectorBytes = hn::MaxLanes(bytes);
constexpr bool isAvx512 = HWY_TARGET <= HWY_AVX3_DL;
static_assert(vectorBytes == (isAvx512 ? 64 : 32));

template <class T>
const T* As(const std::uint8_t* p)
{
    return reinterpret_cast<const T*>(p);
}

template <class T>
T* As(std::uint8_t* p)
{
    return reinterpret_cast<T*>(p);
}

/// Calls `convert` for every `pixelsPerCall` pixels and, for what is left, once more with copies of
/// it, so that nothing beyond the last pixel is touched. The one call in the text is expanded there, with
/// what the function object holds in registers.
template <std::size_t pixelsPerCall, std::size_t sourceSize, std::size_t targetSize, class Convert>
HWY_INLINE void EachVector(const std::uint8_t* src, std::uint8_t* dst, std::size_t count,
                           const Convert convert)
{
    HWY_ALIGN std::uint8_t source[pixelsPerCall * sourceSize];
    HWY_ALIGN std::uint8_t target[pixelsPerCall * targetSize];
    const std::size_t rest = count % pixelsPerCall;
    std::uint8_t* const last = dst + targetSize * (count - rest);
    for (std::size_t whole = count / pixelsPerCall;; whole = 1) {
        for (; whole != 0; --whole, src += pixelsPerCall * sourceSize, dst += pixelsPerCall * targetSize)
            convert(src, dst);
        if (dst != last || rest == 0)
            break;
        std::memset(source, 0, sizeof source);
        std::memcpy(source, src, sourceSize * rest);
        src = source;
        dst = target;
    }
    if (rest != 0)
        std::memcpy(last, target, targetSize * rest);
}

/// Of whole and of shorter vectors.
struct CachedStore
{
    template <class AnyVector>
    HWY_INLINE void operator()(AnyVector v, std::uint8_t* at) const
    {
        hn::StoreU(v, hn::DFromV<AnyVector>(), As<hn::TFromV<AnyVector>>(at));
    }
};

/// To addresses only that are aligned to the vector.
struct StreamedStore
{
    template <class AnyVector>
    HWY_INLINE void operator()(AnyVector v, std::uint8_t* at) const
    {
        hn::Stream(v, hn::DFromV<AnyVector>(), As<hn::TFromV<AnyVector>>(at));
    }
};

/// Either of them. The processor foresees which, so that a loop need not be there twice.
struct EitherStore
{
    bool isStreamed = false;

    template <class AnyVector>
    HWY_INLINE void operator()(AnyVector v, std::uint8_t* at) const
    {
        if (isStreamed) [[unlikely]]
            StreamedStore()(v, at);
        else
            CachedStore()(v, at);
    }
};

/// How many pixels come before the first one at an aligned address, or all of them.
template <std::size_t pixelSize>
std::size_t PixelsToAlignment(const std::uint8_t* at, std::size_t count)
{
    for (std::size_t i = 0; i < vectorBytes; ++i)
        if (reinterpret_cast<std::uintptr_t>(at + i * pixelSize) % vectorBytes == 0)
            return i;
    return count;
}

/// As above, with a third argument for `convert`: what stores whole vectors one behind the other. Large
/// targets are streamed to, if `convert` outruns the memory, but not in place, where lines are in the cache
/// anyway.
template <bool outrunsMemory, std::size_t pixelsPerCall, std::size_t sourceSize, std::size_t targetSize,
          class Convert>
HWY_INLINE void EachVectorTo(const std::uint8_t* src, std::uint8_t* dst, std::size_t count,
                             const Convert convert)
{
    static_assert(pixelsPerCall * targetSize % vectorBytes == 0);
    const bool large = outrunsMemory && count >= streamedBytes / targetSize && src != dst;
    std::size_t now = large ? PixelsToAlignment<targetSize>(dst, count) : count;
    EitherStore store;
    for (;;) {
        EachVector<pixelsPerCall, sourceSize, targetSize>(
            src, dst, now,
            [convert, store](const std::uint8_t* s, std::uint8_t* d) { convert(s, d, store); });
        if (now == count)
            break;
        src += sourceSize * now;
        dst += targetSize * now;
        now = count -= now;
        store.isStreamed = true;
    }
    if (store.isStreamed)
        hwy::FlushStream();
}

#endif
} // namespace Mardu::Sentel::Tavlo::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
