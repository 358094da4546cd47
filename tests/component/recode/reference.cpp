#include "tests/component/recode/reference.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <sstream>

namespace reference {
namespace {

// Encodings by their numbers in the type library.
constexpr int Unsigned = 0, Signed = 1, Float = 2, RGB = 3, RGBA = 4, BGR = 5, BGRA = 13;

const char* const numericColumns[] = {"8 Unsigned",  "8 Signed",  "9-15 Unsigned", "9-15 Signed",
                                      "16 Unsigned", "16 Signed", "32 Unsigned",   "32 Signed",
                                      "32 Float",    "64 Float"};

// clang-format off
const char* const numericTable[][11] = {
    {"8 Unsigned", "recoder<E,E>", "recoder<E,C>", "recoder_bits_d<E,G>", "", "recoder<E,G>", "recoder<E,F>", "recoder<E,I>", "recoder<E,H>", "recoder<E,M>", "recoder<E,N>"},
    {"8 Signed", "recoder<C,E>", "recoder<C,C>", "", "", "recoder<C,G>", "recoder<C,F>", "recoder<C,I>", "recoder<C,H>", "recoder<C,M>", "recoder<C,N>"},
    {"9-15 Unsigned", "recoder_bits<G,E>", "recoder_bits<G,C>", "", "", "recoder_bits<G,G>", "recoder_bits<G,F>", "recoder_bits<G,I>", "recoder_bits<G,H>", "recoder_bits<G,M>", "recoder_bits<G,N>"},
    {"9-15 Signed", "recoder_bits<F,E>", "recoder_bits<F,C>", "", "", "recoder_bits<F,G>", "recoder_bits<F,F>", "recoder_bits<F,I>", "recoder_bits<F,H>", "recoder_bits<F,M>", "recoder_bits<F,N>"},
    {"16 Unsigned", "recoder<G,E>", "recoder<G,C>", "", "", "recoder<G,G>", "recoder<G,F>", "recoder<G,I>", "recoder<G,H>", "recoder<G,M>", "recoder<G,N>"},
    {"16 Signed", "recoder<F,E>", "recoder<F,C>", "", "", "recoder<F,G>", "recoder<F,F>", "recoder<F,I>", "recoder<F,H>", "recoder<F,M>", "recoder<F,N>"},
    {"32 Unsigned", "recoder_long<I,E>", "recoder_long<I,C>", "", "", "recoder_long<I,G>", "recoder_long<I,F>", "recoder_long<I,I>", "recoder_long<I,H>", "recoder_long<I,M>", "recoder_long<I,N>"},
    {"32 Signed", "recoder_long<H,E>", "recoder_long<H,C>", "", "", "recoder_long<H,G>", "recoder_long<H,F>", "recoder_long<H,I>", "recoder_long<H,H>", "recoder_long<H,M>", "recoder_long<H,N>"},
    {"32 Float", "recoder_long<M,E>", "recoder_long<M,C>", "recoder_long<M,G>", "recoder_long<M,F>", "recoder_long<M,G>", "recoder_long<M,F>", "recoder_long<M,I>", "recoder_long<M,H>", "recoder_long<M,M>", "recoder_long<M,N>"},
    {"64 Float", "recoder_long<N,E>", "recoder_long<N,C>", "recoder_long<N,G>", "recoder_long<N,F>", "recoder_long<N,G>", "recoder_long<N,F>", "recoder_long<N,I>", "recoder_long<N,H>", "recoder_long<N,M>", "recoder_long<N,N>"},
};

const struct { const char* source; std::vector<const char*> targets; std::vector<const char*> classes; } colorTable[] = {
    {"8 Unsigned", {"RGB 24", "BGR 24", "RGBA 32", "BGRA 32"}, {"recoder_g2col<E,E>"}},
    {"9-15 Unsigned", {"RGB 24", "BGR 24", "RGBA 32", "BGRA 32"}, {"recoder_g2col<G,E>"}},
    {"16 Unsigned", {"RGB 24", "BGR 24", "RGBA 32", "BGRA 24"}, {"recoder_g2col<G,E>"}},
    {"32 Float", {"RGB 24", "BGR 24", "RGBA 32", "BGRA 32"}, {"recoder_g2col<M,E>"}},
    {"RGB 24", {"8 Unsigned", "16 Unsigned", "32 Float", "64 Float"}, {"recoder_rgb2g<E,E>", "recoder_rgb2g<E,G>", "recoder_rgb2g<E,M>", "recoder_rgb2g<E,N>"}},
    {"BGR 24", {"8 Unsigned", "16 Unsigned", "32 Float", "64 Float"}, {"recoder_bgr2g<E,E>", "recoder_bgr2g<E,G>", "recoder_bgr2g<E,M>", "recoder_bgr2g<E,N>"}},
    {"RGB 24", {"RGB 24", "RGBA 32"}, {"recoder_rgb<E,E>"}},
    {"RGB 24", {"BGR 24", "BGRA 32"}, {"recoder_rgb_swap<E,E>"}},
    {"BGR 24", {"BGR 24", "BGRA 32"}, {"recoder_rgb<E,E>"}},
    {"BGR 24", {"RGB 24", "RGBA 32"}, {"recoder_rgb_swap<E,E>"}},
    {"RGBA 32", {"RGBA 32"}, {"recoder_rgba<E,E>"}},
    {"RGBA 32", {"BGRA 32"}, {"recoder_rgba_swap<E,E>"}},
    {"BGRA 32", {"BGRA 32"}, {"recoder_rgba<E,E>"}},
    {"BGRA 32", {"RGBA 32"}, {"recoder_rgba_swap<E,E>"}},
};
// clang-format on

Kind WithoutFourthByte(Kind kind)
{
    if ((kind.encoding == RGB || kind.encoding == BGR) && kind.bits == 32)
        kind.bits = 24;
    return kind;
}

/// The name of a kind's row and column; empty for a kind that has neither.
std::string Label(const Kind& kind)
{
    const std::string bits = std::to_string(kind.bits);
    const bool plain = kind.bits == 8 || kind.bits == 16 || kind.bits == 32;
    const bool field = kind.bits >= 9 && kind.bits <= 15;
    switch (kind.encoding) {
    case Unsigned:
        return plain ? bits + " Unsigned" : field ? "9-15 Unsigned" : "";
    case Signed:
        return plain ? bits + " Signed" : field ? "9-15 Signed" : "";
    case Float:
        return kind.bits == 32 || kind.bits == 64 ? bits + " Float" : "";
    case RGB:
        return "RGB " + bits;
    case BGR:
        return "BGR " + bits;
    case RGBA:
        return "RGBA " + bits;
    case BGRA:
        return "BGRA " + bits;
    default:
        return "";
    }
}

std::string ClassOfLabels(const std::string& source, const std::string& target)
{
    for (const auto& row : numericTable)
        for (int column = 0; column < 10; ++column)
            if (source == row[0] && target == numericColumns[column])
                return row[column + 1];
    for (const auto& row : colorTable)
        for (std::size_t i = 0; i < row.targets.size(); ++i)
            if (source == row.source && target == row.targets[i])
                return row.classes.size() == 1 ? row.classes[0] : row.classes[i];
    return "";
}

/// Every kind that could have a row or column.
std::vector<Kind> Candidates()
{
    std::vector<Kind> kinds;
    for (int encoding : {Unsigned, Signed})
        for (int bits : {8, 9, 10, 11, 12, 13, 14, 15, 16, 32})
            kinds.push_back({bits, encoding});
    for (const Kind& kind : {Kind{32, Float}, Kind{64, Float}, Kind{24, RGB}, Kind{24, BGR}, Kind{32, RGBA},
                             Kind{32, BGRA}, Kind{24, BGRA}})
        kinds.push_back(kind);
    return kinds;
}

struct Range
{
    double min, max, span;
};

Range RangeOf(char letter)
{
    switch (letter) {
    case 'E':
        return {0, 255, 255};
    case 'C':
        return {-128, 127, 255};
    case 'G':
        return {0, 65535, 65535};
    case 'F':
        return {-32768, 32767, 65535};
    case 'I':
        return {0, 4294967295.0, 4294967295.0};
    case 'H':
        return {-2147483648.0, 2147483647.0, 4294967295.0};
    default:
        return {0.0, 1.0, 1.0};
    }
}

template <class T>
T Read(const std::uint8_t* bytes)
{
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

template <class T>
Bytes Written(T value)
{
    Bytes bytes;
    bytes.count = sizeof value;
    std::memcpy(bytes.data, &value, sizeof value);
    return bytes;
}

/// The integer in the low bits of a little-endian element.
long long Field(const Kind& kind, const std::uint8_t* pixel)
{
    long long element = 0;
    for (int i = 0; i < (kind.bits + 7) / 8; ++i)
        element += static_cast<long long>(pixel[i]) << (8 * i);
    const long long values = 1LL << kind.bits;
    element %= values;
    if (kind.encoding == Signed && element >= values / 2)
        element -= values;
    return element;
}

double SourceValue(const Kind& kind, const std::uint8_t* pixel)
{
    if (kind.encoding == Float)
        return kind.bits == 32 ? static_cast<double>(Read<float>(pixel)) : Read<double>(pixel);
    return static_cast<double>(Field(kind, pixel));
}

double Saturated(double y, const Range& range)
{
    if (std::isnan(y) || y < range.min)
        return range.min;
    return y > range.max ? range.max : y;
}

/// The non-linear case, for a source value in the units of lo and hi.
double Bent(double x, double lo, double hi, const Tone& tone, const Range& range)
{
    if (std::isnan(x) || std::isnan(lo) || std::isnan(hi))
        return range.min;
    if (x < lo)
        return range.min;
    if (x >= hi)
        return range.max;
    const double w = hi - lo;
    const double mid = (lo + hi) / 2;
    double t = std::nan("");
    if (lo <= x && x < mid)
        t = 0.5 * std::pow((2 / w) * (x - lo), tone.sigma);
    if (mid <= x && x < hi)
        t = 1 - 0.5 * std::pow((2 / w) * (hi - x), tone.sigma);
    if (std::isnan(mid))
        return range.min;
    return Saturated(range.min + range.span * std::pow(t, tone.gamma), range);
}

bool IsLinear(const Tone& tone)
{
    return tone.gamma == 1.0 && tone.sigma == 1.0;
}

double TableEntry(double i, double n, const Tone& tone, const Range& range)
{
    const double c = tone.contrast, b = tone.brightness, R = range.span;
    if (IsLinear(tone))
        return Saturated(i * (R * c / (n - 1)) + R * b + range.min, range);
    const double lo = std::trunc(-(b / c) * (n - 1));
    const double hi = std::trunc(((1 - b) / c) * (n - 1));
    return Bent(i, lo, hi, tone, range);
}

double Direct(char S, double v, const Tone& tone, const Range& range)
{
    const double c = tone.contrast, b = tone.brightness, R = range.span;
    const bool isFloat = S == 'M' || S == 'N';
    const double shifted = S == 'H' ? v + 2147483648.0 : v;
    const double span = isFloat ? 1.0 : 4294967295.0;
    if (IsLinear(tone))
        return Saturated(shifted * (c * R / span) + R * b + range.min, range);
    return Bent(shifted, (-b / c) * span, ((1 - b) / c) * span, tone, range);
}

/// A saturated value as the target stores it.
Bytes Stored(char D, double y)
{
    switch (D) {
    case 'E':
        return Written(static_cast<std::uint8_t>(static_cast<long long>(y)));
    case 'C':
        return Written(static_cast<std::int8_t>(static_cast<long long>(y)));
    case 'G':
        return Written(static_cast<std::uint16_t>(static_cast<long long>(y)));
    case 'F':
        return Written(static_cast<std::int16_t>(static_cast<long long>(y)));
    case 'I':
        return Written(static_cast<std::uint32_t>(static_cast<long long>(y)));
    case 'H':
        return Written(static_cast<std::int32_t>(static_cast<long long>(y)));
    case 'M':
        return Written(static_cast<float>(y));
    default:
        return Written(y);
    }
}

/// A whole number of any size cut to the target's bits, as conversions between integers do.
Bytes CutToInteger(char D, long long value)
{
    switch (D) {
    case 'E':
    case 'C':
        return Written(static_cast<std::uint8_t>(value & 0xFF));
    case 'G':
    case 'F':
        return Written(static_cast<std::uint16_t>(value & 0xFFFF));
    default:
        return Written(static_cast<std::uint32_t>(value & 0xFFFFFFFF));
    }
}

/// Truncated toward zero; the nearest end where that does not fit, 0 for NaN.
Bytes FloatToInteger(char D, double value)
{
    const Range range = RangeOf(D);
    if (std::isnan(value))
        return CutToInteger(D, 0);
    const double whole = std::trunc(value);
    return CutToInteger(D, static_cast<long long>(whole < range.min   ? range.min
                                                  : whole > range.max ? range.max
                                                                      : whole));
}

Bytes PlainValue(const Kind& source, char D, const std::uint8_t* pixel)
{
    const bool toFloat = D == 'M' || D == 'N';
    if (source.encoding == Float && !toFloat)
        return FloatToInteger(D, SourceValue(source, pixel));
    if (!toFloat)
        return CutToInteger(D, Field(source, pixel));
    if (D == 'N')
        return Written(SourceValue(source, pixel));
    if (source.encoding != Float)
        return Written(static_cast<float>(Field(source, pixel)));
    return source.bits == 32 ? Written(Read<float>(pixel)) : Written(static_cast<float>(Read<double>(pixel)));
}

/// Colour to colour; `map` is what happens to a colour channel.
template <class Map>
Bytes Channels(bool swap, const Kind& source, const Kind& target, const std::uint8_t* p, const Map& map)
{
    Bytes bytes;
    bytes.count = SizeOf(target);
    bytes.data[0] = map(swap ? p[2] : p[0]);
    bytes.data[1] = map(p[1]);
    bytes.data[2] = map(swap ? p[0] : p[2]);
    if (bytes.count == 4)
        bytes.data[3] = SizeOf(source) == 4 ? p[3] : 255;
    return bytes;
}

Bytes ColorBytes(const Kind& target, std::uint32_t color)
{
    Bytes bytes = Written(color);
    bytes.count = SizeOf(target);
    if (bytes.count == 3)
        bytes.data[3] = 0;
    return bytes;
}

std::uint32_t TableColor(const Kind& source, const Kind& target, const std::uint8_t* pixel, const Tone& tone,
                         const Ramp& ramp)
{
    double i, n;
    if (source.encoding == Float) {
        double v = SourceValue(source, pixel);
        if (std::isnan(v) || v < 0)
            v = 0;
        if (v > 1)
            v = 1;
        i = std::trunc(v * 65535);
        n = 65536;
    } else {
        i = static_cast<double>(Field(source, pixel));
        n = std::pow(2.0, source.bits);
    }
    double t;
    if (IsLinear(tone))
        t = Saturated(i * (tone.contrast / (n - 1)) + tone.brightness, {0, 1, 1});
    else
        t = Position(tone, i / (n - 1));
    const std::uint32_t color = ColorAt(ramp, t);
    if (target.encoding != BGR)
        return color;
    return (color & 0xFF00FF00) + ((color & 0xFF) << 16) + ((color >> 16) & 0xFF);
}

} // namespace

std::string Text(const Kind& kind)
{
    return std::to_string(kind.bits) + " bits of encoding " + std::to_string(kind.encoding);
}

std::string Text(const Tone& tone)
{
    std::ostringstream text;
    text << "contrast " << tone.contrast << " brightness " << tone.brightness << " gamma " << tone.gamma
         << " sigma " << tone.sigma;
    return text.str();
}

std::string ClassOf(const Kind& source, const Kind& target)
{
    const std::string from = Label(WithoutFourthByte(source));
    const std::string to = Label(WithoutFourthByte(target));
    return from.empty() || to.empty() ? "" : ClassOfLabels(from, to);
}

std::vector<std::pair<Kind, Kind>> Pairs()
{
    std::vector<std::pair<Kind, Kind>> pairs;
    for (const Kind& source : Candidates())
        for (const Kind& target : Candidates())
            if (!ClassOf(source, target).empty())
                pairs.emplace_back(source, target);
    return pairs;
}

std::uint32_t ColorAt(const Ramp& ramp, double t)
{
    if (std::isnan(t) || t <= ramp.begin()->first)
        return ramp.begin()->second;
    auto before = ramp.begin();
    for (auto point = ramp.begin(); point != ramp.end(); ++point) {
        if (point->first == t)
            return point->second;
        if (point->first > t) {
            std::uint32_t color = 0;
            for (int byte = 3; byte >= 0; --byte) {
                const double c0 = before->second >> (8 * byte) & 255;
                const double c1 = point->second >> (8 * byte) & 255;
                const double k0 = before->first, k1 = point->first;
                const double mixed = c0 * (k1 - t) / (k1 - k0) + c1 * (t - k0) / (k1 - k0);
                color = color * 256 + (static_cast<std::uint32_t>(static_cast<long long>(mixed)) & 255);
            }
            return color;
        }
        before = point;
    }
    return before->second;
}

double Position(const Tone& tone, double x)
{
    const Range unit{0, 1, 1};
    if (IsLinear(tone))
        return Saturated(tone.contrast * x + tone.brightness, unit);
    return Bent(x, -tone.brightness / tone.contrast, (1 - tone.brightness) / tone.contrast, tone, unit);
}

int SizeOf(const Kind& kind)
{
    switch (kind.encoding) {
    case RGB:
    case BGR:
        return 3;
    case RGBA:
    case BGRA:
        return 4;
    default:
        return (kind.bits + 7) / 8;
    }
}

Pair::Pair(const Kind& from, const Kind& to) : source(from), target(to)
{
    const std::string name = ClassOf(source, target);
    const auto bracket = std::min(name.find('<'), name.size());
    static const std::map<std::string, Family> families{
        {"recoder", Family::table},
        {"recoder_bits", Family::table},
        {"recoder_bits_d", Family::bits_d},
        {"recoder_long", Family::direct},
        {"recoder_g2col", Family::toColor},
        {"recoder_rgb2g", Family::greyOfRgb},
        {"recoder_bgr2g", Family::greyOfBgr},
        {"recoder_rgb", Family::channels},
        {"recoder_rgba", Family::channels},
        {"recoder_rgb_swap", Family::swappedChannels},
        {"recoder_rgba_swap", Family::swappedChannels},
    };
    family = families.at(name.substr(0, bracket));
    S = name.at(bracket + 1);
    D = name.at(bracket + 3);
}

Bytes Pair::Recoded(const std::uint8_t* p, const Tone& tone, const Ramp& ramp) const
{
    Range range = RangeOf(D);
    const double n = std::pow(2.0, source.bits);
    const double smallest = source.encoding == Signed ? -n / 2 : 0;
    switch (family) {
    case Family::bits_d:
        range.max = range.span = std::pow(2.0, target.bits) - 1;
        [[fallthrough]];
    case Family::table:
        return Stored(D, TableEntry(SourceValue(source, p) - smallest, n, tone, range));
    case Family::direct:
        return Stored(D, Direct(S, SourceValue(source, p), tone, range));
    case Family::toColor:
        return ColorBytes(target, TableColor(source, target, p, tone, ramp));
    case Family::greyOfRgb:
        return Stored(D, TableEntry((77 * p[0] + 150 * p[1] + 29 * p[2]) / 256, 256, tone, range));
    case Family::greyOfBgr:
        return Stored(D, TableEntry((29 * p[0] + 150 * p[1] + 77 * p[2]) / 256, 256, tone, range));
    default:
        return Channels(family == Family::swappedChannels, source, target, p, [&](std::uint8_t v) {
            return Stored('E', TableEntry(v, 256, tone, RangeOf('E'))).data[0];
        });
    }
}

Bytes Pair::Casted(const std::uint8_t* p) const
{
    const auto grey = [this](int r, int g, int b) {
        const auto value = static_cast<std::uint8_t>((77 * r + 150 * g + 29 * b) / 256);
        return PlainValue({8, Unsigned}, D, &value);
    };
    switch (family) {
    case Family::table:
    case Family::bits_d:
    case Family::direct:
        return PlainValue(source, D, p);
    case Family::toColor: {
        const std::uint32_t value = PlainValue(source, 'E', p).data[0];
        return ColorBytes(target, 0xFF000000 + value * 65536 + value * 256 + value);
    }
    case Family::greyOfRgb:
        return grey(p[0], p[1], p[2]);
    case Family::greyOfBgr:
        return grey(p[2], p[1], p[0]);
    default:
        return Channels(family == Family::swappedChannels, source, target, p,
                        [](std::uint8_t v) { return v; });
    }
}

std::uint64_t Meaning(const Kind& source, const std::uint8_t* pixel)
{
    if (source.bits <= 16)
        return static_cast<std::uint64_t>(Field(source, pixel)) & ((1u << source.bits) - 1);
    std::uint64_t meaning = 0;
    std::memcpy(&meaning, pixel, static_cast<std::size_t>(SizeOf(source)));
    return meaning;
}

bool AreCopied(const Kind& source, const Kind& target)
{
    const auto storage = [](const Kind& kind) {
        const bool field = kind.encoding <= Signed && kind.bits >= 9 && kind.bits <= 16;
        return Kind{field ? 16 : kind.bits, kind.encoding};
    };
    const bool known = target.encoding != BGRA || target.bits == 32;
    return known && storage(source) == storage(target);
}

} // namespace reference
