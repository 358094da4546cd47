// Included once for each level, so that its guard changes with the level.
#if defined(TAVLO_RECODE_WIDE_ROWS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVLO_RECODE_WIDE_ROWS_INL_H
#undef TAVLO_RECODE_WIDE_ROWS_INL_H
#else
#define TAVLO_RECODE_WIDE_ROWS_INL_H
#endif

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
constexpr std::size_t step = hn::MaxLanes(bytes);

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

/// Calls `vector` for every `together` pixels and, for what is left, once more with copies of
/// it, so that nothing beyond the last pixel is touched. The one call in the text is expanded there, with
/// what the function object holds in registers.
template <std::size_t together, std::size_t sourceSize, std::size_t targetSize, class Vector>
HWY_INLINE void EachVector(const std::uint8_t* src, std::uint8_t* dst, std::size_t count, const Vector vector)
{
    HWY_ALIGN std::uint8_t source[together * sourceSize];
    HWY_ALIGN std::uint8_t target[together * targetSize];
    const std::size_t rest = count % together;
    std::uint8_t* const last = dst + targetSize * (count - rest);
    for (std::size_t whole = count / together;; whole = 1) {
        for (; whole != 0; --whole, src += together * sourceSize, dst += together * targetSize)
            vector(src, dst);
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

/// Targets of this many bytes and more displace each other in most caches before anybody reads them. They
/// are written past the caches, which saves reading their lines first.
constexpr std::size_t streamedBytes = std::size_t{12} << 20;

/// Targets of this many bytes and more come, with their sources, from beyond the second cache. There, vectors
/// of 32 bytes are as fast as such memory is, and those of 64 a few percent slower where they compute little.
constexpr std::size_t farBytes = std::size_t{128} << 10;

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
    for (std::size_t i = 0; i < step; ++i)
        if (reinterpret_cast<std::uintptr_t>(at + i * pixelSize) % step == 0)
            return i;
    return count;
}

/// As above, with a third argument for `vector`: what stores whole vectors one behind the other. Large
/// targets are streamed to, if `vector` outruns the memory, but not in place, where lines are in the cache
/// anyway.
template <bool outrunsMemory, std::size_t together, std::size_t sourceSize, std::size_t targetSize,
          class Vector>
HWY_INLINE void EachVectorTo(const std::uint8_t* src, std::uint8_t* dst, std::size_t count,
                             const Vector vector)
{
    static_assert(together * targetSize % step == 0);
    const bool large = outrunsMemory && count >= streamedBytes / targetSize && src != dst;
    std::size_t now = large ? PixelsToAlignment<targetSize>(dst, count) : count;
    EitherStore store;
    for (;;) {
        EachVector<together, sourceSize, targetSize>(
            src, dst, now, [vector, store](const std::uint8_t* s, std::uint8_t* d) { vector(s, d, store); });
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
