#include "access/accessor_packet.h"

#include <algorithm>
#include <array>

namespace Mardu::Sentel::Tavlo {
namespace {

constexpr std::uint32_t inProcessMarker = 0;

template <class Number>
void Append(std::vector<std::uint8_t>& packet, Number number)
{
    for (std::size_t i = 0; i < sizeof(Number); ++i)
        packet.push_back(static_cast<std::uint8_t>(number >> (8 * i)));
}

template <class Number>
Number ReadNumber(ByteSource& source)
{
    std::array<std::uint8_t, sizeof(Number)> bytes;
    source.Read(bytes.data(), bytes.size());
    Number number = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i)
        number = static_cast<Number>(number | static_cast<Number>(bytes[i]) << (8 * i));
    return number;
}

void AppendName(std::vector<std::uint8_t>& packet, const std::u16string& name)
{
    Append(packet, static_cast<std::uint32_t>(name.size()));
    for (const char16_t unit : name)
        Append(packet, static_cast<std::uint16_t>(unit));
}

/// The numbers ahead of the name.
struct Head
{
    std::uint64_t view = 0;
    std::uint32_t nameLength = 0;
};

Head ReadHead(ByteSource& source)
{
    Head head;
    head.nameLength = ReadNumber<std::uint32_t>(source);
    if (head.nameLength == inProcessMarker) {
        head.view = ReadNumber<std::uint64_t>(source);
        head.nameLength = ReadNumber<std::uint32_t>(source);
    }
    return head;
}

/// Reads code units piece by piece and hands each piece to take.
template <class Take>
void ReadUnits(ByteSource& source, std::uint32_t count, Take take)
{
    std::array<std::uint8_t, 4096> piece;
    std::uint64_t left = std::uint64_t{count} * 2;
    while (left > 0) {
        const auto bytes = static_cast<std::size_t>(std::min<std::uint64_t>(left, piece.size()));
        source.Read(piece.data(), bytes);
        take(piece.data(), bytes);
        left -= bytes;
    }
}

} // namespace

std::vector<std::uint8_t> InProcessPacket(const AccessorPacket& packet)
{
    std::vector<std::uint8_t> bytes;
    Append(bytes, inProcessMarker);
    Append(bytes, packet.view);
    AppendName(bytes, packet.mapName);
    return bytes;
}

std::vector<std::uint8_t> LocalPacket(const AccessorPacket& packet)
{
    std::vector<std::uint8_t> bytes;
    AppendName(bytes, packet.mapName);
    return bytes;
}

AccessorPacket ReadAccessorPacket(ByteSource& source)
{
    const Head head = ReadHead(source);
    AccessorPacket packet;
    packet.view = head.view;
    ReadUnits(source, head.nameLength, [&](const std::uint8_t* bytes, std::size_t count) {
        for (std::size_t i = 0; i + 1 < count; i += 2)
            packet.mapName.push_back(static_cast<char16_t>(bytes[i] | bytes[i + 1] << 8));
    });
    return packet;
}

void SkipAccessorPacket(ByteSource& source)
{
    const Head head = ReadHead(source);
    ReadUnits(source, head.nameLength & 0x7FFFFFFFu, [](const std::uint8_t*, std::size_t) {});
}

} // namespace Mardu::Sentel::Tavlo
