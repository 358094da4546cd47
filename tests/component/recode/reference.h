#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

// The rules of docs/recoding.md once more: slow, one pixel at a time, sharing nothing with the product.
namespace reference {

/// Bits and encoding of a pixel.
struct Kind
{
    int bits;
    int encoding;

    friend bool operator==(const Kind&, const Kind&) = default;
    friend auto operator<=>(const Kind&, const Kind&) = default;
};

std::string Text(const Kind& kind);

/// The class of a pair, such as "recoder<E,C>"; empty where there is none. Three-channel colour
/// with 32 bits counts as 24.
std::string ClassOf(const Kind& source, const Kind& target);

/// Every pair that has a class; 24 bits for three channels.
std::vector<std::pair<Kind, Kind>> Pairs();

struct Tone
{
    double contrast = 1;
    double brightness = 0;
    double gamma = 1;
    double sigma = 1;
};

std::string Text(const Tone& tone);

using Ramp = std::map<double, std::uint32_t>;

inline const Ramp defaultRamp{{0.0, 0xFF000000}, {1.0, 0xFFFFFFFF}};

/// The colour of a ramp at a position.
std::uint32_t ColorAt(const Ramp& ramp, double position);

/// The curve over positions from 0 to 1, saturated to that range.
double Position(const Tone& tone, double position);

/// The bytes of a target pixel.
struct Bytes
{
    int count = 0;
    std::uint8_t data[8] = {};

    friend bool operator==(const Bytes&, const Bytes&) = default;
};

/// The bytes that a pixel of this kind is read or written as.
int SizeOf(const Kind& kind);

/// What the pixels of a pair become; std::out_of_range for a pair without a class.
class Pair
{
public:
    Pair(const Kind& source, const Kind& target);

    /// Through the recoder of the pair, with the tone curve...
    Bytes Recoded(const std::uint8_t* pixel, const Tone& tone, const Ramp& ramp = defaultRamp) const;

    /// ...and by its plain value.
    Bytes Casted(const std::uint8_t* pixel) const;

private:
    enum class Family
    {
        table,
        bits_d,
        direct,
        toColor,
        greyOfRgb,
        greyOfBgr,
        channels,
        swappedChannels
    };

    Kind source;
    Kind target;
    Family family;
    char S;
    char D;
};

/// What a pixel of up to 16 bits means, whatever its upper bits hold: equal values give equal
/// results. The raw bytes for any other pixel.
std::uint64_t Meaning(const Kind& source, const std::uint8_t* pixel);

/// True for two kinds that are copied as one type.
bool AreCopied(const Kind& source, const Kind& target);

} // namespace reference
