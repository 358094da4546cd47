#include "tests/component/recode/samples.h"

#include "image/encoding.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

using namespace Mardu::Sentel::Tavlo;

namespace {

template <class T>
void Append(Samples& samples, T value)
{
    std::uint8_t bytes[sizeof value];
    std::memcpy(bytes, &value, sizeof value);
    samples.bytes.insert(samples.bytes.end(), bytes, bytes + sizeof value);
}

template <class Float>
void AppendFloatEdges(Samples& samples)
{
    using Limits = std::numeric_limits<Float>;
    const Float positive[] = {0,
                              Limits::denorm_min(),
                              Limits::min() / 2,
                              Limits::min(),
                              Float(1e-10),
                              Float(0.25),
                              Float(0.5),
                              Float(1) / 3,
                              1 - Limits::epsilon(),
                              1,
                              1 + Limits::epsilon(),
                              2,
                              Float(254.9),
                              Float(255.5),
                              127,
                              128,
                              256,
                              32767,
                              32768,
                              65535,
                              65536,
                              Float(2147483520),
                              Float(2147483648),
                              Float(4294967040),
                              Float(4294967296),
                              Float(9.3e18),
                              Limits::max(),
                              Limits::infinity(),
                              Limits::quiet_NaN()};
    for (Float value : positive)
        for (Float sign : {Float(1), Float(-1)}) {
            Append(samples, sign * value);
            Append(samples, sign * std::nextafter(value, Float(0)));
            Append(samples, sign * std::nextafter(value, Limits::infinity()));
        }
    for (int i = 0; i <= 40; ++i)
        Append(samples, static_cast<Float>(i) / 40);
}

void AppendIntegerEdges(Samples& samples)
{
    for (int bit = 0; bit < 32; ++bit)
        for (std::uint32_t around : {0u, 1u, 2u, 3u})
            Append(samples, (std::uint32_t{1} << bit) + around - 2);
    for (std::uint32_t i = 0; i <= 40; ++i)
        Append(samples, i * (0xFFFFFFFFu / 40));
}

/// Half of the random floats lie in the range that the tone curve scales.
template <class Float, class Bits>
void AppendRandomFloats(Samples& samples, int count, std::mt19937_64& random)
{
    std::uniform_real_distribution<Float> inside(Float(-0.1), Float(1.1));
    for (int i = 0; i < count; ++i) {
        if (i % 2 == 0)
            Append(samples, static_cast<Bits>(random()));
        else
            Append(samples, inside(random));
    }
}

Samples EdgesAndRandomSamples(const reference::Kind& kind, int randomCount)
{
    Samples samples{kind, {}};
    std::mt19937_64 random(20240611);
    if (kind.encoding == Tavlo_Float && kind.bits == 32) {
        AppendFloatEdges<float>(samples);
        AppendRandomFloats<float, std::uint32_t>(samples, randomCount, random);
    } else if (kind.encoding == Tavlo_Float) {
        AppendFloatEdges<double>(samples);
        AppendRandomFloats<double, std::uint64_t>(samples, randomCount, random);
    } else if (kind.encoding <= Tavlo_Signed) {
        AppendIntegerEdges(samples);
        for (int i = 0; i < randomCount; ++i)
            Append(samples, static_cast<std::uint32_t>(random()));
    } else {
        const int pixel = reference::SizeOf(kind);
        for (int i = 0; i < 256 * pixel; ++i)
            samples.bytes.push_back(static_cast<std::uint8_t>(i / pixel));
        for (int i = 0; i < randomCount * pixel; ++i)
            samples.bytes.push_back(static_cast<std::uint8_t>(random()));
    }
    return samples;
}

Samples Elements(const reference::Kind& kind, int count)
{
    Samples samples{kind, {}};
    for (int i = 0; i < count; ++i) {
        if (kind.bits == 8)
            Append(samples, static_cast<std::uint8_t>(i));
        else
            Append(samples, static_cast<std::uint16_t>(i));
    }
    return samples;
}

} // namespace

Samples ExhaustiveSamples(const reference::Kind& kind, int randomCount)
{
    return kind.bits <= 16 ? Elements(kind, kind.bits == 8 ? 256 : 65536)
                           : EdgesAndRandomSamples(kind, randomCount);
}

Samples DistinctSamples(const reference::Kind& kind, int randomCount)
{
    return kind.bits <= 16 ? Elements(kind, 1 << kind.bits) : EdgesAndRandomSamples(kind, randomCount);
}
